#pragma once

#include "views/SignalChart.h"

namespace monitor
{

/// Which part of a live run a chart shows: the newest one, which follows the end, or one that
/// stands still. All times are in seconds since the beginning; \a end is how long the run has
/// lasted.
class TimeSpan
{
public:
    /// What is shown when nobody has chosen otherwise.
    static constexpr double usualWidth = 30;

    /// The part to show, which lies between the beginning and the end.
    AxisRange range(double end) const;

    /// Shows \a factor times as much; the time \a center stays where it is, or the end if that is
    /// followed.
    void zoom(double factor, double center, double end);

    /// Shows what lies \a seconds later. Whoever comes to the end follows it from then on.
    void move(double seconds, double end);

    /// Shows the end from now on.
    void follow() { following = true; }

    bool isFollowing() const { return following; }

private:
    bool following = true;
    double width = usualWidth;
    double from = 0; // if it does not follow the end
};

} // namespace monitor
