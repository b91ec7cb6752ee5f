#pragma once

#include "SignalRecords.h"
#include "catalogue/Catalogue.h"

#include <vantrel/signal/GenericSignalImpl.h>

#include <memory>

namespace monitor
{

/// The values of one signal, in records of type \a T: CANopenObjectValue or J1939Value. If only the
/// newest records are kept, a second signal of the library, which holds only one record, keeps the
/// running statistics of all values. Only one thread may use an object at a time.
template <typename T>
class SignalRecording
{
public:
    using Record = T;

    explicit SignalRecording(const CatalogueSignal& signalDescription);

    /// Scales and records \a value, whose raw value must be set. It was received at \a
    /// microseconds, SignalSeries::noTime if that is unknown.
    void record(T value, qint64 microseconds);

    /// Deletes all values.
    void clear();

    /// Stops the library's background updating. Waits for its current cycle to end, up to 100 ms.
    /// The values are kept.
    void stopUpdating();

    /// The number of recorded values, kept or not.
    qint64 count() const { return recorded; }

    /// Whether only the newest values are kept, so that kept() and all() differ.
    bool isBounded() const { return running != nullptr; }

    /// The number of values to keep, if the recording is bounded.
    int limit() const { return keptRecords; }

    /// The kept values. There are up to twice as many as limit() unless dropOldest() was called.
    const GenericSignalImpl<T>& kept() const { return series; }
    GenericSignalImpl<T>& kept() { return series; }

    /// The running statistics of all values. It need not hold the values themselves.
    const GenericSignalImpl<T>& all() const { return running ? *running : series; }

    /// When the kept values were received, in microseconds.
    const QVector<qint64>& times() const { return receptionTimes; }

    /// Drops the oldest values that exceed the limit.
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
