#pragma once

#include <cansupport/CANopenDataType.h>

#include <QtCore/QString>
#include <QtCore/QVector>

#include <optional>

namespace monitor
{

enum class ByteOrder { Intel, Motorola };

/// How the frames of a message are identified.
enum class Protocol {
    CANopen, ///< by their id; also used for other protocols
    J1939    ///< by the PGN in their 29-bit id
};

/// Whether a signal is always present in its message or depends on another signal.
enum class Multiplexing {
    Plain,
    Multiplexor, ///< its value selects the multiplexed signals
    Multiplexed, ///< present only while the multiplexor has the signal's multiplexor value
    Nested       ///< multiplexed, and a multiplexor itself
};

/// A range of values, including both ends.
struct ValueRange {
    double lowest;
    double highest;
};

/// The position of a signal in its message, and how to interpret its bits.
struct SignalLayout {
    /// The position of the least (Intel) or most (Motorola) significant bit: 8 x byte + bit, where
    /// bit 0 is the least significant bit of the byte.
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

/// One signal of a message, as declared in a description file.
struct SignalDescription {
    QString name;
    SignalLayout layout;
    Scaling scaling;
    double lowerLimit = 0; ///< limits of the value; both 0 if not given
    double upperLimit = 0;
    std::optional<quint32> spn; ///< suspect parameter number of a J1939 signal
};

/// A message without its signals.
struct MessageHeader {
    QString name;
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> node; ///< the CANopen node that sends it, if a node is described
    int size = 0;               ///< in bytes
    qint64 line = 0;            ///< the line where its description begins, for warnings
};

/// One message with its signals, as declared in a description file.
struct MessageDescription : MessageHeader {
    QVector<SignalDescription> signalDescriptions;
};

/// Whether a signal of that \a layout lies within the first \a size bytes of the data.
bool fitsInto(const SignalLayout& layout, int size);

/// The scaled values of the lowest and the highest raw value, the smaller one first.
ValueRange scaledRange(const SignalLayout& layout, const Scaling& scaling);

} // namespace monitor
