#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstddef>
#include <cstdint>

/// The lines of a text, as a reader of files hands them on: without their ends.
inline QList<QByteArray> textLines(const std::uint8_t* data, std::size_t size)
{
    QList<QByteArray> lines =
        QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)).split('\n');
    for (QByteArray& line : lines) {
        while (line.endsWith('\r'))
            line.chop(1);
    }
    return lines;
}
