#include <vantrel/values/J1939Value.h>

#include "recordFormat.h"

J1939Value::J1939Value() : auxCode1(0), auxCode2(0) {}

QDataStream& operator<<(QDataStream& stream, const J1939Value& value)
{
    return stream << recordFormatVersion << value.rawValue << value.scaledValue << value.valueTag;
}

QDataStream& operator>>(QDataStream& stream, J1939Value& value)
{
    if (!readRecordFormatVersion(stream))
        return stream;
    return stream >> value.rawValue >> value.scaledValue >> value.valueTag;
}
