#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QIODevice>

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
};

/// The table of formats. A new format needs a row here.
const QVector<RecordingFormat>& recordingFormats();

/// The format whose typical bytes come first in \a start, the first bytes of a recording; null if
/// no format is recognised. The last line of \a start is used only if it \a isWhole.
const RecordingFormat* formatOf(const QByteArray& start, bool isWhole = true);

/// An opened recording, or the error.
struct OpenedRecording {
    std::unique_ptr<FrameSource> source;     ///< null after an error
    const RecordingFormat* format = nullptr; ///< the format in which the file is read
    QString error;                           ///< names the file; empty without an error
};

/// Opens a recording and detects its format from its first bytes. If no format is recognised, the
/// first one in the table is used, which reports the lines as unreadable. From a pipe, this waits
/// for no more bytes than are needed to recognise the format.
[[nodiscard]] OpenedRecording openRecording(const QString& fileName);

} // namespace monitor
