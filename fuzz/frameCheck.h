#pragma once

#include <sources/recording/TextRecording.h>

#include <cstdlib>

/// Ends the process unless \a kind and \a frame are what a reader of recordings promises. The frame
/// must have been as constructed before.
inline void checkFrame(monitor::LineKind kind, const monitor::Frame& frame)
{
    const monitor::Frame untouched;
    const bool isUntouched = frame.id == untouched.id && frame.length == untouched.length &&
                             frame.data == untouched.data && !frame.microseconds;
    const quint32 lastId = frame.extended ? monitor::lastExtendedId : monitor::lastStandardId;
    const bool isFrame = frame.id <= lastId && frame.length <= frame.data.size() &&
                         frame.microseconds.value_or(0) >= 0 &&
                         (!frame.remote || frame.length == 0);
    if (kind == monitor::LineKind::Frame ? !isFrame : !isUntouched)
        std::abort();
}
