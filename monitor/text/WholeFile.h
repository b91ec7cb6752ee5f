#pragma once

#include <QtCore/QSaveFile>

namespace monitor
{

/// The error message for \a file, which could not be written.
inline QString cannotBeWritten(const QSaveFile& file)
{
    return QStringLiteral("%1: cannot be written: %2").arg(file.fileName(), file.errorString());
}

/// Replaces the old file with \a file if all of it could be written; otherwise leaves the old file
/// unchanged. QSaveFile::commit() alone misses errors when buffered data is written.
[[nodiscard]] inline bool commitWhole(QSaveFile& file)
{
    return file.flush() && file.commit();
}

/// Replaces the whole content of the file, or leaves the file unchanged. Returns an error message
/// that names the file, or an empty string on success.
[[nodiscard]] inline QString writeWholeFile(const QString& fileName, const QByteArray& content)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
        commitWhole(file))
        return QString();
    return cannotBeWritten(file);
}

} // namespace monitor
