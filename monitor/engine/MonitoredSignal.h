#pragma once

#include "Rhythm.h"
#include "SignalRecords.h"
#include "SignalReport.h"
#include "SignalSeries.h"
#include "decoding/Decoder.h"

#include <memory>

namespace monitor
{

/// One signal of one source: its recorded values and what was received instead of values.
/// One thread uses it at a time; different objects are independent.
class MonitoredSignal
{
public:
    virtual ~MonitoredSignal() = default;

    /// Records a value, or counts that there was none.
    virtual void feed(const DecodedSignal& decoded) = 0;

    /// Forgets all values and counts, to begin anew. The rhythm stays known.
    virtual void clear() = 0;

    /// What every report begins with: all but the figures.
    virtual const SignalReport& heading() const = 0;

    virtual const CatalogueSignal& signalDescription() const = 0;

    /// Ends the background updating of the average and deviation that the library offers for
    /// display. Waits for its current cycle, up to 100 ms. What is recorded stays.
    virtual void stopUpdating() = 0;

    /// All figures as they are now, with a band of \a k deviations. Nobody may feed meanwhile.
    virtual SignalReport report(double k) = 0;

    /// Takes the values that have come since the last call into what poll() goes by. A display
    /// calls it for signals out of sight too, so that none falls far behind.
    virtual void follow() = 0;

    /// The same as report() for a display that asks again and again: what it costs hangs on the
    /// values that have come since the last follow(), hardly on how many there are.
    virtual SignalReport poll(double k) = 0;

    /// When its values come.
    virtual const Rhythm& rhythm() const = 0;

    /// The values that are kept; none of a carried signal. Nobody may feed meanwhile.
    virtual SignalSeries series() = 0;

    /// Brings \a series up to date, which is empty or what an earlier call has left, with no
    /// clear() since. What it costs hangs on what has come since then, unless only some records are
    /// kept. Nobody may feed meanwhile.
    virtual void extend(SignalSeries& series) = 0;

    /// All that is kept of what was received. Nobody may feed meanwhile.
    virtual SignalRecords records() = 0;

    /// Records what records() has returned for a signal of the same description and protocol.
    virtual void restore(const SignalRecords& saved) = 0;
};

/// Begins to record a signal of \a message in the library's record for its protocol.
std::unique_ptr<MonitoredSignal> monitorSignal(const MessageHeader& message,
                                               const CatalogueSignal& description,
                                               std::optional<quint8> sourceAddress);

} // namespace monitor
