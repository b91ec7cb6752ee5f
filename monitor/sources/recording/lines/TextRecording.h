#pragma once

#include "sources/FrameSource.h"
#include "text/LineReader.h"

#include <memory>

namespace monitor
{

/// The kind of a line of a recording.
enum class LineKind {
    Frame,
    ErrorFrame, ///< an error on the bus, without data from a node
    Lost,       ///< a report of frames that the recorder has lost
    Nothing,    ///< a blank line, a comment, or an event that is not a frame
    Unknown     ///< anything else
};

/// Reads the lines of a text format in order.
class LineParser
{
public:
    virtual ~LineParser() = default;

    /// Reads one line into \a frame, which is left unchanged for every kind but Frame.
    [[nodiscard]] virtual LineKind readLine(std::string_view line, Frame& frame) = 0;

    /// Reads lines of the usual form into the \a size elements at \a frames, from the next line of
    /// \a lines on, and returns their number. Lines from the first one of another form on are left
    /// to readLine(), which would yield the same frames more slowly.
    [[nodiscard]] virtual int readUsualLines(LineReader& lines, Frame* frames, int size)
    {
        Q_UNUSED(lines)
        Q_UNUSED(frames)
        Q_UNUSED(size)
        return 0;
    }

    /// Reads the next frame of the last line into \a frame. Returns false, leaving \a frame
    /// unchanged, if the line has no more frames.
    [[nodiscard]] virtual bool readFurtherFrame(Frame& frame)
    {
        Q_UNUSED(frame)
        return false;
    }

    /// Whether the last frame that readLine() has read must be the last one of a batch.
    virtual bool endsBatch() const { return false; }

    /// The number of lost frames that the lines so far report.
    virtual qint64 lost() const { return 0; }

    /// See FrameSource::buses().
    virtual QStringList buses() const { return {QString()}; }

    /// See FrameSource::notes(). The caller adds the file name.
    virtual QStringList notes() const { return {}; }
};

/// Reads lines as LineParser::readUsualLines() does. \a readLine reads one line into a frame, given
/// the beginning of the line and the end of the text. It returns the end of the line, or nullptr if
/// the line has another form.
template <typename ReadLine>
int readAhead(LineReader& lines, Frame* frames, int size, ReadLine readLine)
{
    const std::string_view ahead = lines.ahead();
    const char* line = ahead.data();
    const char* const end = line + ahead.size();
    int count = 0;
    while (count < size && line < end) {
        const char* const next = readLine(line, end, frames[count]);
        if (next == nullptr)
            break;
        line = next;
        ++count;
    }
    lines.skipLines(line, count);
    return count;
}

/// The frames of a text recording.
class TextRecording : public FrameSource
{
public:
    /// Reads the lines of \a device, which must be open, with \a lineParser. Messages use \a name.
    TextRecording(std::unique_ptr<QIODevice> device, const QString& name,
                  std::unique_ptr<LineParser> lineParser);

    [[nodiscard]] bool next(Frame& frame) override { return read(&frame, 1) == 1; }
    [[nodiscard]] int read(Frame* frames, int size) override;
    SourceCounts counts() const override;
    SourceProgress progress() const override { return {lines.position(), lines.size()}; }
    QStringList buses() const override { return parser->buses(); }
    QVector<Problems> problems() const override { return {unreadable}; }
    QStringList notes() const override;
    QString error() const override { return lines.error(); }

private:
    bool readLine(std::string_view line, Frame& frame);

    LineReader lines;
    QString fileName;
    std::unique_ptr<LineParser> parser;
    Problems unreadable;
    qint64 errorFrames = 0;
};

/// The position of the first line that \a isTypical accepts in \a start, the first bytes of a
/// recording; -1 if it accepts no line. The lines are passed without their line breaks.
qint64 findLine(const QByteArray& start, bool (*isTypical)(std::string_view line));

} // namespace monitor
