#pragma once

#include "Frame.h"

namespace monitor
{

/// The data of one frame, or of a message put together from several. It refers to the bytes.
struct Payload {
    quint32 id = 0;
    bool extended = false; ///< true: the id has 29 bits, false: 11
    const quint8* data = nullptr;
    int length = 0;                     ///< in bytes
    std::optional<qint64> microseconds; ///< when its last frame was seen
};

/// The data of \a frame, which must outlive the answer.
inline Payload payloadOf(const Frame& frame)
{
    return {frame.id, frame.extended, frame.data.data(), frame.length, frame.microseconds};
}

} // namespace monitor
