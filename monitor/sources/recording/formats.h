#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QIODevice>

#include <memory>

namespace monitor
{

/// A format of recordings.
struct RecordingFormat {
    QString name; ///< for users
    /// Where something that only this format has stands in \a start, the first bytes of a
    /// recording; -1 if it does not.
    qint64 (*find)(const QByteArray& start);
    /// The frames of the recording in \a device, which is open for reading at its beginning and is
    /// called \a name in messages.
    std::unique_ptr<FrameSource> (*open)(std::unique_ptr<QIODevice> device, const QString& name);
};

/// All formats: a new one is a row here.
const QVector<RecordingFormat>& recordingFormats();

/// The format whose characteristic bytes come first in \a start, the first bytes of a recording;
/// null if no format has any there.
const RecordingFormat* formatOf(const QByteArray& start);

/// A recording that has been opened, or why that failed.
struct OpenedRecording {
    std::unique_ptr<FrameSource> source;     ///< null after an error
    const RecordingFormat* format = nullptr; ///< how the file is read
    QString error;                           ///< names the file; empty without an error
};

/// Opens the recording in the file of that name, in the format that its first bytes show. If they
/// show none, it is read in the first format of the table, so that its lines are problems. From a
/// pipe no more is awaited than it takes to recognise the format.
[[nodiscard]] OpenedRecording openRecording(const QString& fileName);

} // namespace monitor
