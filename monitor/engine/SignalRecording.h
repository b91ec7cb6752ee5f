#pragma once

#include "SignalRecords.h"
#include "catalogue/Catalogue.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <memory>

namespace monitor
{

/// The values of one signal, in records of type \a T: CANopenObjectValue or J1939Value. If the
/// signal keeps only its newest records, a second signal of the library, which replaces its only
/// record, goes on with the statistics of all values. One thread uses an object at a time.
template <typename T>
class SignalRecording
{
public:
    using Record = T;

    explicit SignalRecording(const CatalogueSignal& signalDescription);

    /// Takes \a value, whose raw value is set, received at \a microseconds or SignalSeries::noTime.
    void record(T value, qint64 microseconds);

    /// Forgets all values.
    void clear();

    /// Ends the background updating that the library offers for display. Waits for its current
    /// cycle, up to 100 ms. The values stay.
    void stopUpdating();

    /// How many values were recorded, kept or not.
    qint64 count() const { return recorded; }

    /// Whether only the newest values are kept, so that kept() knows fewer than all().
    bool isBounded() const { return running != nullptr; }

    /// How many values are kept, if the recording is bounded.
    int limit() const { return keptRecords; }

    /// The kept values; up to twice as many as wanted unless dropOldest() was called before.
    const GenericSignalImpl<T>& kept() const { return series; }
    GenericSignalImpl<T>& kept() { return series; }

    /// The running statistics of all values. Only the newest of the values may be in it.
    const GenericSignalImpl<T>& all() const { return running ? *running : series; }

    /// When the kept values were received, in microseconds.
    const QVector<qint64>& times() const { return receptionTimes; }

    /// Drops the values that are not to be kept.
    void dropOldest();

private:
    GenericSignalImpl<T> series;
    std::unique_ptr<GenericSignalImpl<T>> running; // if only the newest records are kept
    QVector<qint64> receptionTimes;
    qint64 recorded = 0;
    double factor;
    double offset;
    int keptRecords; // 0: all
    bool isPassedThrough;
};

extern template class SignalRecording<CANopenObjectValue>;
extern template class SignalRecording<J1939Value>;

} // namespace monitor
