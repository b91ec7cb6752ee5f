#pragma once

#include <sources/recording/lines/TextRecording.h>

#include <cstdlib>

/// Aborts unless \a kind and \a frame are what a reader of recordings promises: a possible frame,
/// or one that is left as it was constructed.
inline void checkFrame(monitor::LineKind kind, const monitor::Frame& frame)
{
    const monitor::Frame untouched;
    const bool isUntouched = frame.id == untouched.id && frame.length == untouched.length &&
                             frame.data == untouched.data && !frame.nanoseconds;
    const quint32 lastId = frame.extended ? monitor::lastExtendedId : monitor::lastStandardId;
    const bool isFrame = frame.id <= lastId && frame.length <= frame.data.size() &&
                         frame.nanoseconds.value_or(0) >= 0 && (!frame.remote || frame.length == 0);
    if (kind == monitor::LineKind::Frame ? !isFrame : !isUntouched)
        std::abort();
}
