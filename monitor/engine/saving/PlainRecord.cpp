#include "PlainRecord.h"

#include <QtCore/QMetaType>

namespace monitor
{

namespace
{

constexpr qint16 recordFormatVersion = 1;
constexpr quint32 nullText = 0xffffffff;

bool skip(QDataStream& stream, quint32 length)
{
    const int bytes = static_cast<int>(length);
    return stream.skipRawData(bytes) == bytes;
}

bool skipText(QDataStream& stream, quint32 longestText, quint32 unit)
{
    quint32 length = 0;
    stream >> length;
    if (stream.status() != QDataStream::Ok)
        return false;
    if (length == nullText)
        return true;
    return length <= longestText && length % unit == 0 && skip(stream, length);
}

/// Skips the content of a variant of the type \a typeId. Returns false unless it is plain and
/// complete.
bool skipPlainContent(QDataStream& stream, quint32 typeId, quint32 longestText)
{
    switch (typeId) {
    case QMetaType::UnknownType:
        return true;
    case QMetaType::Bool:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UChar:
        return skip(stream, 1);
    case QMetaType::Short:
    case QMetaType::UShort:
        return skip(stream, 2);
    case QMetaType::Int:
    case QMetaType::UInt:
        return skip(stream, 4);
    case QMetaType::Long: // written as 64 bits, whatever the platform
    case QMetaType::ULong:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
        return skip(stream, 8);
    case QMetaType::Float: // written in the precision of the stream, not in their own
    case QMetaType::Double:
        return skip(stream,
                    stream.floatingPointPrecision() == QDataStream::DoublePrecision ? 8 : 4);
    case QMetaType::QString:
        return skipText(stream, longestText, 2);
    case QMetaType::QByteArray:
        return skipText(stream, longestText, 1);
    default:
        return false;
    }
}

bool skipPlainVariant(QDataStream& stream, quint32 longestText)
{
    quint32 typeId = 0;
    qint8 isNull = 0;
    stream >> typeId >> isNull;
    return stream.status() == QDataStream::Ok && skipPlainContent(stream, typeId, longestText);
}

} // namespace

bool nextRecordIsPlain(QDataStream& stream, quint32 longestText)
{
    if (stream.status() != QDataStream::Ok || stream.version() < QDataStream::Qt_5_0)
        return false;
    stream.startTransaction();
    qint16 version = 0;
    stream >> version;
    const bool plain = version == recordFormatVersion && skipPlainVariant(stream, longestText) &&
                       skipPlainVariant(stream, longestText);
    stream.rollbackTransaction();
    stream.resetStatus();
    return plain;
}

} // namespace monitor
