#pragma once

/// \file
/// The record of J1939 signals and its stream operators.

#include <vantrel/export.h>

#include <cansupport/GenericValue.h>

#include <QtCore/QDataStream>

/// One recorded sample of a J1939 parameter.
///
/// A value type: copying it copies all fields. Records cannot be compared. This class is reentrant.
///
/// \ingroup records
class J1939Value : public GenericValue
{
public:
    /// Constructs a record without a measurement (see GenericValue). Its own fields are 0.
    VANTREL_EXPORT J1939Value();

    qint8 auxCode1; ///< for use by the host; copied, not streamed
    qint8 auxCode2; ///< for use by the host; copied, not streamed
};

// Lets a growing series move its records as bytes instead of copying their variants.
Q_DECLARE_TYPEINFO(J1939Value, Q_MOVABLE_TYPE);

/// Writes \a value to \a stream and returns the stream: a version word (qint16, 1), rawValue,
/// scaledValue, valueTag (qint32); 6 bytes plus the two variants.
///
/// isInvalid, auxCode1 and auxCode2 are not written: when read into a new record, a flagged record
/// comes back as a valid one. Byte order, version and floating-point precision are those of the
/// stream. The status of the stream is not checked.
///
/// \relates J1939Value
VANTREL_EXPORT QDataStream& operator<<(QDataStream& stream, const J1939Value& value);

/// Reads a record, as operator<< writes it, from \a stream into \a value, and returns the stream.
/// isInvalid, auxCode1 and auxCode2 keep their values.
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
/// \relates J1939Value
VANTREL_EXPORT QDataStream& operator>>(QDataStream& stream, J1939Value& value);
