#pragma once

#include "views/SignalChart.h"

namespace monitor
{

/// The part of a live run that a chart shows: either the newest part, which follows the end of the
/// run, or a fixed part. All times are in seconds since the start of the run; \a end is its
/// duration so far.
class TimeSpan
{
public:
    /// The initial width.
    static constexpr double initialWidth = 30;

    /// The part to show, between the start and the end of the run.
    AxisRange range(double end) const;

    /// Makes the part \a factor times as wide. The time \a center stays in place, or the end if it
    /// is followed.
    void zoom(double factor, double center, double end);

    /// Moves by \a seconds. Once the end is reached, it is followed.
    void move(double seconds, double end);

    /// Follows the end from now on.
    void follow() { following = true; }

    bool isFollowing() const { return following; }

private:
    bool following = true;
    double width = initialWidth;
    double from = 0; // unused while following the end
};

/// The points of \a series needed to draw it over \a range, in seconds: those within the range and
/// the next one on either side. The times of the series must not decrease. The cost depends on the
/// number of these points, not on the length of the series.
Trace visibleTrace(const SignalSeries& series, const AxisRange& range);

/// The same for an outline with times, from its columns by age unless they are wider.
Trace visibleTrace(const SeriesOutline& outline, const AxisRange& range);

} // namespace monitor
