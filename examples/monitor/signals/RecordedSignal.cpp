#include "RecordedSignal.h"

#include "../decoding/RawBits.h"
#include "DatatypeChoice.h"

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>

namespace monitor
{

namespace
{

/// The raw value as a number of the smallest kind that QVariant has for it.
QVariant rawValueOf(quint64 bits, const SignalDescription& description)
{
    if (description.isFloat)
        return floatIn(bits, description.length);
    const bool isShort = description.length <= 32;
    if (!description.isSigned)
        return isShort ? QVariant(static_cast<uint>(bits)) : QVariant(bits);
    const qint64 number = signExtended(bits, description.length);
    return isShort ? QVariant(static_cast<int>(number)) : QVariant(number);
}

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
RecordedSignal<T>::RecordedSignal(const SignalDescription& signalDescription,
                                  const SignalReport& reportHeading)
    : description(signalDescription), heading(reportHeading)
{
    recorded.setDatatype(datatypeOf(description));
    recorded.setValueHandling(GenericSignal::NewValueHandlingType::Append);
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
    T value;
    value.rawValue = rawValueOf(decoded.bits, description);
    recorded.setNewValue(std::move(value), description.factor, description.offset);
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
    SignalReport report = heading;
    report.notAvailable = notAvailable;
    report.errors = errors;
    measure(report, k);
    return report;
}

// The average and deviation that getAverage(), getDeviation() and the thresholds offer are up to
// 100 ms old. Here all figures are computed afresh, and the band and the rating from them, so that
// they fit together.
template <typename T>
void RecordedSignal<T>::measure(SignalReport& report, double k)
{
    const QVector<T> values = recorded.getValues();
    if (values.isEmpty())
        return;
    QVariant maximum;
    QVariant minimum;
    unsigned int count = 0;
    recorded.getValueStatistics(report.average, maximum, minimum, report.median, report.deviation,
                                count);
    report.count = static_cast<int>(count);
    report.maximum = maximum.toDouble();
    report.minimum = minimum.toDouble();
    report.newest = values.constLast().scaledValue.toDouble();
    report.lowerThreshold = report.average - report.deviation * k;
    report.upperThreshold = report.average + report.deviation * k;
    report.rating = rate(report, k);
    report.deviators = countOutside(values, report.lowerThreshold, report.upperThreshold);
}

// Given limits hold for a single value too, for which GenericSignalImpl::getRating() always says
// 100, since one value makes no band.
template <typename T>
int RecordedSignal<T>::rate(const SignalReport& report, double k)
{
    T newest;
    if (!report.limits || !recorded.getValue(report.count - 1, newest))
        return recorded.getRating(k, true, report.lowerThreshold, report.upperThreshold);
    return GenericValueHandler<double, T>::getRating(newest, report.limits->lowest,
                                                     report.limits->highest, report.average);
}

template class RecordedSignal<CANopenObjectValue>;
template class RecordedSignal<J1939Value>;

} // namespace monitor
