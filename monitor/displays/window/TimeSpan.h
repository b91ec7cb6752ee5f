#pragma once

#include "views/SignalChart.h"

namespace monitor
{

/// The part of a live run that a chart shows: the newest part, which follows the end, or a fixed
/// one. All times are in seconds since the beginning; \a end is how long the run has lasted.
class TimeSpan
{
public:
    /// The width shown at first.
    static constexpr double usualWidth = 30;

    /// The part to show, which lies between the beginning and the end.
    AxisRange range(double end) const;

    /// Shows \a factor times as much; the time \a center stays where it is, or the end if that is
    /// followed.
    void zoom(double factor, double center, double end);

    /// Moves by \a seconds. On reaching the end, follows it from then on.
    void move(double seconds, double end);

    /// Shows the end from now on.
    void follow() { following = true; }

    bool isFollowing() const { return following; }

private:
    bool following = true;
    double width = usualWidth;
    double from = 0; // unless it follows the end
};

/// The part of \a series needed to draw it over \a range, in seconds on the clock of its times,
/// which must not decrease: the points within the range and the next one on either side. The cost
/// depends on the number of these points, not on the length of the series.
Trace visibleTrace(const SignalSeries& series, const AxisRange& range);

} // namespace monitor
