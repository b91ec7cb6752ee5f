#pragma once

#include <vantrel/export.h>

#include <cansupport/GenericValue.h>

#include <QtCore/QDataStream>

/// One recorded sample of a J1939 parameter.
///
/// A plain value, copied member by member, the flag included. It has no equality of its own.
/// This class is reentrant.
class J1939Value : public GenericValue
{
public:
    /// A record without a measurement (see GenericValue), its own fields 0.
    VANTREL_EXPORT J1939Value();

    qint8 auxCode1; ///< an attribute of the host; carried only
    qint8 auxCode2; ///< an attribute of the host; carried only
};

// A growing series moves the bytes of its records, not their variants.
Q_DECLARE_TYPEINFO(J1939Value, Q_MOVABLE_TYPE);

/// Writes \a value to \a stream and returns the stream: a version word (qint16, 1), rawValue,
/// scaledValue, valueTag (qint32); 6 bytes and the two variants. auxCode1, auxCode2 and isInvalid
/// are not written. The stream is used as it is configured; its status is neither read nor set.
VANTREL_EXPORT QDataStream& operator<<(QDataStream& stream, const J1939Value& value);

/// Reads what operator<< has written into \a value and returns the stream.
///
/// A version word other than 1 is consumed (two bytes) and nothing else: \a value stays as it
/// is, and so does the stream's status. On a short stream QDataStream sets its own status, and
/// the fields are left as QDataStream leaves them; an empty stream leaves \a value as it is.
/// auxCode1, auxCode2 and isInvalid keep their values in every case. Read from trusted sources
/// only: what the two variants make of hostile bytes is Qt's (deep nesting, huge sizes, types
/// that do not expect it).
VANTREL_EXPORT QDataStream& operator>>(QDataStream& stream, J1939Value& value);
