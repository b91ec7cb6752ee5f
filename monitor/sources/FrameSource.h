#pragma once

#include "can/Frame.h"
#include "text/Problems.h"

namespace monitor
{

/// What a source has brought beside frames.
struct SourceCounts {
    qint64 errorFrames = 0; ///< error frames of the bus, which carry no data of a node
    qint64 lost = 0;        ///< frames that the recorder lost, or that a live run had no room for
    qint64 unreadable = 0;  ///< places of a recording that are not understood
};

/// How much of a source has been read. The unit is that of the source, such as bytes.
struct SourceProgress {
    qint64 done = 0;
    qint64 total = 0; ///< 0 if unknown
};

/// The one way in which frames come into the program: from a recording or from a bus. One thread
/// uses it.
class FrameSource
{
public:
    virtual ~FrameSource() = default;

    /// Reads the next data or remote frame into \a frame and returns true. False, with \a frame
    /// left as it is, if there is none: at the end of a recording or after an error; on a bus there
    /// may be more later.
    [[nodiscard]] virtual bool next(Frame& frame) = 0;

    /// The counts so far.
    virtual SourceCounts counts() const = 0;

    virtual SourceProgress progress() const { return {}; }

    /// The places of a recording that are not understood.
    virtual Problems problems() const { return {}; }

    /// Why there can be no more frames, naming the source; empty without an error.
    virtual QString error() const = 0;
};

} // namespace monitor
