#include "RecordingFile.h"

namespace monitor
{

RecordingFile::RecordingFile(const QString& fileName, QTextStream& messages)
    : lines(fileName), warnings(messages, fileName)
{
}

bool RecordingFile::readFrame(Frame& frame)
{
    while (lines.readLine(line)) {
        const LineKind kind = recording.readLine(line, frame);
        if (kind == LineKind::Frame)
            return true;
        if (kind == LineKind::ErrorFrame)
            ++errors;
        else if (kind == LineKind::NoFrame)
            warnings.add(lines.lineNumber(), QStringLiteral("not a frame"));
    }
    warnings.printTotal(QStringLiteral("line(s) in all that are no frame"));
    return false;
}

} // namespace monitor
