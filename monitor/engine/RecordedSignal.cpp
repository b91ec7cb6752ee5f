#include "RecordedSignal.h"

#include "DatatypeChoice.h"
#include "decoding/RawValue.h"

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>
#include <cmath>

namespace monitor
{

namespace
{

/// How many scaled values lie outside the band. GenericSignalImpl::getDeviators() compares raw
/// values with the band, although the band is one of scaled values, so it is right only for
/// factor 1 and offset 0; and the band it uses may be 100 ms old. A host gets it right for every
/// signal by comparing what the band is made of: the scaled values of a snapshot.
template <typename T>
int countOutside(const QVector<T>& values, double lower, double upper)
{
    const auto outside = [lower, upper](const T& value) {
        const double scaled = value.scaledValue.toDouble();
        return scaled < lower || scaled > upper;
    };
    return static_cast<int>(std::count_if(values.begin(), values.end(), outside));
}

} // namespace

template <typename T>
RecordedSignal<T>::RecordedSignal(const CatalogueSignal& signalDescription,
                                  const SignalReport& reportHeading)
    : description(signalDescription), commonHeading(reportHeading)
{
    recorded.setDatatype(datatypeOf(description));
    recorded.setValueHandling(GenericSignal::NewValueHandlingType::Append);
    if (description.rules.keptRecords == 0 || description.layout.passThrough)
        return;
    running =
        std::make_unique<GenericSignalImpl<T>>(); // replaces its newest record, without worker
    running->setDatatype(recorded.getDatatype());
}

template <typename T>
void RecordedSignal<T>::feed(const DecodedSignal& decoded)
{
    switch (decoded.availability) {
    case Availability::NotAvailable:
        ++notAvailable;
        return;
    case Availability::Error:
        ++errors;
        return;
    case Availability::Measured:
        break;
    }
    if (decoded.microseconds)
        valueRhythm.add(*decoded.microseconds);
    T value;
    value.rawValue = rawValueOf(decoded.bits, description.layout);
    record(std::move(value), decoded.microseconds.value_or(SignalSeries::noTime));
}

// With a bounded series the values go two ways: to a signal that replaces its only record and goes
// on with its running statistics, and to the series, which those do not hang on then.
template <typename T>
void RecordedSignal<T>::record(T value, qint64 microseconds)
{
    ++count;
    times.append(microseconds);
    if (running)
        running->setNewValue(value, description.scaling.factor, description.scaling.offset);
    if (!description.layout.passThrough && !running)
        return static_cast<void>(recorded.setNewValue(std::move(value), description.scaling.factor,
                                                      description.scaling.offset));
    // Not to the running statistics too, which would make numbers of anything.
    recorded.scaleAndAppendValue(value, description.scaling.factor, description.scaling.offset);
    recorded.setNewValue(std::move(value));
    if (description.rules.keptRecords > 0 && times.size() / 2 >= description.rules.keptRecords)
        dropOldest();
}

// A series cannot drop its oldest records, so the newest are appended anew to an empty one. That is
// done when there are twice as many as are kept, and takes the time of one more copy of each value.
template <typename T>
void RecordedSignal<T>::dropOldest()
{
    const int surplus = times.size() - description.rules.keptRecords;
    if (description.rules.keptRecords == 0 || surplus <= 0)
        return;
    const QVector<T> newest = recorded.getValues().mid(surplus);
    recorded.clearValues();
    recorded.appendValues(newest, description.scaling.factor, description.scaling.offset);
    times.remove(0, surplus);
}

template <typename T>
void RecordedSignal<T>::clear()
{
    recorded.clearValues();
    if (running)
        running->clearValues();
    valueCounts = ValueCounts();
    times.clear();
    count = 0;
    notAvailable = 0;
    errors = 0;
}

// Not setValueHandling(), which would stop it too: the median needs the handling to stay.
template <typename T>
void RecordedSignal<T>::stopUpdating()
{
    recorded.setUpdatingEnabled(false);
}

template <typename T>
SignalReport RecordedSignal<T>::report(double k)
{
    SignalReport report = commonHeading;
    report.notAvailable = notAvailable;
    report.errors = errors;
    measure(report, k);
    return report;
}

template <typename T>
void RecordedSignal<T>::follow()
{
    if (description.layout.passThrough || running)
        return;
    T value;
    while (recorded.getValue(static_cast<int>(valueCounts.count()), value))
        valueCounts.add(value.scaledValue.toDouble());
}

template <typename T>
SignalReport RecordedSignal<T>::poll(double k)
{
    SignalReport report = commonHeading;
    report.notAvailable = notAvailable;
    report.errors = errors;
    if (running)
        measure(report, k);
    else
        measureAgain(report, k);
    return report;
}

template <typename T>
SignalSeries RecordedSignal<T>::series()
{
    dropOldest();
    SignalSeries series;
    if (description.layout.passThrough)
        return series;
    const QVector<T> values = recorded.getValues();
    series.values.reserve(values.size());
    for (const T& value : values)
        series.values.append(value.scaledValue.toDouble());
    series.microseconds = times;
    return series;
}

// One by one, since a snapshot would make the next value copy all that are stored.
template <typename T>
void RecordedSignal<T>::extend(SignalSeries& series)
{
    if (running)
        series = this->series();
    T value;
    while (!description.layout.passThrough && recorded.getValue(series.values.size(), value)) {
        series.microseconds.append(times.at(series.values.size()));
        series.values.append(value.scaledValue.toDouble());
    }
}

template <typename T>
SignalRecords RecordedSignal<T>::records()
{
    dropOldest();
    return {recorded.getValues(), times, notAvailable, errors};
}

// Values are scaled and fed again, which makes the same figures of the same raw values.
template <typename T>
void RecordedSignal<T>::restore(const SignalRecords& saved)
{
    const auto& values = std::get<QVector<T>>(saved.values);
    for (int i = 0; i < values.size(); ++i)
        record(values.at(i), saved.microseconds.at(i));
    notAvailable = saved.notAvailable;
    errors = saved.errors;
}

// The average and deviation that getAverage(), getDeviation() and the thresholds offer are up to
// 100 ms old. Here all figures are computed afresh, and the band and the rating from them, so that
// they fit together.
template <typename T>
void RecordedSignal<T>::measure(SignalReport& report, double k)
{
    dropOldest();
    const QVector<T> values = recorded.getValues();
    if (values.isEmpty())
        return;
    report.count = count;
    if (description.layout.passThrough)
        return showNewest(report, values.constLast());
    QVariant maximum;
    QVariant minimum;
    unsigned int stored = 0;
    fed().getValueStatistics(report.average, maximum, minimum, report.median, report.deviation,
                             stored);
    if (running)
        report.median = recorded.calcMedian();
    report.maximum = maximum.toDouble();
    report.minimum = minimum.toDouble();
    report.newest = values.constLast().scaledValue.toDouble();
    setBand(report, k);
    report.deviators = countOutside(values, report.lowerThreshold, report.upperThreshold);
}

// A snapshot would make the next value copy all that are stored, and the median and the deviators
// would take longer with each value: ten times a second that is no good for a series that grows
// for hours. So new values are taken one by one, and kept in order. A bounded series is short
// enough to be measured as a whole.
template <typename T>
void RecordedSignal<T>::measureAgain(SignalReport& report, double k)
{
    T newest;
    if (count == 0 || !recorded.getValue(recorded.getValueCount() - 1, newest))
        return;
    report.count = count;
    if (description.layout.passThrough)
        return showNewest(report, newest);
    follow();
    report.average = recorded.calcAverage();
    report.deviation = recorded.calcDeviation();
    report.maximum = recorded.getMax();
    report.minimum = recorded.getMin();
    report.median = valueCounts.median();
    report.newest = newest.scaledValue.toDouble();
    setBand(report, k);
    report.deviators = static_cast<int>(valueCounts.below(report.lowerThreshold) +
                                        valueCounts.above(report.upperThreshold));
}

template <typename T>
void RecordedSignal<T>::setBand(SignalReport& report, double k)
{
    report.lowerThreshold = report.average - report.deviation * k;
    report.upperThreshold = report.average + report.deviation * k;
    report.rating = rate(report, k);
}

template <typename T>
void RecordedSignal<T>::showNewest(SignalReport& report, const T& newest)
{
    constexpr double exactNumbers = 9007199254740992.0; // 2^53
    report.carried = true;
    const bool isBytes = newest.scaledValue.userType() == QMetaType::QByteArray;
    report.newestText = isBytes ? QString::fromLatin1(newest.scaledValue.toByteArray().toHex(' '))
                                : newest.scaledValue.toString();
    const double number = newest.scaledValue.toDouble();
    if (holdsNumber(description.layout) && std::fabs(number) <= exactNumbers)
        report.newestNumber = number;
}

// Given limits hold for a single value too, for which GenericSignalImpl::getRating() always says
// 100, since one value makes no band.
template <typename T>
int RecordedSignal<T>::rate(const SignalReport& report, double k)
{
    T newest;
    if (!report.limits || !recorded.getValue(recorded.getValueCount() - 1, newest))
        return recorded.getRating(k, true, report.lowerThreshold, report.upperThreshold);
    return GenericValueHandler<double, T>::getRating(newest, report.limits->lowest,
                                                     report.limits->highest, report.average);
}

template class RecordedSignal<CANopenObjectValue>;
template class RecordedSignal<J1939Value>;

} // namespace monitor
