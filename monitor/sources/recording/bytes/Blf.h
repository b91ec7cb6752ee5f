#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>

#include <memory>

namespace monitor
{

/// The position of a Vector BLF recording in \a start, its first bytes: 0, or -1 if it is not one.
qint64 findBlf(const QByteArray& start);

/// Reads a Vector BLF recording: a file header followed by objects. Most files consist of
/// containers, whose unpacked contents form a second sequence of objects; an object may begin in
/// one container and end in a later one. Objects that describe classic and FD frames are read,
/// error frames and lost frames are counted, and all others are skipped. Damaged containers and
/// objects are problems, and reading resumes at the next object. \a device must be open. Memory
/// does not depend on the sizes that the file states.
std::unique_ptr<FrameSource> openBlf(std::unique_ptr<QIODevice> device, const QString& name);

} // namespace monitor
