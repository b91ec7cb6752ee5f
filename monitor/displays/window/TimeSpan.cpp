#include "TimeSpan.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr double narrowest = 0.001;

} // namespace

AxisRange TimeSpan::range(double end) const
{
    const double first = following ? std::max(0.0, end - width) : from;
    return {first, std::max(std::min(first + width, end), first + narrowest)};
}

void TimeSpan::zoom(double factor, double center, double end)
{
    const AxisRange before = range(end);
    const double widest = std::max(end, usualWidth);
    width = std::clamp((before.to - before.from) * factor, narrowest, widest);
    const double share = (center - before.from) / (before.to - before.from);
    from = std::clamp(center - share * width, 0.0, std::max(0.0, end - width));
}

void TimeSpan::move(double seconds, double end)
{
    const double last = std::max(0.0, end - width);
    from = std::clamp(range(end).from + seconds, 0.0, last);
    following = from >= last;
}

} // namespace monitor
