#pragma once

#include "can/Frame.h"

namespace monitor
{

/// When the frames of a recording are due if it is played again.
class Pacing
{
public:
    /// \a factor times as fast as it was recorded; without a wait if that is infinite.
    explicit Pacing(double factor) : speed(factor) {}

    /// When \a frame is due, in microseconds from the beginning. The frames are passed in their
    /// order. One without a time, or with an earlier one than the frame before it, is due at once,
    /// as the first one is.
    double dueTimeOf(const Frame& frame);

private:
    double speed;
    double due = 0;
    std::optional<qint64> previous; // time of recording
};

} // namespace monitor
