#pragma once

#include "Frame.h"

#include <deque>

namespace monitor
{

/// The number of bits that \a frame occupies on the bus (ISO 11898-1), from the start of frame to
/// the end of the intermission, including stuff bits. Exact for a classic frame without errors. A
/// frame of more than 8 bytes (CAN FD) is counted like a classic frame of that length without stuff
/// bits, since its format and its second bit rate are unknown.
int bitsOnBus(const Frame& frame);

/// The share of the last second during which the bus was busy.
class BusLoad
{
public:
    /// \a bitRate is in bits per second.
    explicit BusLoad(double bitRate) : rate(bitRate) {}

    /// Adds the \a bits sent between the previous call and the time \a now, in microseconds.
    void add(qint64 now, qint64 bits);

    /// The load in percent; 0 before the second call of add().
    double percent() const;

private:
    struct Total {
        qint64 time;
        qint64 bits;
    };

    double rate;
    std::deque<Total> totals; // running totals; only the first one may be 1 s old or older
};

} // namespace monitor
