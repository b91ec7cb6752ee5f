#pragma once

#include "Rhythm.h"
#include "RunningStatistics.h"
#include "SignalRecords.h"
#include "decoding/Decoder.h"

#include <variant>

namespace monitor
{

/// One signal of one source: records what is received of it, and computes its statistics. One
/// thread uses an object at a time; different objects are independent.
class MonitoredSignal
{
public:
    /// Begins to record a signal of \a message, in the library's record for its protocol.
    MonitoredSignal(const MessageHeader& message, const CatalogueSignal& signalDescription,
                    std::optional<quint8> source);

    const CatalogueSignal& description() const { return signal; }

    /// Its name, source, unit and so on, without statistics.
    const SignalStatistics& identity() const { return empty; }

    /// When its values are received.
    const Rhythm& rhythm() const { return valueRhythm; }

    /// Records a value, or counts that there was none.
    void record(const DecodedSignal& decoded);

    /// Forgets all values and counts. The rhythm stays known.
    void clear();

    /// Ends the background updating that the library offers for display. Waits for its current
    /// cycle, up to 100 ms. What is recorded stays.
    void stopUpdating();

    /// All statistics, with a band of \a k deviations, from all values that are kept.
    SignalStatistics calcStatistics(double k);

    /// The same for a display that asks again and again: the cost depends on the number of values
    /// since the last call of it. Without any, that call's answer is returned again.
    std::shared_ptr<const SignalStatistics> getRunningStatistics(double k);

    /// The kept values; none of a signal that is passed through.
    SignalSeries getSeries();

    /// Appends what is missing to \a series, which is empty or the result of an earlier call, with
    /// no clear() since. The cost depends on the number of new values, unless only some are kept.
    void appendNewValues(SignalSeries& series);

    /// All that is kept of what was received.
    SignalRecords getRecords();

    /// Records what getRecords() has returned for a signal of the same description and protocol.
    /// Values are scaled and recorded again, which leads to the same statistics.
    void restore(const SignalRecords& saved);

private:
    using Recording =
        std::variant<SignalRecording<CANopenObjectValue>, SignalRecording<J1939Value>>;

    static Recording makeRecording(Protocol protocol, const CatalogueSignal& description);

    CatalogueSignal signal;
    SignalStatistics empty;
    Recording recording;
    RunningStatistics running;
    std::shared_ptr<const SignalStatistics> newestStatistics; // null: to be computed
    Rhythm valueRhythm;
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

} // namespace monitor
