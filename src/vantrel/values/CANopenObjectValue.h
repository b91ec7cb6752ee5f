#pragma once

/// \file
/// The record of CANopen signals and its stream operators.

#include <vantrel/export.h>

#include <cansupport/GenericValue.h>

#include <QtCore/QDataStream>

/// One recorded sample of a CANopen object.
///
/// A value type: copying it copies all fields. This class is reentrant.
///
/// \ingroup records
class CANopenObjectValue : public GenericValue
{
public:
    /// Constructs a record without a measurement (see GenericValue). Its own fields are 0.
    VANTREL_EXPORT CANopenObjectValue();
    /// Destroys the record.
    VANTREL_EXPORT ~CANopenObjectValue();

    /// Copies all fields.
    CANopenObjectValue(const CANopenObjectValue&) = default;
    /// Moves the two values and copies all other fields.
    CANopenObjectValue(CANopenObjectValue&&) noexcept = default;
    /// Copies all fields, and returns this record.
    CANopenObjectValue& operator=(const CANopenObjectValue&) = default;
    /// Moves the two values and copies all other fields, and returns this record.
    CANopenObjectValue& operator=(CANopenObjectValue&&) noexcept = default;

    /// Returns whether this record and \a other hold the same sample: equal rawValue (by QVariant
    /// equality), auxCode1, auxCode2, auxNumber1, auxNumber2 and valueTag. A NaN in auxNumber1 or
    /// auxNumber2 makes records unequal. scaledValue, which is computed from rawValue, and
    /// isInvalid are not compared.
    VANTREL_EXPORT bool operator==(const CANopenObjectValue& other) const;

    qint8 auxCode1;    ///< for use by the host; copied, compared, streamed
    qint8 auxCode2;    ///< for use by the host; copied, compared, streamed
    double auxNumber1; ///< for use by the host; copied, compared, streamed
    double auxNumber2; ///< for use by the host; copied, compared, streamed
};

// Lets a growing series move its records as bytes instead of copying their variants.
Q_DECLARE_TYPEINFO(CANopenObjectValue, Q_MOVABLE_TYPE);

/// Writes \a value to \a stream and returns the stream: a version word (qint16, 1), rawValue,
/// scaledValue, auxCode1, auxCode2 (qint8), auxNumber1, auxNumber2 (double), valueTag (qint32);
/// 24 bytes plus the two variants.
///
/// isInvalid is not written: when read into a new record, a flagged record comes back as a valid
/// one. Byte order, version and floating-point precision are those of the stream. The status of the
/// stream is not checked.
///
/// \relates CANopenObjectValue
VANTREL_EXPORT QDataStream& operator<<(QDataStream& stream, const CANopenObjectValue& value);

/// Reads a record, as operator<< writes it, from \a stream into \a value, and returns the stream.
/// isInvalid keeps its value.
///
/// If the version word is not 1, only its two bytes are consumed; \a value and the status of the
/// stream do not change. If the stream ends too early, QDataStream sets its status, and the fields
/// that were not read have the values that QDataStream leaves in them; an empty stream leaves
/// \a value unchanged.
///
/// Read from trusted sources only: QVariant constructs any type that the bytes name, and hostile
/// bytes can overflow the stack, allocate gigabytes of memory or crash the program.
/// docs/host-guide.md shows how to check a record first.
///
/// \relates CANopenObjectValue
VANTREL_EXPORT QDataStream& operator>>(QDataStream& stream, CANopenObjectValue& value);
