#pragma once

#include <cansupport/CANopenDataType.h>

#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

namespace monitor
{

enum class ByteOrder { Intel, Motorola };

/// Which rules the frames of a message follow.
enum class Protocol {
    CANopen, ///< and other frames known by their id
    J1939    ///< known by the PGN in their 29-bit id
};

/// Whether a signal is always in its message, or only while another one of the message says so.
enum class Multiplexing {
    Plain,
    Multiplexor, ///< its value chooses the multiplexed signals
    Multiplexed, ///< there only while the multiplexor has the value of the signal
    Nested       ///< multiplexed, and a multiplexor itself
};

/// Values from the lowest to the highest, both included.
struct ValueRange {
    double lowest;
    double highest;
};

/// Where the bits of a signal are in its message, and what kind of value they are.
struct SignalLayout {
    /// The number of its lowest bit (Intel) or of its highest (Motorola): 8 x byte + bit, bit 0
    /// being the lowest of its byte.
    int startBit = 0;
    int length = 0; ///< in bits, 1 to 64
    ByteOrder byteOrder = ByteOrder::Intel;
    bool isSigned = false;                        ///< two's complement
    bool isFloat = false;                         ///< an IEEE number of 32 or 64 bits
    std::optional<CAN::CANopenDataType> datatype; ///< of a CANopen object
    bool passThrough = false; ///< true: recorded as received, without scaling and statistics
    Multiplexing multiplexing = Multiplexing::Plain;
    quint64 multiplexorValue = 0; ///< of a multiplexed or nested signal
};

/// value = raw x factor + offset, in \a unit.
struct Scaling {
    double factor = 1;
    double offset = 0;
    QString unit;
};

/// One signal of a message, as its description file declares it.
struct SignalDescription {
    QString name;
    SignalLayout layout;
    Scaling scaling;
    double lowerLimit = 0; ///< limits of the value; 0 and 0 if not given
    double upperLimit = 0;
    std::optional<quint32> spn; ///< suspect parameter number of a J1939 signal
};

/// The identification of a message.
struct MessageHeader {
    QString name;
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> node; ///< CANopen node that sends it, if it is described as such
    int size = 0;               ///< in bytes
    qint64 line = 0;            ///< where its description begins, for warnings
};

/// One message with its signals, as its description file declares them.
struct MessageDescription : MessageHeader {
    QVector<SignalDescription> signalDescriptions;
};

/// Whether bits of that \a layout lie within the first \a size bytes of the data.
bool fitsInto(const SignalLayout& layout, int size);

/// The scaled values of the lowest and the highest raw value, the smaller one first.
ValueRange scaledRange(const SignalLayout& layout, const Scaling& scaling);

} // namespace monitor
