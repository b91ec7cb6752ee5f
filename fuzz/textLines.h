#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>

#include <cstddef>
#include <cstdint>

/// The lines of a text without their line ends, as the readers of files pass them on.
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
