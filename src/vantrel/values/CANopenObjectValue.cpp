#include <vantrel/values/CANopenObjectValue.h>

#include "recordFormat.h"

CANopenObjectValue::CANopenObjectValue() : auxCode1(0), auxCode2(0), auxNumber1(0), auxNumber2(0) {}

CANopenObjectValue::~CANopenObjectValue() = default;

bool CANopenObjectValue::operator==(const CANopenObjectValue& other) const
{
    return rawValue == other.rawValue && auxCode1 == other.auxCode1 && auxCode2 == other.auxCode2 &&
           auxNumber1 == other.auxNumber1 && auxNumber2 == other.auxNumber2 &&
           valueTag == other.valueTag;
}

QDataStream& operator<<(QDataStream& stream, const CANopenObjectValue& value)
{
    return stream << recordFormatVersion << value.rawValue << value.scaledValue << value.auxCode1
                  << value.auxCode2 << value.auxNumber1 << value.auxNumber2 << value.valueTag;
}

QDataStream& operator>>(QDataStream& stream, CANopenObjectValue& value)
{
    if (!readRecordFormatVersion(stream))
        return stream;
    return stream >> value.rawValue >> value.scaledValue >> value.auxCode1 >> value.auxCode2 >>
           value.auxNumber1 >> value.auxNumber2 >> value.valueTag;
}
