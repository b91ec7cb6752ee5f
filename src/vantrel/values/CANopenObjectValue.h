#pragma once

#include <vantrel/export.h>

#include <cansupport/GenericValue.h>

#include <QtCore/QDataStream>

/// One recorded sample of a CANopen object.
///
/// A plain value, copied member by member, the flag included. This class is reentrant.
class CANopenObjectValue : public GenericValue
{
public:
    /// A record without a measurement (see GenericValue), its own fields 0.
    VANTREL_EXPORT CANopenObjectValue();
    VANTREL_EXPORT ~CANopenObjectValue();

    CANopenObjectValue(const CANopenObjectValue&) = default;
    CANopenObjectValue(CANopenObjectValue&&) noexcept = default;
    CANopenObjectValue& operator=(const CANopenObjectValue&) = default;
    CANopenObjectValue& operator=(CANopenObjectValue&&) noexcept = default;

    /// Whether both records hold the same sample: equal rawValue (by QVariant equality), auxCode1,
    /// auxCode2, auxNumber1, auxNumber2 and valueTag. A NaN in auxNumber1 or auxNumber2 makes
    /// records unequal. scaledValue, which follows from the raw value, and isInvalid do not count.
    VANTREL_EXPORT bool operator==(const CANopenObjectValue& other) const;

    qint8 auxCode1;    ///< an attribute of the host; carried, compared, streamed
    qint8 auxCode2;    ///< an attribute of the host; carried, compared, streamed
    double auxNumber1; ///< an attribute of the host; carried, compared, streamed
    double auxNumber2; ///< an attribute of the host; carried, compared, streamed
};

// A growing series moves the bytes of its records, not their variants.
Q_DECLARE_TYPEINFO(CANopenObjectValue, Q_MOVABLE_TYPE);

/// Writes \a value to \a stream and returns the stream: a version word (qint16, 1), rawValue,
/// scaledValue, auxCode1, auxCode2 (qint8), auxNumber1, auxNumber2 (double), valueTag (qint32);
/// 24 bytes and the two variants. isInvalid is not written. The stream is used as it is
/// configured; its status is neither read nor set.
VANTREL_EXPORT QDataStream& operator<<(QDataStream& stream, const CANopenObjectValue& value);

/// Reads what operator<< has written into \a value and returns the stream.
///
/// A version word other than 1 is consumed (two bytes) and nothing else: \a value stays as it
/// is, and so does the stream's status. On a short stream QDataStream sets its own status, and
/// the fields are left as QDataStream leaves them; an empty stream leaves \a value as it is.
/// isInvalid keeps its value in every case. Read from trusted sources only: what the two variants
/// make of hostile bytes is Qt's (deep nesting, huge sizes, types that do not expect it).
VANTREL_EXPORT QDataStream& operator>>(QDataStream& stream, CANopenObjectValue& value);
