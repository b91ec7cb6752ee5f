#include "MonitoredSignal.h"

#include "decoding/RawValue.h"

namespace monitor
{

namespace
{

/// The value texts of \a signal by its values.
QMap<double, QString> textsByValue(const SignalDescription& signal)
{
    QMap<double, QString> texts;
    for (auto text = signal.valueTexts.begin(); text != signal.valueTexts.end(); ++text) {
        const double raw = signal.layout.isFloat ? floatIn(text.key(), signal.layout.length)
                           : signal.layout.isSigned
                               ? static_cast<double>(signExtended(text.key(), signal.layout.length))
                               : static_cast<double>(text.key());
        texts.insert(raw * signal.scaling.factor + signal.scaling.offset, text.value());
    }
    return texts;
}

} // namespace

MonitoredSignal::Recording MonitoredSignal::makeRecording(Protocol protocol,
                                                          const CatalogueSignal& description)
{
    if (protocol == Protocol::J1939)
        return Recording(std::in_place_type<SignalRecording<J1939Value>>, description);
    return Recording(std::in_place_type<SignalRecording<CANopenObjectValue>>, description);
}

MonitoredSignal::MonitoredSignal(const MessageHeader& message,
                                 const CatalogueSignal& signalDescription,
                                 std::optional<quint8> source)
    : signal(signalDescription),
      header(message),
      recording(makeRecording(message.protocol, signalDescription))
{
    empty.name = signal.reportedName;
    empty.protocol = message.protocol;
    empty.source = source;
    empty.unit = signal.scaling.unit;
    empty.factor = signal.scaling.factor;
    empty.offset = signal.scaling.offset;
    empty.isFloat = signal.layout.isFloat;
    empty.limits = signal.rules.limits;
    empty.valueTexts = textsByValue(signal);
}

void MonitoredSignal::record(const DecodedSignal& decoded)
{
    newestStatistics.reset();
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
    const std::optional<qint64> microseconds = microsecondsOf(decoded);
    if (microseconds)
        valueRhythm.add(*microseconds);
    newestBits = decoded.bits;
    const qint64 time = microseconds.value_or(SignalSeries::noTime);
    std::visit(
        [&](auto& values) {
            typename std::decay_t<decltype(values)>::Record value;
            value.rawValue = rawValueOf(decoded.bits, signal.layout);
            values.record(std::move(value), time);
        },
        recording);
}

void MonitoredSignal::setBus(const QString& name)
{
    empty.bus = name;
    newestStatistics.reset();
}

RecordedValue MonitoredSignal::newestValue(const DecodedSignal& decoded, const QString& bus) const
{
    RecordedValue newest{empty, bus, decoded.availability, decoded.nanoseconds, {}, {}, {}};
    newest.raw = rawValueOf(decoded.bits, signal.layout);
    newest.text = signal.valueTexts.value(decoded.bits);
    if (decoded.availability != Availability::Measured)
        return newest;
    std::visit(
        [&newest](const auto& values) {
            typename std::decay_t<decltype(values)>::Record value;
            if (values.kept().getValue(values.kept().getValueCount() - 1, value))
                newest.scaled = value.scaledValue;
        },
        recording);
    return newest;
}

void MonitoredSignal::clear()
{
    std::visit([](auto& values) { values.clear(); }, recording);
    running.clear();
    newestStatistics.reset();
    newestBits.reset();
    notAvailable = 0;
    errors = 0;
}

void MonitoredSignal::stopUpdating()
{
    std::visit([](auto& values) { values.stopUpdating(); }, recording);
}

SignalStatistics MonitoredSignal::calcStatistics(double k)
{
    SignalStatistics statistics = identityAndCounts();
    std::visit([&](auto& values) { monitor::calcStatistics(values, signal, k, statistics); },
               recording);
    return statistics;
}

std::shared_ptr<const SignalStatistics> MonitoredSignal::getRunningStatistics(double k)
{
    if (newestStatistics)
        return newestStatistics;
    auto statistics = std::make_shared<SignalStatistics>(identityAndCounts());
    std::visit([&](auto& values) { running.get(values, signal, k, *statistics); }, recording);
    newestStatistics = statistics;
    return newestStatistics;
}

/// The statistics that need no computation.
SignalStatistics MonitoredSignal::identityAndCounts() const
{
    SignalStatistics statistics = empty;
    statistics.notAvailable = notAvailable;
    statistics.errors = errors;
    if (newestBits)
        statistics.newestMeaning = signal.valueTexts.value(*newestBits);
    return statistics;
}

SignalSeries MonitoredSignal::getSeries()
{
    std::visit([](auto& values) { values.dropOldest(); }, recording);
    SignalSeries series;
    appendNewValues(series);
    return series;
}

// The values are read one by one, because a snapshot would make recording the next value copy all
// of them.
void MonitoredSignal::appendNewValues(SignalSeries& series)
{
    if (signal.layout.passThrough)
        return;
    std::visit(
        [&](auto& values) {
            if (values.isBounded()) {
                values.dropOldest();
                series = SignalSeries();
            }
            typename std::decay_t<decltype(values)>::Record value;
            while (values.kept().getValue(static_cast<int>(series.values.size()), value)) {
                series.microseconds.append(values.times().at(series.values.size()));
                series.values.append(value.scaledValue.toDouble());
            }
        },
        recording);
}

SignalRecords MonitoredSignal::getRecords()
{
    return std::visit(
        [&](auto& values) {
            values.dropOldest();
            return SignalRecords{values.kept().getValues(), values.times(), notAvailable, errors};
        },
        recording);
}

void MonitoredSignal::restore(const SignalRecords& saved)
{
    std::visit(
        [&](auto& values) {
            using Records = QVector<typename std::decay_t<decltype(values)>::Record>;
            const auto& records = std::get<Records>(saved.values);
            for (int i = 0; i < records.size(); ++i)
                values.record(records.at(i), saved.microseconds.at(i));
            if (!records.isEmpty())
                newestBits = bitsOf(records.last().rawValue, signal.layout);
        },
        recording);
    newestStatistics.reset();
    notAvailable = saved.notAvailable;
    errors = saved.errors;
}

} // namespace monitor
