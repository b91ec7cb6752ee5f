#pragma once

#include "SignalRecording.h"
#include "Snapshot.h"
#include "ValueCounts.h"

namespace monitor
{

/// Computes the statistics of all values that \a recording keeps, with a band of \a k deviations,
/// into \a statistics, which holds the rest. Linear in the number of kept values. Values must not
/// be recorded meanwhile.
template <typename T>
void calcStatistics(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
                    SignalStatistics& statistics);

/// The same statistics for a display that asks again and again while values are recorded: the cost
/// depends on the number of new values, hardly on how many there are. Only a recording that is
/// bounded is measured as a whole each time.
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
    void clear() { values = ValueCounts(); }

private:
    ValueCounts values; // of a recording that is not bounded
};

} // namespace monitor
