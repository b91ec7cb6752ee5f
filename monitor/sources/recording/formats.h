#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QIODevice>
#include <QtCore/QStringList>

#include <memory>

namespace monitor
{

/// What a recording consists of.
enum class RecordingKind { Lines, Bytes };

/// A format of recordings.
struct RecordingFormat {
    QString name; ///< as shown to users
    RecordingKind kind;
    /// The position of the first bytes typical of this format in \a start, the first bytes of a
    /// recording (whole lines, if it consists of lines); -1 if no bytes are typical.
    qint64 (*find)(const QByteArray& start);
    /// The frames of the recording in \a device, which must be open for reading at its beginning.
    /// Messages use \a name.
    std::unique_ptr<FrameSource> (*open)(std::unique_ptr<QIODevice> device, const QString& name);
    QStringList endings; ///< the usual file name extensions; ignored when reading
};

/// The table of formats. A new format needs a row here.
const QVector<RecordingFormat>& recordingFormats();

/// The usual file name extensions of recordings in all formats, and of compressed ones.
QStringList recordingEndings();

/// The format whose typical bytes come first in \a start, the first bytes of a recording; null if
/// no format is recognised. The last line of \a start is used only if it \a isWhole.
const RecordingFormat* formatOf(const QByteArray& start, bool isWhole = true);

/// An opened recording, or the error.
struct OpenedRecording {
    std::unique_ptr<FrameSource> source;     ///< null after an error
    const RecordingFormat* format = nullptr; ///< null after an error and for an empty file
    QString error;                           ///< names the file; empty without an error
};

/// Opens a recording and detects its format from its first bytes, unpacked if they are compressed
/// with gzip or zstd. The name "-" means standard input. From standard input, a pipe or a terminal,
/// this waits for no more bytes than are needed to recognise the format; the recording ends there
/// as soon as the descriptor \a interrupt becomes readable (-1: never). If the format is unknown or
/// not supported, the error says so.
[[nodiscard]] OpenedRecording openRecording(const QString& fileName, int interrupt = -1);

/// The same for an open device. Messages use \a name.
[[nodiscard]] OpenedRecording openRecording(std::unique_ptr<QIODevice> device, const QString& name);

} // namespace monitor
