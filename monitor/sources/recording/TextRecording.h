#pragma once

#include "sources/FrameSource.h"
#include "text/LineReader.h"

#include <memory>

namespace monitor
{

/// The kind of a line of a recording.
enum class LineKind {
    Frame,
    ErrorFrame, ///< an error on the bus, which carries no data of a node
    Lost,       ///< says that the recorder has lost frames
    Nothing,    ///< a blank line, a comment, or an event that is not a frame
    Unknown     ///< anything else
};

/// Reads the lines of one text format, in their order.
class LineParser
{
public:
    virtual ~LineParser() = default;

    /// Reads one line into \a frame; for every kind but Frame that is left as it is.
    [[nodiscard]] virtual LineKind readLine(const QByteArray& line, Frame& frame) = 0;

    /// How many frames the recorder has lost according to the lines so far.
    virtual qint64 lost() const { return 0; }
};

/// The frames of a recording that consists of lines.
class TextRecording : public FrameSource
{
public:
    /// Reads the lines of \a device, which is open, with \a lineParser; \a name is for messages.
    TextRecording(std::unique_ptr<QIODevice> device, const QString& name,
                  std::unique_ptr<LineParser> lineParser);

    [[nodiscard]] bool next(Frame& frame) override;
    SourceCounts counts() const override;
    SourceProgress progress() const override { return {lines.position(), lines.size()}; }
    Problems problems() const override { return unreadable; }
    QString error() const override { return lines.error(); }

private:
    LineReader lines;
    std::unique_ptr<LineParser> parser;
    Problems unreadable;
    QByteArray line;
    qint64 errorFrames = 0;
};

/// Where the first line that \a isTypical accepts begins in \a start, the first bytes of a
/// recording; -1 if it accepts none of them. The lines are passed without their ends.
qint64 findLine(const QByteArray& start, bool (*isTypical)(const QByteArray& line));

} // namespace monitor
