#include <vantrel/signal/GenericSignalImpl.h>

#include "../handlers/readElement.h"
#include <vantrel/handlers/GenericValueHandler.h>

#include <QtCore/QDeadlineTimer>
#include <QtCore/QList>

#include <optional>

using CAN::CANopenDataType;
using GenericSignal::NewValueHandlingType;

namespace
{

constexpr unsigned long refreshPeriodMs = 100;

// By number, because a host's own enumeration may use other names.
constexpr auto replaceNewest = static_cast<NewValueHandlingType>(1);
constexpr auto appendAll = static_cast<NewValueHandlingType>(2);

template <typename N>
struct ElementType {
    using type = N;
};

/// Calls \a call with the ElementType of \a datatype and returns true, or returns false if the data
/// type has no element type. The codes are the indices of CiA 301, but any number is allowed.
/// Intentional, and described in the header: 18 (INTEGER40) has the element type signed char, and
/// 19, 20 and 26 have no element type.
template <typename Callable>
bool withElementType(CANopenDataType datatype, Callable call)
{
    switch (static_cast<quint32>(datatype)) {
    case 0:
    case 17:
        return call(ElementType<double>()), true;
    case 2:
    case 18:
        return call(ElementType<signed char>()), true;
    case 3:
        return call(ElementType<short>()), true;
    case 4:
    case 16:
        return call(ElementType<int>()), true;
    case 5:
        return call(ElementType<unsigned char>()), true;
    case 6:
        return call(ElementType<unsigned short>()), true;
    case 7:
    case 22:
        return call(ElementType<unsigned int>()), true;
    case 8:
        return call(ElementType<float>()), true;
    case 21:
        return call(ElementType<long long>()), true;
    case 24:
    case 25:
    case 27:
        return call(ElementType<unsigned long long>()), true;
    }
    return false;
}

/// Makes sure that no snapshot shares the storage of \a series. Like QVector::detach(), but throws
/// if memory runs out: detach() of Qt 6 does not check for that unless the vector grows.
template <typename T>
void unshare(QVector<T>& series)
{
#if QT_VERSION_MAJOR == 5
    series.detach();
#else
    if (series.isDetached())
        return;
    QVector<T> copy;
    copy.append(series);
    series.swap(copy);
#endif
}

/// Holds the read lock after making sure that no snapshot shares the storage of \a series, so that
/// its records may be written in place. Storage is replaced under the write lock only, because
/// readers copy it under the read lock. A snapshot taken afterwards, even under the read lock,
/// shares the records that are being written.
template <typename T>
class UnsharedReadLocker
{
public:
    UnsharedReadLocker(QVector<T>& series, QReadWriteLock& lock) : locker(&lock), values(series)
    {
        if (series.isEmpty() || series.isDetached())
            return;
        locker.unlock();
        {
            const QWriteLocker writeLocker(&lock);
            unshare(series);
        }
        locker.relock();
    }

    /// The stored records. Does not unshare them again, as QVector::data() would after a snapshot.
    T* records() const { return const_cast<T*>(values.constData()); }

private:
    QReadLocker locker;
    const QVector<T>& values;
};

template <typename N>
void addScaledValue(StatisticCalculator<N>& calculator, const QVariant& scaledValue)
{
    calculator.addValue(elementValue<N>(scaledValue));
}

template <typename N, typename T>
double medianOf(const StatisticCalculator<N>& calculator, const QVector<T>& values)
{
    QList<N> elements = listToFill<N>(values.size());
    auto value = values.constBegin();
    for (N& element : elements) // not more than were counted above
        element = readElement<N>((value++)->scaledValue);
    return calculator.getMedian(std::move(elements));
}

/// Waits until the worker has ended, if there is one, and destroys its thread object.
void finishAndDestroy(const QPointer<QThread>& thread)
{
    if (thread.isNull())
        return;
    thread->wait(QDeadlineTimer(QDeadlineTimer::Forever));
    delete thread.data();
}

} // namespace

// Intentional: the calculator is constructed with double and then replaced by one of int, although
// data type 0 selects double. The two agree after the first setDatatype().
template <typename T>
GenericSignalImpl<T>::GenericSignalImpl()
    : statisticCalculator(std::in_place_type<Calculator<double>>, std::optional<int>())
{
    statisticCalculator.template emplace<Calculator<int>>(std::optional<int>());
}

// Does not call setUpdatingEnabled(), which uses the calculator: it may be missing.
template <typename T>
GenericSignalImpl<T>::~GenericSignalImpl()
{
    updatingEnabled.store(false, std::memory_order_relaxed);
    finishAndDestroy(updateThread);
}

template <typename T>
void GenericSignalImpl<T>::setDatatype(CANopenDataType newDatatype)
{
    datatype.store(newDatatype, std::memory_order_relaxed);
    withElementType(newDatatype, [this](auto element) {
        using N = typename decltype(element)::type;
        statisticCalculator.template emplace<Calculator<N>>(std::optional<int>());
    });
}

template <typename T>
CANopenDataType GenericSignalImpl<T>::getDatatype() const
{
    return datatype.load(std::memory_order_relaxed);
}

template <typename T>
void GenericSignalImpl<T>::setValueHandling(NewValueHandlingType handling)
{
    valueHandling.store(handling, std::memory_order_relaxed);
    setUpdatingEnabled(handling == appendAll);
}

template <typename T>
NewValueHandlingType GenericSignalImpl<T>::getValueHandling() const
{
    return valueHandling.load(std::memory_order_relaxed);
}

template <typename T>
int GenericSignalImpl<T>::getValueCount() const
{
    const QReadLocker locker(&valuesLock);
    return static_cast<int>(values.size());
}

template <typename T>
QVector<T> GenericSignalImpl<T>::getValues() const
{
    const QReadLocker locker(&valuesLock);
    return values;
}

template <typename T>
bool GenericSignalImpl<T>::getValue(int index, T& value) const
{
    const QReadLocker locker(&valuesLock);
    if (index >= values.size())
        return false;
    value = values.at(index);
    return true;
}

template <typename T>
void GenericSignalImpl<T>::clearValues()
{
    const QWriteLocker locker(&valuesLock);
    values = QVector<T>(); // unlike clear() and squeeze(), copies nothing that a snapshot shares
    storedCount.store(0, std::memory_order_relaxed);
    std::visit([](auto& slot) { slot.calculator.clear(); }, statisticCalculator);
}

template <typename T>
bool GenericSignalImpl<T>::store(T&& record)
{
    {
        const QWriteLocker locker(&valuesLock);
        const NewValueHandlingType handling = getValueHandling();
        if (handling != replaceNewest && handling != appendAll)
            return false;
        if (handling == replaceNewest && !values.isEmpty()) {
            unshare(values);
            values.removeLast();
        }
        values.append(std::move(record));
        storedCount.store(static_cast<int>(values.size()), std::memory_order_relaxed);
    }
    averageChanged.store(true, std::memory_order_relaxed);
    deviationChanged.store(true, std::memory_order_relaxed);
    valuesChanged.store(true, std::memory_order_relaxed);
    return true;
}

template <typename T>
bool GenericSignalImpl<T>::setNewValue(T record)
{
    return store(std::move(record));
}

template <typename T>
bool GenericSignalImpl<T>::setNewValue(T record, double factor, double offset)
{
    if (!store(std::move(record)))
        return false;
    T& stored = UnsharedReadLocker<T>(values, valuesLock).records()[values.size() - 1];
    scaleAndAppendValue(stored, factor, offset); // intentional: not under the lock
    averageChanged.store(true, std::memory_order_relaxed);
    deviationChanged.store(true, std::memory_order_relaxed);
    valuesChanged.store(true, std::memory_order_relaxed);
    std::visit([&](auto& slot) { addScaledValue(slot.calculator, stored.scaledValue); },
               statisticCalculator);
    // Intentional: the results are not used, but a host's own calculator may rely on the calls.
    calcAverage();
    calcDeviation();
    return true;
}

template <typename T>
void GenericSignalImpl<T>::appendValues(const QVector<T>& batch, double factor, double offset)
{
    {
        const QWriteLocker locker(&valuesLock);
        values.append(batch);
        storedCount.store(static_cast<int>(values.size()), std::memory_order_relaxed);
    }
    updateScaledValues(factor, offset);
    averageChanged.store(true, std::memory_order_relaxed);
    deviationChanged.store(true, std::memory_order_relaxed);
}

// Intentional: scales under the read lock, so that other readers need not wait for a long series.
template <typename T>
void GenericSignalImpl<T>::updateScaledValues(double factor, double offset)
{
    const UnsharedReadLocker<T> locker(values, valuesLock);
    T* const records = locker.records();
    for (int i = 0; i < values.size(); ++i)
        scaleAndAppendValue(records[i], factor, offset);
}

template <typename T>
void GenericSignalImpl<T>::scaleAndAppendValue(T& record, double factor, double offset)
{
    const bool scaled = withElementType(getDatatype(), [&](auto element) {
        using N = typename decltype(element)::type;
        GenericValueHandler<N, T>::setTypeBasedScaledValue(record, factor, offset);
    });
    if (!scaled)
        record.scaledValue = record.rawValue;
}

template <typename T>
double GenericSignalImpl<T>::getAverage() const
{
    return average.load(std::memory_order_relaxed);
}

template <typename T>
double GenericSignalImpl<T>::getDeviation() const
{
    return deviation.load(std::memory_order_relaxed);
}

template <typename T>
double GenericSignalImpl<T>::getMax() const
{
    return std::visit([](auto& slot) { return static_cast<double>(slot.calculator.getMaximum()); },
                      statisticCalculator);
}

template <typename T>
double GenericSignalImpl<T>::getMin() const
{
    return std::visit([](auto& slot) { return static_cast<double>(slot.calculator.getMinimum()); },
                      statisticCalculator);
}

template <typename T>
double GenericSignalImpl<T>::calcAverage() const
{
    return std::visit([](auto& slot) { return slot.calculator.getAverage(); }, statisticCalculator);
}

template <typename T>
double GenericSignalImpl<T>::calcDeviation() const
{
    return std::visit([](auto& slot) { return slot.calculator.getDeviation(); },
                      statisticCalculator);
}

template <typename T>
double GenericSignalImpl<T>::calcMedian() const
{
    if (getValueHandling() != appendAll)
        return 0.0;
    // Intentional: no lock, so the header forbids concurrent changes of the series.
    return std::visit([this](auto& slot) { return medianOf(slot.calculator, values); },
                      statisticCalculator);
}

template <typename T>
void GenericSignalImpl<T>::updateAverageAndDeviation()
{
    averageChanged.store(true, std::memory_order_relaxed);
    calcAverage();
    deviationChanged.store(true, std::memory_order_relaxed);
    calcDeviation();
}

template <typename T>
void GenericSignalImpl<T>::updateCalculations()
{
    while (updatingEnabled.load(std::memory_order_relaxed)) {
        average.store(calcAverage(), std::memory_order_relaxed);
        deviation.store(calcDeviation(), std::memory_order_relaxed);
        QThread::msleep(refreshPeriodMs);
    }
}

template <typename T>
void GenericSignalImpl<T>::getValueStatistics(double& averageValue, QVariant& maxValue,
                                              QVariant& minValue, double& medianValue,
                                              double& deviationValue,
                                              unsigned int& valueCount) const
{
    valueCount = static_cast<unsigned int>(storedCount.load(std::memory_order_relaxed));
    averageValue = calcAverage();
    deviationValue = calcDeviation();
    maxValue = getMax();
    minValue = getMin();
    medianValue = calcMedian();
}

template <typename T>
int GenericSignalImpl<T>::getRating(double k, bool useGivenLimits, double lowerLimit,
                                    double upperLimit)
{
    if (storedCount.load(std::memory_order_relaxed) < 2)
        return 100;
    const double currentDeviation = getDeviation();
    const double currentAverage = getAverage();
    if (!useGivenLimits) {
        lowerLimit = currentAverage - currentDeviation * k;
        upperLimit = currentDeviation * k + currentAverage;
    }
    T newest;
    {
        const QReadLocker locker(&valuesLock);
        if (values.isEmpty()) // cleared since the records were counted
            return 100;
        newest = values.constLast();
    }
    int rating = 100;
    withElementType(getDatatype(), [&](auto element) {
        using N = typename decltype(element)::type;
        rating =
            GenericValueHandler<N, T>::getRating(newest, lowerLimit, upperLimit, currentAverage);
    });
    return rating;
}

template <typename T>
double GenericSignalImpl<T>::getLowerThreshold(double k)
{
    const double currentDeviation = getDeviation();
    const double currentAverage = getAverage();
    return currentAverage - currentDeviation * k;
}

template <typename T>
double GenericSignalImpl<T>::getUpperThreshold(double k)
{
    const double currentDeviation = getDeviation();
    const double currentAverage = getAverage();
    return currentDeviation * k + currentAverage;
}

template <typename T>
QVector<T> GenericSignalImpl<T>::getDeviators(double k)
{
    QVector<T> deviators;
    const double currentAverage = getAverage();
    const double currentDeviation = getDeviation();
    const double lower = currentAverage - currentDeviation * k;
    const double upper = currentAverage + currentDeviation * k;
    const QReadLocker locker(&valuesLock);
    for (const T& record : qAsConst(values)) {
        const auto value = elementValue<double>(record.rawValue); // like QVariant::toDouble()
        if (value > upper || lower > value)
            deviators.append(record);
    }
    return deviators;
}

template <typename T>
void GenericSignalImpl<T>::setUpdatingEnabled(bool enabled)
{
    // First, so that a running worker ends after its present pass.
    updatingEnabled.store(enabled, std::memory_order_relaxed);
    std::visit([enabled](auto& slot) { slot.calculator.setLogValues(enabled); },
               statisticCalculator);
    if (!enabled) {
        finishAndDestroy(updateThread);
    } else if (updateThread.isNull()) {
        updateThread = QThread::create([this] { updateCalculations(); });
        updateThread->start();
    }
}

template class VANTREL_TEMPLATE_DEFINITION GenericSignalImpl<CANopenObjectValue>;
template class VANTREL_TEMPLATE_DEFINITION GenericSignalImpl<J1939Value>;
