#pragma once

#include "RecordedValue.h"
#include "Rhythm.h"
#include "RunningStatistics.h"
#include "SignalRecords.h"
#include "decoding/Decoder.h"

#include <variant>

namespace monitor
{

/// One signal from one source: records its values and computes their statistics. Only one thread
/// may use an object at a time; different objects are independent.
class MonitoredSignal
{
public:
    /// Starts recording a signal of \a message, in the library's type of record for its protocol.
    MonitoredSignal(const MessageHeader& message, const CatalogueSignal& signalDescription,
                    std::optional<quint8> source);

    const CatalogueSignal& description() const { return signal; }

    /// The message of the signal; only its protocol is known in a saved run.
    const MessageHeader& message() const { return header; }

    /// The name, source, unit and so on, without statistics.
    const SignalStatistics& identity() const { return empty; }

    /// Names the bus of the signal in its statistics.
    void setBus(const QString& name);

    /// The timing of the values.
    const Rhythm& rhythm() const { return valueRhythm; }

    /// Records a value, or counts that it is not available or an error.
    void record(const DecodedSignal& decoded);

    /// The value that record() has just recorded, as \a decoded describes it.
    RecordedValue newestValue(const DecodedSignal& decoded, const QString& bus) const;

    /// Deletes all values and counts, but keeps the rhythm.
    void clear();

    /// Stops the library's background updating. Waits for its current cycle to end, up to 100 ms.
    /// The values are kept.
    void stopUpdating();

    /// Computes the statistics of all values, with a band of \a k deviations. The median and the
    /// deviators are those of the kept values.
    SignalStatistics calcStatistics(double k);

    /// The same for a display that asks repeatedly. The cost depends on the number of values since
    /// the last call. Without new values the last result is returned, so \a k must be the same in
    /// all calls.
    std::shared_ptr<const SignalStatistics> getRunningStatistics(double k);

    /// The kept values; empty for a pass-through signal.
    SignalSeries getSeries();

    /// Appends the values that \a series lacks. It must be empty or come from an earlier call since
    /// the last clear(). The cost depends on the number of new values, unless only the newest are
    /// kept.
    void appendNewValues(SignalSeries& series);

    /// The kept values and the counts.
    SignalRecords getRecords();

    /// Records what getRecords() returned for a signal of the same description and protocol. The
    /// values are scaled and recorded again, which gives the same statistics.
    void restore(const SignalRecords& saved);

private:
    using Recording =
        std::variant<SignalRecording<CANopenObjectValue>, SignalRecording<J1939Value>>;

    SignalStatistics identityAndCounts() const;
    static Recording makeRecording(Protocol protocol, const CatalogueSignal& description);

    CatalogueSignal signal;
    MessageHeader header;
    SignalStatistics empty;
    Recording recording;
    RunningStatistics running;
    std::shared_ptr<const SignalStatistics> newestStatistics; // null: out of date
    std::optional<quint64> newestBits;                        // the raw value
    Rhythm valueRhythm;
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

} // namespace monitor
