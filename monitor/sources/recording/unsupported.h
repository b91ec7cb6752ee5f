#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace monitor
{

/// The message about a file that is recognised by its first bytes \a start, but cannot be read as a
/// recording, such as "is a zip archive: unpack it first"; empty for all other files.
QString unsupportedBytes(const QByteArray& start);

/// The same for a text, which may still contain lines of a recording. \a start has whole lines.
QString unsupportedText(const QByteArray& start);

/// The first bytes of \a start for a message: in quotes if they are text, otherwise as hexadecimal
/// numbers.
QString beginningOf(const QByteArray& start);

} // namespace monitor
