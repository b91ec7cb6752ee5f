#include "RecordingReader.h"

#include "CandumpLine.h"

namespace monitor
{

LineKind RecordingReader::readLine(const QByteArray& line, Frame& frame)
{
    if (writer == Writer::Unknown)
        writer = writerOf(line);
    const LineKind kind =
        writer == Writer::Vector ? ascReader.readLine(line, frame) : readCandumpLine(line, frame);
    if (kind == LineKind::Dropped)
        lost += droppedFrames(line);
    return kind;
}

RecordingReader::Writer RecordingReader::writerOf(const QByteArray& line) const
{
    Frame frame;
    const LineKind kind = readCandumpLine(line, frame);
    if (kind == LineKind::Nothing)
        return Writer::Unknown;
    if (kind != LineKind::NoFrame)
        return Writer::Candump;
    AscReader vectorReader;
    const bool isVector =
        AscReader::isHeader(line) || vectorReader.readLine(line, frame) != LineKind::NoFrame;
    return isVector ? Writer::Vector : Writer::Unknown;
}

} // namespace monitor
