#include "RawValue.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

quint64 bitAt(const quint8* data, int position)
{
    return data[position / 8] >> (position % 8) & 1U;
}

/// The position of the next less significant bit: the one below, except that in Motorola order the
/// highest bit of the next byte follows the lowest of a byte.
int nextLower(int position, ByteOrder order)
{
    const bool crosses = order == ByteOrder::Motorola && position % 8 == 0;
    return crosses ? position + 15 : position - 1;
}

QVariant stringOrBytesIn(quint64 bits, const SignalLayout& layout)
{
    QByteArray bytes;
    for (int shift = 0; shift < layout.length; shift += 8)
        bytes.append(static_cast<char>(bits >> shift & 0xFF));
    if (layout.datatype != CANopenDataType::VISIBLE_STRING)
        return bytes;
    return QString::fromLatin1(bytes.constData());
}

QVariant floatValueOf(double number, int length)
{
    return length == 32 ? QVariant(static_cast<float>(number)) : QVariant(number);
}

} // namespace

quint64 extractBits(const quint8* data, const SignalLayout& layout)
{
    const bool intel = layout.byteOrder == ByteOrder::Intel;
    int position = intel ? layout.startBit + layout.length - 1 : layout.startBit;
    quint64 bits = 0;
    for (int i = 0; i < layout.length; ++i) {
        bits = bits << 1 | bitAt(data, position);
        position = nextLower(position, layout.byteOrder);
    }
    return bits;
}

double floatIn(quint64 bits, int length)
{
    const auto shortBits = static_cast<quint32>(bits);
    double number = 0;
    float shortNumber = 0;
    static_assert(sizeof number == sizeof bits && sizeof shortNumber == sizeof shortBits);
    std::memcpy(&number, &bits, sizeof number);
    std::memcpy(&shortNumber, &shortBits, sizeof shortNumber);
    return length == 32 ? static_cast<double>(shortNumber) : number;
}

qint64 signExtended(quint64 bits, int length)
{
    const quint64 sign = quint64{1} << (length - 1);
    return static_cast<qint64>((bits ^ sign) - sign);
}

Availability availabilityOf(double value)
{
    if (std::isnan(value))
        return Availability::NotAvailable;
    return std::isinf(value) ? Availability::Error : Availability::Measured;
}

Availability availabilityOf(quint64 raw, int length)
{
    if (length < 8 && length != 4 && length != 2)
        return Availability::Measured;
    const int topBits = std::min(length, 8);
    const quint64 top = raw >> (length - topBits);
    const quint64 highest = (quint64{1} << topBits) - 1;
    if (top == highest)
        return Availability::NotAvailable;
    return top == highest - 1 ? Availability::Error : Availability::Measured;
}

bool holdsNumber(const SignalLayout& layout)
{
    const auto code = *layout.datatype;
    return code != CANopenDataType::VISIBLE_STRING && code != CANopenDataType::OCTET_STRING &&
           code != CANopenDataType::UNICODE_STRING && code != CANopenDataType::DOMAIN;
}

QVariant rawValueOf(quint64 bits, const SignalLayout& layout)
{
    if (layout.isFloat)
        return floatValueOf(floatIn(bits, layout.length), layout.length);
    if (layout.passThrough && !holdsNumber(layout))
        return stringOrBytesIn(bits, layout);
    const bool isShort = layout.length <= 32;
    if (!layout.isSigned)
        return isShort ? QVariant(static_cast<uint>(bits)) : QVariant(bits);
    const qint64 number = signExtended(bits, layout.length);
    return isShort ? QVariant(static_cast<int>(number)) : QVariant(number);
}

std::optional<quint64> bitsOf(const QVariant& raw, const SignalLayout& layout)
{
    const quint64 bits = layout.isFloat ? bitsOfFloat(raw.toDouble(), layout.length)
                                        : raw.toULongLong() & (~quint64{0} >> (64 - layout.length));
    const QVariant made = rawValueOf(bits, layout);
    return made.userType() == raw.userType() && made == raw ? std::optional(bits) : std::nullopt;
}

} // namespace monitor
