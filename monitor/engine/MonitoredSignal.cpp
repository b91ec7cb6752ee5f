#include "MonitoredSignal.h"

#include "RecordedValue.h"
#include "decoding/RawValue.h"

#include <algorithm>

namespace monitor
{

QVariant RecordedValue::raw() const
{
    return rawValueOf(bits, signal.description().layout);
}

QVariant RecordedValue::scaled() const
{
    return availability == Availability::Measured ? signal.values().scaledElement(bits)
                                                  : QVariant();
}

QString RecordedValue::text() const
{
    return signal.description().valueTexts.value(bits);
}

MonitoredSignal::MonitoredSignal(const MessageHeader& message,
                                 const CatalogueSignal& signalDescription,
                                 std::optional<quint8> source, const Keeping& keeping)
    : signal(signalDescription), header(message), limit(signalDescription.rules.keptRecords)
{
    recorded = SignalValues::make(signal, keeping.spill);
    if (keeping.outline && limit == 0 && !signal.layout.passThrough)
        keptOutline.emplace(*keeping.outline);
    if (limit > 0 || keptOutline)
        recorded->setKeeper(this);
    empty.name = signal.reportedName;
    empty.protocol = message.protocol;
    empty.source = source;
    empty.unit = signal.scaling.unit;
    empty.factor = signal.scaling.factor;
    empty.offset = signal.scaling.offset;
    empty.isFloat = signal.layout.isFloat;
    empty.limits = signal.rules.limits;
    scaleTexts();
}

void MonitoredSignal::scaleTexts()
{
    for (auto text = signal.valueTexts.begin(); text != signal.valueTexts.end(); ++text)
        empty.valueTexts.insert(recorded->scaled(text.key()), text.value());
}

// If only the newest values are kept, the oldest are removed when there are twice as many, so on
// average each value is moved once. Median and deviators leave them out at once.
void MonitoredSignal::keep(quint64 bits, qint64 microseconds)
{
    if (keptOutline) {
        const bool isKnown = microseconds != SignalSeries::noTime;
        keptOutline->add(isKnown ? std::optional<qint64>(microseconds) : std::nullopt,
                         recorded->scaled(bits));
    }
    if (limit == 0)
        return;
    keptBits.append(bits);
    keptTimes.append(microseconds);
    if (surplus() == 0)
        return;
    recorded->drop(keptBits.at(surplus() - 1));
    if (surplus() < limit)
        return;
    keptTimes.remove(0, surplus());
    keptBits.remove(0, surplus());
}

/// The number of the oldest kept values that exceed the limit.
int MonitoredSignal::surplus() const
{
    return limit == 0 ? 0 : std::max(static_cast<int>(keptBits.size()) - limit, 0);
}

void MonitoredSignal::setBus(const QString& name)
{
    empty.bus = name;
    newestStatistics.reset();
}

void MonitoredSignal::addTexts(const QString& comment, const QHash<quint64, QString>& texts)
{
    const auto isBetter = [](const QString& text, const QString& known) {
        return known.isEmpty() || (!text.isEmpty() && text < known);
    };
    if (isBetter(comment, signal.comment))
        signal.comment = comment;
    if (texts == signal.valueTexts)
        return;
    for (auto text = texts.begin(); text != texts.end(); ++text) {
        QString& known = signal.valueTexts[text.key()];
        if (isBetter(text.value(), known))
            known = text.value();
    }
    scaleTexts();
    newestStatistics.reset();
}

void MonitoredSignal::clear()
{
    recorded->clear();
    if (keptOutline)
        keptOutline->clear();
    keptBits.clear();
    keptTimes.clear();
}

std::shared_ptr<const SignalStatistics> MonitoredSignal::getStatistics(double k, Moments moments)
{
    const bool areExactEnough = newestMoments == Moments::Exact || moments == Moments::Running;
    if (!recorded->takeChange() && newestStatistics && areExactEnough)
        return newestStatistics;
    auto statistics = std::make_shared<SignalStatistics>(empty);
    statistics->count = recorded->count();
    statistics->notAvailable = recorded->notAvailableCount();
    statistics->errors = recorded->errorCount();
    if (statistics->count > 0) {
        statistics->isNewestKnown = recorded->isNewestKnown();
        if (statistics->isNewestKnown)
            statistics->newestMeaning = signal.valueTexts.value(recorded->newestBits());
        recorded->getStatistics(k, moments, *statistics);
    }
    newestStatistics = statistics;
    newestMoments = moments;
    return newestStatistics;
}

SignalSeries MonitoredSignal::getSeries() const
{
    SignalSeries series;
    appendNewValues(series);
    return series;
}

void MonitoredSignal::appendNewValues(SignalSeries& series) const
{
    if (signal.layout.passThrough)
        return;
    if (limit > 0)
        series = SignalSeries();
    for (int i = static_cast<int>(series.values.size()) + surplus(); i < keptBits.size(); ++i) {
        series.microseconds.append(keptTimes.at(i));
        series.values.append(recorded->scaled(keptBits.at(i)));
    }
}

SignalRecords MonitoredSignal::getRecords() const
{
    return {keptBits.mid(surplus()), keptTimes.mid(surplus()), recorded->notAvailableCount(),
            recorded->errorCount()};
}

} // namespace monitor
