#include "MonitoredSignal.h"

#include "../decoding/RawBits.h"
#include "DatatypeChoice.h"

#include <algorithm>

namespace monitor
{

namespace
{

/// The raw value as a number of the smallest kind that QVariant has for it.
QVariant rawValueOf(quint64 bits, const SignalDescription& description)
{
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
int countOutside(const QVector<J1939Value>& values, double lower, double upper)
{
    const auto outside = [lower, upper](const J1939Value& value) {
        const double scaled = value.scaledValue.toDouble();
        return scaled < lower || scaled > upper;
    };
    return static_cast<int>(std::count_if(values.begin(), values.end(), outside));
}

} // namespace

MonitoredSignal::MonitoredSignal(const SignalDescription& signalDescription,
                                 const QString& reportedName, std::optional<quint8> sourceAddress)
    : description(signalDescription), name(reportedName), source(sourceAddress)
{
    recorded.setDatatype(datatypeOf(description));
    recorded.setValueHandling(GenericSignal::NewValueHandlingType::Append);
}

void MonitoredSignal::feed(const DecodedSignal& decoded)
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
    J1939Value value;
    value.rawValue = rawValueOf(decoded.bits, description);
    recorded.setNewValue(std::move(value), description.factor, description.offset);
}

// Not setValueHandling(), which would stop it too: the median needs the handling to stay.
void MonitoredSignal::stopUpdating()
{
    recorded.setUpdatingEnabled(false);
}

SignalReport MonitoredSignal::report(double k)
{
    SignalReport report;
    report.name = name;
    report.source = source;
    report.unit = description.unit;
    report.factor = description.factor;
    report.offset = description.offset;
    report.notAvailable = notAvailable;
    report.errors = errors;
    measure(report, k);
    return report;
}

// The average and deviation that getAverage(), getDeviation() and the thresholds offer are up to
// 100 ms old. Here all figures are computed afresh, and the band and the rating from them, so that
// they fit together.
void MonitoredSignal::measure(SignalReport& report, double k)
{
    const QVector<J1939Value> values = recorded.getValues();
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
    report.rating = recorded.getRating(k, true, report.lowerThreshold, report.upperThreshold);
    report.deviators = countOutside(values, report.lowerThreshold, report.upperThreshold);
}

} // namespace monitor
