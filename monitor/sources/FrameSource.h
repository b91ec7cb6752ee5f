#pragma once

#include "can/Frame.h"
#include "text/Problems.h"

namespace monitor
{

/// The counts of a source, apart from the frames that it returns.
struct SourceCounts {
    qint64 errorFrames = 0; ///< error frames, which contain no data from a node
    qint64 lost = 0;        ///< frames lost by the recorder, or dropped by a live run
    qint64 unreadable = 0;  ///< unreadable parts of a recording, such as lines
};

/// How much of a source has been read, in a unit that depends on the source, such as bytes.
struct SourceProgress {
    qint64 done = 0;
    qint64 total = 0; ///< 0 if unknown
};

/// The interface through which all frames enter the program, from a recording or a bus. It must be
/// used by one thread only.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Reads the next data or remote frame into \a frame and returns true. Returns false, leaving
    /// \a frame unchanged, at the end of a recording, after an error, and whenever a bus has no
    /// more frames for the moment.
    [[nodiscard]] virtual bool next(Frame& frame) = 0;

    /// Reads the next frames into the \a size elements at \a frames, at least one, and returns
    /// their number: 0 whenever next() would return false. It may be less than \a size before the
    /// end, since available frames are not held back to wait for more. Every member of a frame is
    /// set except the bytes of its data from its length on, so the same array can be used again.
    [[nodiscard]] virtual int read(Frame* frames, int size)
    {
        int count = 0;
        while (count < size && next(frames[count]))
            ++count;
        return count;
    }

    /// The counts so far.
    virtual SourceCounts counts() const = 0;

    virtual SourceProgress progress() const { return {}; }

    /// The names of the buses so far, to which Frame::bus refers. The name is empty if the source
    /// does not tell the bus of a frame.
    virtual QStringList buses() const { return {QString()}; }

    /// The unreadable parts of each recording.
    virtual QVector<Problems> problems() const { return {}; }

    /// What had to be assumed about the recording, and other remarks for the user, so far.
    virtual QStringList notes() const { return {}; }

    /// A message about the error that ended reading, naming the source; empty without an error.
    virtual QString error() const = 0;
};

} // namespace monitor
