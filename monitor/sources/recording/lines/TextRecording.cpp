#include "TextRecording.h"

#include <algorithm>

namespace monitor
{

TextRecording::TextRecording(std::unique_ptr<QIODevice> device, const QString& name,
                             std::unique_ptr<LineParser> lineParser)
    : lines(std::move(device), name),
      fileName(name),
      parser(std::move(lineParser)),
      unreadable(name, QStringLiteral("unreadable line(s) skipped"))
{
}

int TextRecording::read(Frame* frames, int size)
{
    int count = 0;
    while (count < size) {
        if (parser->readFurtherFrame(frames[count])) {
            ++count;
            continue;
        }
        count += parser->readUsualLines(lines, frames + count, size - count);
        const bool mayWait = count == 0;
        std::string_view line;
        if (count == size || !(mayWait || lines.hasLine()) || !lines.readLine(line))
            break;
        if (!readLine(line, frames[count]))
            continue;
        ++count;
        if (parser->endsBatch())
            break;
    }
    return count;
}

/// Returns whether \a line is a frame.
bool TextRecording::readLine(std::string_view line, Frame& frame)
{
    const LineKind kind = parser->readLine(line, frame);
    switch (kind) {
    case LineKind::ErrorFrame:
        ++errorFrames;
        break;
    case LineKind::Unknown:
        unreadable.add(lines.lineNumber(), QStringLiteral("unreadable line"));
        break;
    case LineKind::Frame:
    case LineKind::Lost:
    case LineKind::Nothing:
        break;
    }
    return kind == LineKind::Frame;
}

SourceCounts TextRecording::counts() const
{
    return {errorFrames, parser->lost(), unreadable.count()};
}

QStringList TextRecording::notes() const
{
    QStringList notes;
    for (const QString& note : parser->notes())
        notes += fileName + QStringLiteral(": ") + note;
    return notes;
}

qint64 findLine(const QByteArray& start, bool (*isTypical)(std::string_view line))
{
    const std::string_view lines = viewOf(start);
    for (std::size_t begin = 0; begin < lines.size();) {
        const std::size_t end = std::min(lines.find('\n', begin), lines.size());
        std::string_view line = lines.substr(begin, end - begin);
        while (!line.empty() && line.back() == '\r')
            line.remove_suffix(1);
        if (isTypical(line))
            return static_cast<qint64>(begin);
        begin = end + 1;
    }
    return -1;
}

} // namespace monitor
