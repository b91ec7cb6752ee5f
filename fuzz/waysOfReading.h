#pragma once

#include "frameCheck.h"

#include <QtCore/QBuffer>
#include <QtCore/QVector>

#include <algorithm>
#include <array>
#include <memory>

inline std::unique_ptr<QIODevice> bufferOf(const std::uint8_t* data, std::size_t size)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    buffer->open(QIODevice::ReadOnly);
    return buffer;
}

inline bool areSame(const monitor::Frame& left, const monitor::Frame& right)
{
    return left.id == right.id && left.extended == right.extended && left.remote == right.remote &&
           left.fd == right.fd && left.bitRateSwitch == right.bitRateSwitch &&
           left.bus == right.bus && left.length == right.length &&
           std::equal(left.data.begin(), left.data.begin() + left.length, right.data.begin());
}

/// Reads \a source in batches, and aborts unless its frames are the \a expected ones, which were
/// read line by line, with the same times if \a haveSameTimes.
inline void checkFrames(monitor::FrameSource& source, const QVector<monitor::Frame>& expected,
                        bool haveSameTimes)
{
    std::array<monitor::Frame, 16> frames;
    int position = 0;
    while (const int count = source.read(frames.data(), static_cast<int>(frames.size()))) {
        for (int i = 0; i < count; ++i) {
            const monitor::Frame& frame = frames[static_cast<std::size_t>(i)];
            checkFrame(monitor::LineKind::Frame, frame);
            if (position == expected.size() || !areSame(frame, expected.at(position)) ||
                (haveSameTimes && frame.nanoseconds != expected.at(position).nanoseconds))
                std::abort();
            ++position;
        }
    }
    if (position != expected.size())
        std::abort();
}
