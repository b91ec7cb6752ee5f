#pragma once

#include "can/Frame.h"
#include "text/Problems.h"

namespace monitor
{

/// Counts of everything in a source other than frames.
struct SourceCounts {
    qint64 errorFrames = 0; ///< error frames of the bus, which carry no data of a node
    qint64 lost = 0;        ///< frames lost by the recorder, or dropped by a live run
    qint64 unreadable = 0;  ///< unreadable places of a recording
};

/// How much of a source has been read. The unit is that of the source, such as bytes.
struct SourceProgress {
    qint64 done = 0;
    qint64 total = 0; ///< 0 if unknown
};

/// The interface through which all frames enter the program, from a recording or a bus. Used by
/// one thread.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Reads the next data or remote frame into \a frame and returns true. False, with \a frame
    /// left as it is, at the end of a recording or after an error; on a bus there may be more
    /// later.
    [[nodiscard]] virtual bool next(Frame& frame) = 0;

    /// The counts so far.
    virtual SourceCounts counts() const = 0;

    virtual SourceProgress progress() const { return {}; }

    /// The unreadable places of a recording.
    virtual Problems problems() const { return {}; }

    /// The error that ended reading, naming the source; empty without an error.
    virtual QString error() const = 0;
};

} // namespace monitor
