#include "SignalRecording.h"

#include "DatatypeChoice.h"

namespace monitor
{

template <typename T>
SignalRecording<T>::SignalRecording(const CatalogueSignal& signalDescription)
    : factor(signalDescription.scaling.factor),
      offset(signalDescription.scaling.offset),
      keptRecords(signalDescription.rules.keptRecords),
      isPassedThrough(signalDescription.layout.passThrough)
{
    series.setDatatype(datatypeOf(signalDescription));
    series.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    if (keptRecords == 0 || isPassedThrough)
        return;
    running = std::make_unique<GenericSignalImpl<T>>(); // holds only one record; has no worker
    running->setDatatype(series.getDatatype());
}

template <typename T>
void SignalRecording<T>::record(T value, qint64 microseconds)
{
    ++recorded;
    receptionTimes.append(microseconds);
    if (!isPassedThrough && !running) {
        series.setNewValue(std::move(value), factor, offset);
        return;
    }
    if (running)
        running->setNewValue(value, factor, offset);
    // Scaled before it is stored, so that it is not added to the running statistics of the series:
    // those of a bounded series are not used, and those of texts would be meaningless.
    series.scaleAndAppendValue(value, factor, offset);
    series.setNewValue(std::move(value));
    if (keptRecords > 0 && receptionTimes.size() / 2 >= keptRecords)
        dropOldest();
}

// A series cannot drop its oldest records, so it is cleared and the newest are appended again. That
// happens when there are twice as many as are kept, so on average each value is copied once more.
template <typename T>
void SignalRecording<T>::dropOldest()
{
    const auto surplus = receptionTimes.size() - keptRecords;
    if (keptRecords == 0 || surplus <= 0)
        return;
    const QVector<T> newest = series.getValues().mid(surplus);
    series.clearValues();
    series.appendValues(newest, factor, offset);
    receptionTimes.remove(0, surplus);
}

template <typename T>
void SignalRecording<T>::clear()
{
    series.clearValues();
    if (running)
        running->clearValues();
    receptionTimes.clear();
    recorded = 0;
}

// Not with setValueHandling(), which would stop the worker too: the median depends on the handling.
template <typename T>
void SignalRecording<T>::stopUpdating()
{
    series.setUpdatingEnabled(false);
}

template class SignalRecording<CANopenObjectValue>;
template class SignalRecording<J1939Value>;

} // namespace monitor
