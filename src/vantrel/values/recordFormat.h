#pragma once

#include <QtCore/QDataStream>

/// The version word that begins every record in a stream.
constexpr qint16 recordFormatVersion = 1;

/// Consumes the version word of the next record: true if the fields that follow can be read.
inline bool readRecordFormatVersion(QDataStream& stream)
{
    qint16 version = 0;
    stream >> version;
    return version == recordFormatVersion;
}
