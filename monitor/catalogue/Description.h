#pragma once

#include <cansupport/CANopenDataType.h>

#include <QtCore/QHash>
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

/// A range of values, including both ends.
struct ValueRange {
    double lowest;
    double highest;
};

/// A range of raw values, including both ends.
struct RawRange {
    quint64 lowest;
    quint64 highest;
};

/// Whether a signal is always present in its message, or only while another signal of the message,
/// the multiplexor, has one of some raw values. The multiplexor may itself be multiplexed.
struct Multiplexing {
    int multiplexor = -1; ///< index of the multiplexor in the message; -1: always present
    QVector<RawRange> values;
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
    QString shortName; ///< the name in the rest of the file, if it abbreviates the name
    QString comment;   ///< the author's explanation; may be empty
    SignalLayout layout;
    Multiplexing multiplexing;
    Scaling scaling;
    double lowerLimit = 0; ///< limits of the value; both 0 if not given
    double upperLimit = 0;
    QHash<quint64, QString> valueTexts; ///< meanings of raw values, by their bits (extractBits())
    std::optional<quint32> spn;         ///< suspect parameter number of a J1939 signal
};

/// A message without its signals.
struct MessageHeader {
    QString name;
    QString comment; ///< the author's explanation; may be empty
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> node; ///< the CANopen node that sends it, if a node is described
    QString bus;                ///< the bus that it is sent on; empty: any
    int size = 0;               ///< in bytes
    /// How often it is sent, in ms; above 0, unknown if not given. A CANopen node may send a PDO
    /// more often, whenever a value changes.
    std::optional<double> cycleTime;
    qint64 line = 0; ///< the line where its description begins, for warnings
};

/// One message with its signals, as declared in a description file.
struct MessageDescription : MessageHeader {
    QVector<SignalDescription> signalDescriptions;
};

/// Whether one of \a ranges contains \a value.
bool contains(const QVector<RawRange>& ranges, quint64 value);

/// Whether a signal of that \a layout lies within the first \a size bytes of the data.
bool fitsInto(const SignalLayout& layout, int size);

/// The bits of \a number as an IEEE number of \a length bits, 32 or 64.
quint64 bitsOfFloat(double number, int length);

/// The scaled values of the lowest and the highest raw value, the smaller one first.
ValueRange scaledRange(const SignalLayout& layout, const Scaling& scaling);

} // namespace monitor
