#pragma once

#include <QtCore/QSaveFile>

namespace monitor
{

/// Puts \a file in its place if all of it could be written, else leaves what is there.
/// QSaveFile::commit() by itself does not notice if what the file still buffers cannot be.
inline bool commitWhole(QSaveFile& file)
{
    return file.flush() && file.commit();
}

} // namespace monitor
