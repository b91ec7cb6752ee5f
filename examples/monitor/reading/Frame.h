#pragma once

#include <QtCore/qglobal.h>

#include <array>

namespace monitor
{

/// One classic CAN frame as it was seen on the bus.
struct Frame {
    qint64 microseconds = 0; ///< when it was seen; the epoch is the recorder's
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    bool remote = false;   ///< a request for data; carries none
    quint8 length = 0;     ///< the number of bytes in \a data that count
    std::array<quint8, 8> data{};
};

} // namespace monitor
