#include "TextRecording.h"

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

bool TextRecording::next(Frame& frame)
{
    if (parser->readFurtherFrame(frame))
        return true;
    while (lines.readLine(line)) {
        switch (parser->readLine(line, frame)) {
        case LineKind::Frame:
            return true;
        case LineKind::ErrorFrame:
            ++errorFrames;
            break;
        case LineKind::Unknown:
            unreadable.add(lines.lineNumber(), QStringLiteral("unreadable line"));
            break;
        case LineKind::Lost:
        case LineKind::Nothing:
            break;
        }
    }
    return false;
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

qint64 findLine(const QByteArray& start, bool (*isTypical)(const QByteArray& line))
{
    for (decltype(start.size()) begin = 0; begin < start.size();) {
        const auto lineFeed = start.indexOf('\n', begin);
        const auto end = lineFeed < 0 ? start.size() : lineFeed;
        auto length = end - begin;
        while (length > 0 && start.at(begin + length - 1) == '\r')
            --length;
        if (isTypical(start.mid(begin, length)))
            return begin;
        begin = end + 1;
    }
    return -1;
}

} // namespace monitor
