#include "RunningStatistics.h"

#include "decoding/RawValue.h"
#include "text/numbers.h"

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

/// The number of scaled values outside the band. GenericSignalImpl::getDeviators() would compare
/// the raw values with a band of scaled values, which is correct only for factor 1 and offset 0,
/// and its band may be 100 ms old.
template <typename T>
int countOutside(const QVector<T>& values, double lower, double upper)
{
    const auto isOutside = [lower, upper](const T& value) {
        const double scaled = value.scaledValue.toDouble();
        return scaled < lower || scaled > upper;
    };
    return static_cast<int>(std::count_if(values.begin(), values.end(), isOutside));
}

template <typename T>
bool getNewest(const GenericSignalImpl<T>& series, T& value)
{
    return series.getValue(series.getValueCount() - 1, value);
}

template <typename T>
void setNewest(const T& newest, const CatalogueSignal& description, SignalStatistics& statistics)
{
    const QVariant& value = newest.scaledValue;
    if (!description.layout.passThrough) {
        statistics.newest = value.toDouble();
        return;
    }
    statistics.isPassedThrough = true;
    const bool isBytes = value.userType() == QMetaType::QByteArray;
    statistics.newestText =
        isBytes ? QString::fromLatin1(value.toByteArray().toHex(' ')) : value.toString();
    if (holdsNumber(description.layout) && std::fabs(value.toDouble()) <= exactIntegers)
        statistics.newestNumber = value.toDouble();
}

/// The user's limits apply to a single value too, for which GenericSignalImpl::getRating() always
/// returns 100.
template <typename T>
int rate(SignalRecording<T>& recording, T newest, double k, const SignalStatistics& statistics)
{
    if (!statistics.limits)
        return recording.kept().getRating(k, true, statistics.lowerThreshold,
                                          statistics.upperThreshold);
    return GenericValueHandler<double, T>::getRating(
        newest, statistics.limits->lowest, statistics.limits->highest, statistics.average);
}

template <typename T>
void setBand(SignalRecording<T>& recording, const T& newest, double k, SignalStatistics& statistics)
{
    statistics.lowerThreshold = statistics.average - statistics.deviation * k;
    statistics.upperThreshold = statistics.average + statistics.deviation * k;
    statistics.rating = rate(recording, newest, k, statistics);
}

} // namespace

// The results of getAverage(), getDeviation() and the thresholds are up to 100 ms old. Here all
// statistics are computed from the same values, and the band and the rating from them, so that they
// are consistent.
template <typename T>
void calcStatistics(SignalRecording<T>& recording, const CatalogueSignal& description, double k,
                    SignalStatistics& statistics)
{
    recording.dropOldest();
    const QVector<T> values = recording.kept().getValues();
    if (values.isEmpty())
        return;
    statistics.count = recording.count();
    setNewest(values.constLast(), description, statistics);
    if (description.layout.passThrough)
        return;
    QVariant maximum;
    QVariant minimum;
    unsigned int stored = 0;
    recording.all().getValueStatistics(statistics.average, maximum, minimum, statistics.median,
                                       statistics.deviation, stored);
    if (recording.isBounded())
        statistics.median = recording.kept().calcMedian();
    statistics.maximum = maximum.toDouble();
    statistics.minimum = minimum.toDouble();
    setBand(recording, values.constLast(), k, statistics);
    statistics.deviators =
        countOutside(values, statistics.lowerThreshold, statistics.upperThreshold);
}

// A bounded recording may already have dropped values that were not seen here. Then all the values
// that it should keep are new.
template <typename T>
void RunningStatistics::update(const SignalRecording<T>& recording)
{
    const qint64 count = recording.count();
    const qint64 dropped = count - recording.kept().getValueCount();
    const qint64 limit = recording.isBounded() ? recording.limit() : count;
    T value;
    for (qint64 i = std::max(taken, count - limit); i < count; ++i) {
        if (!recording.kept().getValue(static_cast<int>(i - dropped), value))
            break;
        values.add(value.scaledValue.toDouble());
        if (recording.isBounded())
            newest.push_back(value.scaledValue.toDouble());
    }
    taken = count;
    while (static_cast<qint64>(newest.size()) > limit) {
        values.remove(newest.front());
        newest.pop_front();
    }
}

// With a snapshot of the series, recording the next value would copy all stored values, and the
// median and the deviators would take longer with each value. That is too slow ten times a second
// for a series that grows for hours, so new values are read one by one and kept in order.
template <typename T>
void RunningStatistics::get(SignalRecording<T>& recording, const CatalogueSignal& description,
                            double k, SignalStatistics& statistics)
{
    T newestValue;
    if (recording.count() == 0 || !getNewest(recording.kept(), newestValue))
        return;
    statistics.count = recording.count();
    setNewest(newestValue, description, statistics);
    if (description.layout.passThrough)
        return;
    update(recording);
    const GenericSignalImpl<T>& all = recording.all();
    statistics.average = all.calcAverage();
    statistics.deviation = all.calcDeviation();
    statistics.maximum = all.getMax();
    statistics.minimum = all.getMin();
    statistics.median = values.median();
    setBand(recording, newestValue, k, statistics);
    statistics.deviators = static_cast<int>(values.below(statistics.lowerThreshold) +
                                            values.above(statistics.upperThreshold));
}

template void calcStatistics(SignalRecording<CANopenObjectValue>&, const CatalogueSignal&, double,
                             SignalStatistics&);
template void calcStatistics(SignalRecording<J1939Value>&, const CatalogueSignal&, double,
                             SignalStatistics&);
template void RunningStatistics::update(const SignalRecording<CANopenObjectValue>&);
template void RunningStatistics::update(const SignalRecording<J1939Value>&);
template void RunningStatistics::get(SignalRecording<CANopenObjectValue>&, const CatalogueSignal&,
                                     double, SignalStatistics&);
template void RunningStatistics::get(SignalRecording<J1939Value>&, const CatalogueSignal&, double,
                                     SignalStatistics&);

} // namespace monitor
