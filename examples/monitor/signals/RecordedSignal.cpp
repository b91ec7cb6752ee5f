#include "RecordedSignal.h"

#include "../decoding/RawBits.h"
#include "DatatypeChoice.h"

#include <vantrel/handlers/GenericValueHandler.h>

#include <algorithm>
#include <cmath>

using CAN::CANopenDataType;

namespace monitor
{

namespace
{

/// Whether the bits of a carried signal are a number. Times are taken for one; texts are not.
bool isNumber(const SignalDescription& description)
{
    const auto code = *description.datatype;
    return code != CANopenDataType::VISIBLE_STRING && code != CANopenDataType::OCTET_STRING &&
           code != CANopenDataType::UNICODE_STRING && code != CANopenDataType::DOMAIN;
}

/// The bytes of a text as they stand in the PDO; of a visible one up to its end.
QVariant textIn(quint64 bits, const SignalDescription& description)
{
    QByteArray bytes;
    for (int shift = 0; shift < description.length; shift += 8)
        bytes.append(static_cast<char>(bits >> shift & 0xFF));
    if (description.datatype != CANopenDataType::VISIBLE_STRING)
        return bytes;
    return QString::fromLatin1(bytes.constData());
}

QVariant floatValueOf(double number, int length)
{
    return length == 32 ? QVariant(static_cast<float>(number)) : QVariant(number);
}

/// The raw value as a number of the smallest kind that QVariant has for it.
QVariant rawValueOf(quint64 bits, const SignalDescription& description)
{
    if (description.isFloat)
        return floatValueOf(floatIn(bits, description.length), description.length);
    if (description.carried && !isNumber(description))
        return textIn(bits, description);
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
    : description(signalDescription), commonHeading(reportHeading)
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
    if (decoded.microseconds)
        valueRhythm.add(*decoded.microseconds);
    T value;
    value.rawValue = rawValueOf(decoded.bits, description);
    if (!description.carried)
        return static_cast<void>(
            recorded.setNewValue(std::move(value), description.factor, description.offset));
    // Not to the running statistics too, which would make numbers of anything.
    recorded.scaleAndAppendValue(value, description.factor, description.offset);
    recorded.setNewValue(std::move(value));
}

template <typename T>
void RecordedSignal<T>::clear()
{
    recorded.clearValues();
    valueCounts = ValueCounts();
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
    T value;
    while (!description.carried && recorded.getValue(static_cast<int>(valueCounts.count()), value))
        valueCounts.add(value.scaledValue.toDouble());
}

template <typename T>
SignalReport RecordedSignal<T>::poll(double k)
{
    SignalReport report = commonHeading;
    report.notAvailable = notAvailable;
    report.errors = errors;
    measureAgain(report, k);
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
    if (description.carried)
        return showNewest(report, values.constLast());
    QVariant maximum;
    QVariant minimum;
    unsigned int count = 0;
    recorded.getValueStatistics(report.average, maximum, minimum, report.median, report.deviation,
                                count);
    report.count = static_cast<int>(count);
    report.maximum = maximum.toDouble();
    report.minimum = minimum.toDouble();
    report.newest = values.constLast().scaledValue.toDouble();
    setBand(report, k);
    report.deviators = countOutside(values, report.lowerThreshold, report.upperThreshold);
}

// A snapshot would make the next value copy all that are stored, and the median and the deviators
// would take longer with each value: ten times a second that is no good for a series that grows
// for hours. So new values are taken one by one, and kept in order.
template <typename T>
void RecordedSignal<T>::measureAgain(SignalReport& report, double k)
{
    T newest;
    report.count = recorded.getValueCount();
    if (report.count == 0 || !recorded.getValue(report.count - 1, newest))
        return;
    if (description.carried)
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
    report.count = recorded.getValueCount();
    const bool isBytes = newest.scaledValue.userType() == QMetaType::QByteArray;
    report.newestText = isBytes ? QString::fromLatin1(newest.scaledValue.toByteArray().toHex(' '))
                                : newest.scaledValue.toString();
    const double number = newest.scaledValue.toDouble();
    if (isNumber(description) && std::fabs(number) <= exactNumbers)
        report.newestNumber = number;
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
