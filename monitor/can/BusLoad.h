#pragma once

#include <QtCore/qglobal.h>

#include <deque>

namespace monitor
{

/// How much of the time a bus is busy, over the last second.
class BusLoad
{
public:
    /// \a bitRate in bits a second.
    explicit BusLoad(double bitRate) : rate(bitRate) {}

    /// \a bits have been on the bus since the call before, up to the time \a now in microseconds.
    void add(qint64 now, qint64 bits);

    /// In percent; 0 before the second call of add().
    double percent() const;

private:
    struct Total {
        qint64 time;
        qint64 bits;
    };

    double rate;
    std::deque<Total> totals; // of all bits, up to the one a second ago
};

} // namespace monitor
