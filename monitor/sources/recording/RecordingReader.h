#pragma once

#include "AscReader.h"

namespace monitor
{

/// Reads a recording line by line, whether candump or a Vector tool has written it: the first line
/// that can only be of one of them decides. This class is reentrant.
class RecordingReader
{
public:
    /// Reads one line into \a frame; for every kind but Frame that is left as it is.
    LineKind readLine(const QByteArray& line, Frame& frame);

    /// How many frames are lost according to the lines so far.
    qint64 dropped() const { return lost; }

private:
    enum class Writer { Unknown, Candump, Vector };

    Writer writerOf(const QByteArray& line) const;

    Writer writer = Writer::Unknown;
    AscReader ascReader;
    qint64 lost = 0;
};

} // namespace monitor
