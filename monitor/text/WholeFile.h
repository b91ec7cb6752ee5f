#pragma once

#include <QtCore/QSaveFile>

namespace monitor
{

/// The error message for \a file, which could not be written.
inline QString cannotBeWritten(const QFileDevice& file)
{
    return QStringLiteral("%1: cannot be written: %2").arg(file.fileName(), file.errorString());
}

/// The error message for \a file, which is written during a run, and only a part of which could be
/// written.
inline QString couldNotBeCompleted(const QFileDevice& file)
{
    return cannotBeWritten(file) +
           QStringLiteral(" (after %1 bytes); the statistics are not affected; free space, raise "
                          "the limit or choose another disk, and try again")
               .arg(file.size());
}

/// Writes all \a size bytes at \a data. The reason of an error is lost if \a file is buffered.
[[nodiscard]] inline bool writeAll(QFileDevice& file, const char* data, qint64 size)
{
    // Only a write that fails at once sets the error of the file, not one that writes a part.
    for (qint64 done = 0; done < size;) {
        const qint64 part = file.write(data + done, size - done);
        if (part <= 0)
            return false;
        done += part;
    }
    return true;
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
