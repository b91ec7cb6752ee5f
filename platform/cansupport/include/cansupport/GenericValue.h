#pragma once

/// \file
/// The base class of all records.

#include <cansupport/export.h>

#include <QtCore/QVariant>

/// The fields that all value records share: one recorded sample, raw and scaled.
///
/// A value type: copying it copies all fields. This class is reentrant.
///
/// \ingroup cansupport
class GenericValue
{
public:
    /// Constructs a record without a measurement: both values are invalid variants, valueTag is 0
    /// and isInvalid is false.
    CANSUPPORT_EXPORT GenericValue();

    /// Returns \a scaledValue (\a scaled is true) or \a rawValue (\a scaled is false) as a float,
    /// in the unit of that field, converted by QVariant::toFloat(): a float is returned unchanged,
    /// any other number as the nearest float, and a string as the number that it represents.
    /// Returns 0 for an invalid variant and for a value that Qt cannot convert to float.
    CANSUPPORT_EXPORT float valueToFloat(bool scaled) const;

    /// The value as received, in the data type of the signal: an int, uint, qlonglong, qulonglong,
    /// float or double.
    ///
    /// Avoid other types: QVariant::convert() of Qt 5 cannot convert all of them. A quint8 stored
    /// by QVariant::fromValue() keeps its type and does not convert to double or quint16. A long or
    /// unsigned long, such as std::int64_t on 64-bit Linux, does not convert to double, quint16 or
    /// quint8. Such a raw value is scaled as if it were 0. Assigning a quint8 to rawValue is safe,
    /// because that stores an int.
    QVariant rawValue;
    /// The raw value x factor + offset, in the unit of the signal.
    QVariant scaledValue;

    /// For use by the host. Copied and streamed, but never interpreted by the library.
    qint32 valueTag;

    /// Whether the record holds no measurement. Such a record is not scaled, and
    /// GenericValueHandler excludes it from its statistics; a signal counts it like any other
    /// record. Not streamed.
    bool isInvalid;
};

Q_DECLARE_TYPEINFO(GenericValue, Q_MOVABLE_TYPE);
