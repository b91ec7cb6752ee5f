#include "RawValue.h"

#include "RawBits.h"

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

QVariant textIn(quint64 bits, const SignalLayout& layout)
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
        return textIn(bits, layout);
    const bool isShort = layout.length <= 32;
    if (!layout.isSigned)
        return isShort ? QVariant(static_cast<uint>(bits)) : QVariant(bits);
    const qint64 number = signExtended(bits, layout.length);
    return isShort ? QVariant(static_cast<int>(number)) : QVariant(number);
}

} // namespace monitor
