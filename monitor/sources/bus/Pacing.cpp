#include "Pacing.h"

#include <algorithm>

namespace monitor
{

double Pacing::dueTimeOf(const Frame& frame)
{
    if (!frame.microseconds)
        return due;
    const qint64 waited =
        std::max<qint64>(0, *frame.microseconds - previous.value_or(*frame.microseconds));
    previous = frame.microseconds;
    due += static_cast<double>(waited) / speed;
    return due;
}

} // namespace monitor
