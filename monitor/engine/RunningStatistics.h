#pragma once

#include "SignalRecording.h"
#include "Snapshot.h"
#include "ValueCounts.h"

#include <deque>

namespace monitor
{

/// Computes the statistics of all values that \a recording keeps, with a band of \a k deviations,
/// into \a statistics, which holds the rest. Linear in the number of kept values. Values must not
/// be recorded meanwhile.
template <typename T>
void calcStatistics(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
                    SignalStatistics& statistics);

/// The same statistics for a display that asks again and again while values are recorded: the cost
/// depends on the number of new values, hardly on how many there are.
class RunningStatistics
{
public:
    /// Takes the values in that \a recording has got since the last call.
    template <typename T>
    void update(const SignalRecording<T>& recording);

    /// Updates, and computes the statistics as calcStatistics() does.
    template <typename T>
    void get(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
             SignalStatistics& statistics);

    /// Forgets all values.
    void clear() { *this = RunningStatistics(); }

private:
    ValueCounts values;        // the kept ones
    std::deque<double> newest; // the same in their order, if only the newest are kept
    qint64 taken = 0;          // how many values of the recording have been seen
};

} // namespace monitor
