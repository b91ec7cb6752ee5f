#pragma once

#include <cansupport/export.h>

#include <QtCore/QVariant>

/// The part that all value records share: one recorded sample, raw and scaled.
///
/// A plain value, copied member by member. This class is reentrant.
class GenericValue
{
public:
    /// A record without a measurement: both values are invalid variants, the tag is 0 and the
    /// record is not flagged.
    CANSUPPORT_EXPORT GenericValue();

    /// The numeric value of \a scaledValue (\a scaled true) or of \a rawValue (\a scaled false)
    /// in that field's own unit, converted by QVariant::toFloat(): a float is returned as it is,
    /// any other number as the nearest float, a text by the number that it spells. 0 for an
    /// invalid variant and for everything that Qt cannot convert to a number.
    CANSUPPORT_EXPORT float valueToFloat(bool scaled) const;

    QVariant rawValue;    ///< the value as it came from the bus, in the signal's data type
    QVariant scaledValue; ///< raw value x factor + offset, in the unit of the signal
    qint32 valueTag;      ///< an attribute of the host; never interpreted
    bool isInvalid;       ///< true: no usable measurement, neither scaled nor in series statistics
};

Q_DECLARE_TYPEINFO(GenericValue, Q_MOVABLE_TYPE);
