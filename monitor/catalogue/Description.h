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

/// One signal of a message: where its bits are and what they mean.
struct SignalDescription {
    QString name;
    /// The number of its lowest bit (Intel) or of its highest (Motorola): 8 x byte + bit, bit 0
    /// being the lowest of its byte.
    int startBit = 0;
    int length = 0; ///< in bits, 1 to 64
    ByteOrder byteOrder = ByteOrder::Intel;
    bool isSigned = false;                        ///< two's complement
    bool isFloat = false;                         ///< an IEEE number of 32 or 64 bits
    std::optional<CAN::CANopenDataType> datatype; ///< of a CANopen object
    bool carried = false; ///< true: recorded as it is, there are no figures of it
    double factor = 1;    ///< value = raw x factor + offset, in \a unit
    double offset = 0;
    double lowerLimit = 0; ///< limits of the value; 0 and 0 if there are none
    double upperLimit = 0;
    QString unit;
    Multiplexing multiplexing = Multiplexing::Plain;
    quint64 multiplexorValue = 0; ///< of a multiplexed or nested signal
    std::optional<quint32> spn;   ///< suspect parameter number of a J1939 signal

    QString reportedName; ///< see giveReportedNames()
    bool chosen = true;   ///< false: not to be reported
    bool reserves = true; ///< false: every raw value is a measured one, in J1939 too
    int keptRecords = 0;  ///< how many of its newest records are kept; 0: all
    std::optional<ValueRange> ratingLimits; ///< what to rate it by instead of its band
};

/// One message: which frames carry it and what signals are in it.
struct MessageDescription {
    QString name;
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    Protocol protocol = Protocol::CANopen;
    std::optional<quint8> node; ///< CANopen node that sends it, if it is described as such
    int size = 0;               ///< in bytes
    QVector<SignalDescription> signalDescriptions;
    qint64 line = 0; ///< where the description of the message begins, for warnings
};

/// Whether the bits of \a signal lie within the first \a size bytes of the data.
bool fitsInto(const SignalDescription& signal, int size);

/// The scaled values that the lowest and the highest raw value lead to, the smaller one first.
ValueRange scaledRange(const SignalDescription& signal);

} // namespace monitor
