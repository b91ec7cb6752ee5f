#pragma once

#include <QtCore/qglobal.h>

#include <array>
#include <optional>

namespace monitor
{

constexpr quint32 lastStandardId = 0x7FF;
constexpr quint32 lastExtendedId = 0x1FFFFFFF;
constexpr quint8 longestClassicFrame = 8;

/// One classic or FD frame, as seen on the bus.
struct Frame {
    /// When the frame was seen, if known: since 1970-01-01 UTC if the recorder knows the date, else
    /// since an unknown moment. A later frame may have an earlier time.
    std::optional<qint64> nanoseconds;
    quint32 id = 0;
    bool extended = false;      ///< true: the id has 29 bits, false: 11
    bool remote = false;        ///< true: a remote frame, which requests data and has none itself
    bool fd = false;            ///< true: a CAN FD frame
    bool bitRateSwitch = false; ///< of an FD frame: true: its data has a higher bit rate
    quint16 bus = 0;            ///< index in FrameSource::buses()
    quint8 length = 0;          ///< number of valid bytes in \a data, up to 8 in a classic frame
    std::array<quint8, 64> data{};
};

/// The data of one frame, or of a message reassembled from several frames. Does not own the bytes.
struct Payload {
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    const quint8* data = nullptr;
    int length = 0;                    ///< in bytes
    std::optional<qint64> nanoseconds; ///< when the last frame was seen
    bool transported = false;          ///< true: reassembled by the J1939 transport protocol
    quint16 bus = 0;                   ///< index in FrameSource::buses()
};

/// The data of \a frame, which must outlive the result.
inline Payload payloadOf(const Frame& frame)
{
    return {frame.id,          frame.extended, frame.data.data(), frame.length,
            frame.nanoseconds, false,          frame.bus};
}

/// Whether a 29-bit id has a destination address: its PDU format is below 240 (PDU1).
constexpr bool hasDestination(quint32 id)
{
    constexpr quint32 firstPdu2Format = 240;
    return (id >> 16 & 0xFF) < firstPdu2Format;
}

/// The parameter group number in a 29-bit id (SAE J1939-21): both data page bits, the PDU format
/// and, without a destination address, the group extension (PDU2). A destination is not part of the
/// PGN.
constexpr quint32 pgnOf(quint32 id)
{
    return hasDestination(id) ? id >> 8 & 0x3FF00 : id >> 8 & 0x3FFFF;
}

/// The destination address in a 29-bit id that has one, otherwise its group extension.
constexpr quint8 destinationAddressOf(quint32 id)
{
    return static_cast<quint8>(id >> 8);
}

/// The null address, which sends no data: in descriptions it stands for any source.
constexpr quint8 nullAddress = 254;

/// The source address in a 29-bit id.
constexpr quint8 sourceAddressOf(quint32 id)
{
    return static_cast<quint8>(id);
}

} // namespace monitor
