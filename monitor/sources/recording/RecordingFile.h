#pragma once

#include "text/LineReader.h"
#include "text/LineWarnings.h"
#include "RecordingReader.h"

namespace monitor
{

/// The frames of a recording, one after the other, and what else its lines tell.
class RecordingFile
{
public:
    /// Opens the file. Lines that are no frame are told to \a messages, which must outlive this
    /// object.
    RecordingFile(const QString& fileName, QTextStream& messages);

    /// Reads on to the next frame and returns true; false at the end of the file and after an
    /// error.
    bool readFrame(Frame& frame);

    /// What went wrong, naming the file; empty if nothing did.
    QString error() const { return lines.error(); }

    /// How far the file has been read, in bytes of size().
    qint64 position() const { return lines.position(); }
    qint64 size() const { return lines.size(); }

    /// The error frames so far.
    qint64 errorFrames() const { return errors; }

    /// How many frames the recorder says it has lost so far.
    qint64 dropped() const { return recording.dropped(); }

    /// The lines so far that are no frame.
    qint64 noFrame() const { return warnings.count(); }

private:
    LineReader lines;
    LineWarnings warnings;
    RecordingReader recording;
    QByteArray line;
    qint64 errors = 0;
};

} // namespace monitor
