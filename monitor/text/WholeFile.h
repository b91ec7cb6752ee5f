#pragma once

#include <QtCore/QSaveFile>

namespace monitor
{

/// The error of \a file, which could not be written, naming it.
inline QString cannotBeWritten(const QSaveFile& file)
{
    return QStringLiteral("%1: cannot be written: %2").arg(file.fileName(), file.errorString());
}

/// Puts \a file in its place if all of it could be written, else leaves the old file as it is.
/// QSaveFile::commit() alone misses a failure to write what is still buffered.
[[nodiscard]] inline bool commitWhole(QSaveFile& file)
{
    return file.flush() && file.commit();
}

/// Replaces the file of that name by \a content as a whole, or leaves it as it is. Returns the
/// error, naming the file; empty on success.
[[nodiscard]] inline QString writeWholeFile(const QString& fileName, const QByteArray& content)
{
    QSaveFile file(fileName);
    if (file.open(QIODevice::WriteOnly) && file.write(content) == content.size() &&
        commitWhole(file))
        return QString();
    return cannotBeWritten(file);
}

} // namespace monitor
