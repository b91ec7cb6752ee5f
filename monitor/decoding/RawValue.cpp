#include "RawValue.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

constexpr int bitsInWord = 64;

quint64 lowestBits(int length)
{
    return ~quint64{0} >> (bitsInWord - length);
}

quint64 extractIntel(const quint8* data, const SignalLayout& layout)
{
    const quint8* byte = data + layout.startBit / 8;
    const int skipped = layout.startBit % 8;
    quint64 bits = static_cast<quint64>(*byte) >> skipped;
    for (int known = 8 - skipped; known < layout.length; known += 8)
        bits |= static_cast<quint64>(*++byte) << known;
    return bits & lowestBits(layout.length);
}

/// In Motorola order, the lowest bit of a byte is followed by the highest bit of the next byte.
quint64 extractMotorola(const quint8* data, const SignalLayout& layout)
{
    const quint8* byte = data + layout.startBit / 8;
    int known = layout.startBit % 8 + 1;
    quint64 bits = *byte & lowestBits(known);
    for (; known + 8 <= layout.length; known += 8)
        bits = bits << 8 | *++byte;
    const int missing = layout.length - known;
    if (missing <= 0)
        return bits >> -missing;
    return bits << missing | static_cast<quint64>(*++byte) >> (8 - missing);
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

quint64 bitsOfBytes(const QByteArray& bytes)
{
    quint64 bits = 0;
    const int size = std::min(static_cast<int>(bytes.size()), static_cast<int>(sizeof bits));
    for (int i = 0; i < size; ++i)
        bits |= static_cast<quint64>(static_cast<quint8>(bytes.at(i))) << 8 * i;
    return bits;
}

QVariant floatValueOf(double number, int length)
{
    return length == 32 ? QVariant(static_cast<float>(number)) : QVariant(number);
}

} // namespace

quint64 extractBits(const quint8* data, const SignalLayout& layout)
{
    return layout.byteOrder == ByteOrder::Intel ? extractIntel(data, layout)
                                                : extractMotorola(data, layout);
}

LeadingBytes leadingBytesOf(const quint8* data, int length)
{
    std::array<quint8, sizeof(quint64)> bytes{};
    if (length >= static_cast<int>(bytes.size()))
        std::memcpy(bytes.data(), data, bytes.size());
    else
        std::copy_n(data, length, bytes.begin());
    return {qFromLittleEndian<quint64>(bytes.data()), qFromBigEndian<quint64>(bytes.data())};
}

SignalPlace::SignalPlace(const SignalLayout& signalLayout)
    : layout(signalLayout), mask(lowestBits(layout.length))
{
    const bool isIntel = layout.byteOrder == ByteOrder::Intel;
    const int firstBit =
        isIntel ? layout.startBit : layout.startBit / 8 * 8 + 7 - layout.startBit % 8;
    endBit = firstBit + layout.length;
    const bool isLeading = endBit <= bitsInWord;
    source = !isLeading ? Source::Anywhere
             : isIntel  ? Source::LeadingIntel
                        : Source::LeadingMotorola;
    shift = static_cast<quint8>(!isLeading ? 0 : isIntel ? firstBit : bitsInWord - endBit);
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
    quint64 bits = 0;
    if (layout.isFloat)
        bits = bitsOfFloat(raw.toDouble(), layout.length);
    else if (layout.passThrough && !holdsNumber(layout))
        bits = bitsOfBytes(raw.userType() == QMetaType::QString ? raw.toString().toLatin1()
                                                                : raw.toByteArray());
    else
        bits = raw.toULongLong();
    bits &= lowestBits(layout.length);
    const QVariant made = rawValueOf(bits, layout);
    return made.userType() == raw.userType() && made == raw ? std::optional(bits) : std::nullopt;
}

} // namespace monitor
