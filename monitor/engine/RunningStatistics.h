#pragma once

#include "SignalRecording.h"
#include "Snapshot.h"
#include "ValueCounts.h"

#include <deque>

namespace monitor
{

/// Computes the statistics of all values of \a recording, with a band of \a k deviations; median
/// and deviators are those of the kept values. Other members of \a statistics must be set before.
/// Linear in the number of kept values. No values may be recorded meanwhile.
template <typename T>
void calcStatistics(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
                    SignalStatistics& statistics);

/// The same statistics for a display that asks repeatedly while values are recorded. The cost
/// depends on the number of new values, and hardly on the number of all values.
class RunningStatistics
{
public:
    /// Adds the values recorded since the last call.
    template <typename T>
    void update(const SignalRecording<T>& recording);

    /// Updates, and computes the same statistics as calcStatistics().
    template <typename T>
    void get(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
             SignalStatistics& statistics);

    /// Deletes all values.
    void clear() { *this = RunningStatistics(); }

private:
    ValueCounts values;        // the kept values
    std::deque<double> newest; // the same in order of time, if only the newest are kept
    qint64 taken = 0;          // the number of recorded values seen so far
};

} // namespace monitor
