#include "RawValue.h"

#include "RawBits.h"

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

QVariant textIn(quint64 bits, const SignalDescription& description)
{
    QByteArray bytes;
    for (int shift = 0; shift < description.length; shift += 8)
        bytes.append(static_cast<char>(bits >> shift & 0xFF));
    if (description.datatype != CANopenDataType::VISIBLE_STRING)
        return bytes;
    return QString::fromLatin1(bytes.constData());
}

QVariant floatValueOf(double number, int length)
{
    return length == 32 ? QVariant(static_cast<float>(number)) : QVariant(number);
}

} // namespace

bool holdsNumber(const SignalDescription& description)
{
    const auto code = *description.datatype;
    return code != CANopenDataType::VISIBLE_STRING && code != CANopenDataType::OCTET_STRING &&
           code != CANopenDataType::UNICODE_STRING && code != CANopenDataType::DOMAIN;
}

QVariant rawValueOf(quint64 bits, const SignalDescription& description)
{
    if (description.isFloat)
        return floatValueOf(floatIn(bits, description.length), description.length);
    if (description.carried && !holdsNumber(description))
        return textIn(bits, description);
    const bool isShort = description.length <= 32;
    if (!description.isSigned)
        return isShort ? QVariant(static_cast<uint>(bits)) : QVariant(bits);
    const qint64 number = signExtended(bits, description.length);
    return isShort ? QVariant(static_cast<int>(number)) : QVariant(number);
}

} // namespace monitor
