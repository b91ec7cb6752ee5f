#pragma once

#include <QtCore/QDataStream>

/// The version word at the beginning of every record in a stream.
constexpr qint16 recordFormatVersion = 1;

/// Reads the version word of the next record. Returns whether the fields that follow can be read.
inline bool readRecordFormatVersion(QDataStream& stream)
{
    qint16 version = 0;
    stream >> version;
    return version == recordFormatVersion;
}
