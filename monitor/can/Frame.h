#pragma once

#include <QtCore/qglobal.h>

#include <array>
#include <optional>

namespace monitor
{

constexpr quint32 lastStandardId = 0x7FF;
constexpr quint32 lastExtendedId = 0x1FFFFFFF;
constexpr quint8 longestClassicFrame = 8;

/// One CAN frame as it was seen on the bus, classic or FD.
struct Frame {
    /// When it was seen, if the recorder says so. The epoch is the recorder's, and a later frame
    /// may have an earlier time.
    std::optional<qint64> microseconds;
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    bool remote = false;   ///< a request for data; carries none
    quint8 length = 0; ///< the number of bytes in \a data that count, up to 8 in a classic frame
    std::array<quint8, 64> data{};
};

} // namespace monitor
