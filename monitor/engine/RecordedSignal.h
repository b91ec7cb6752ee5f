#pragma once

#include "MonitoredSignal.h"
#include "ValueCounts.h"

#include <vantrel/signal/GenericSignalImpl.h>

namespace monitor
{

/// A monitored signal with its values in records of type \a T: CANopenObjectValue or J1939Value.
template <typename T>
class RecordedSignal : public MonitoredSignal
{
public:
    /// \a reportHeading is what every report of the signal begins with.
    RecordedSignal(const CatalogueSignal& signalDescription, const SignalReport& reportHeading);

    void feed(const DecodedSignal& decoded) override;
    void clear() override;
    const SignalReport& heading() const override { return commonHeading; }
    const CatalogueSignal& signalDescription() const override { return description; }
    void stopUpdating() override;
    SignalReport report(double k) override;
    void follow() override;
    SignalReport poll(double k) override;
    const Rhythm& rhythm() const override { return valueRhythm; }
    SignalSeries series() override;
    void extend(SignalSeries& series) override;
    SignalRecords records() override;
    void restore(const SignalRecords& saved) override;

private:
    void record(T value, qint64 microseconds);
    void dropOldest();
    const GenericSignalImpl<T>& fed() const { return running ? *running : recorded; }
    void measure(SignalReport& report, double k);
    void measureAgain(SignalReport& report, double k);
    void setBand(SignalReport& report, double k);
    void showNewest(SignalReport& report, const T& newest);
    int rate(const SignalReport& report, double k);

    CatalogueSignal description;
    SignalReport commonHeading;
    GenericSignalImpl<T> recorded;
    QVector<qint64> times;                         // of the recorded values
    std::unique_ptr<GenericSignalImpl<T>> running; // the statistics, if not all records are kept
    qint64 count = 0;                              // of all values
    Rhythm valueRhythm;
    ValueCounts valueCounts; // of the values up to the last follow()
    qint64 notAvailable = 0;
    qint64 errors = 0;
};

extern template class RecordedSignal<CANopenObjectValue>;
extern template class RecordedSignal<J1939Value>;

} // namespace monitor
