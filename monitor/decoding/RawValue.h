#pragma once

#include "catalogue/Description.h"

#include <QtCore/QVariant>

namespace monitor
{

/// Whether the raw value of a J1939 parameter is a measurement.
enum class Availability {
    Measured,
    NotAvailable, ///< the sender has no value
    Error         ///< the sender reports an error instead
};

/// The bits of a signal of that \a layout in \a data, as an unsigned number. They must lie within
/// the data, see fitsInto().
quint64 extractBits(const quint8* data, const SignalLayout& layout);

/// The first eight bytes of some data, as a number in either byte order. Bytes that the data does
/// not have are 0.
struct LeadingBytes {
    quint64 intel = 0;
    quint64 motorola = 0;
};

LeadingBytes leadingBytesOf(const quint8* data, int length);

/// The place of a signal in the data, prepared for extracting it from many frames.
class SignalPlace
{
public:
    explicit SignalPlace(const SignalLayout& signalLayout);

    /// Like fitsInto().
    bool fitsInto(int size) const { return endBit <= size * 8; }

    /// Like extractBits(). \a leading are the first bytes of \a data.
    quint64 bitsIn(const quint8* data, const LeadingBytes& leading) const
    {
        switch (source) {
        case Source::LeadingIntel:
            return leading.intel >> shift & mask;
        case Source::LeadingMotorola:
            return leading.motorola >> shift & mask;
        case Source::Anywhere:
            break;
        }
        return extractBits(data, layout);
    }

private:
    enum class Source : quint8 { LeadingIntel, LeadingMotorola, Anywhere };

    SignalLayout layout;
    quint64 mask;
    int endBit; // in the order of transmission, from the first bit of the first byte
    quint8 shift;
    Source source;
};

/// \a bits as an IEEE number of \a length 32 or 64.
double floatIn(quint64 bits, int length);

/// The lowest \a length of \a bits as a two's complement number.
qint64 signExtended(quint64 bits, int length);

/// The availability of a floating-point signal with that \a value: NaN means "not available", and
/// infinities mean "error". Bit patterns are not reserved.
Availability availabilityOf(double value);

/// The availability of the raw value \a raw of \a length bits. With 8 bits or more, FF in the most
/// significant byte means "not available" and FE means "error". With 4 bits, 15 and 14 do, and with
/// 2 bits, 3 and 2. Other lengths below 8 have no reserved values. The same bits are reserved in
/// signed signals.
Availability availabilityOf(quint64 raw, int length);

/// Whether the bits of a pass-through signal are a number. Times count as numbers, strings do not.
bool holdsNumber(const SignalLayout& layout);

/// The raw value in \a bits (see extractBits()): a number of 32 bits if that is enough, otherwise
/// of 64 bits. For a pass-through signal that is not a number: the text up to its terminating zero,
/// or the bytes in the order of the PDO.
QVariant rawValueOf(quint64 bits, const SignalLayout& layout);

/// The bits that rawValueOf() turns into \a raw; empty if no bits give exactly this number.
std::optional<quint64> bitsOf(const QVariant& raw, const SignalLayout& layout);

} // namespace monitor
