#pragma once

#include "../decoding/Decoder.h"
#include "SignalReport.h"

#include <vantrel/signal/GenericSignalImpl.h>

namespace monitor
{

/// One signal of one source: its recorded values and what was received instead of values.
/// One thread uses it at a time; different objects are independent.
class MonitoredSignal
{
public:
    /// Begins to record. \a reportedName is the name that the report bears.
    MonitoredSignal(const SignalDescription& description, const QString& reportedName,
                    std::optional<quint8> sourceAddress);

    /// Records a value, or counts that there was none.
    void feed(const DecodedSignal& decoded);

    /// Ends the background updating of the average and deviation that the library offers for
    /// display. Waits for its current cycle, up to 100 ms. What is recorded stays.
    void stopUpdating();

    /// All figures as they are now, with a band of \a k deviations. Nobody may feed meanwhile.
    SignalReport report(double k);

private:
    void measure(SignalReport& report, double k);

    SignalDescription description;
    QString name;
    std::optional<quint8> source;
    GenericSignalImpl<J1939Value> recorded;
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

} // namespace monitor
