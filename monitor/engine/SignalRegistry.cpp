#include "SignalRegistry.h"

#include "sources/BusNames.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace monitor
{

namespace
{

quint64 keyOf(int message, quint16 bus, std::optional<quint8> source)
{
    constexpr quint64 sources = 257; // 256 source addresses, and no source
    constexpr quint64 buses = BusNames::maxNames;
    const quint64 number = source ? *source : sources - 1;
    return (static_cast<quint64>(message) * sources + number) * buses + bus;
}

} // namespace

MessageSignals& SignalRegistry::signalsOf(int message, quint16 bus, std::optional<quint8> source)
{
    const quint64 key = keyOf(message, bus, source);
    const auto known = messages.find(key);
    if (known != messages.end())
        return *known->second;
    MessageSignals& added = addMessage(
        message, bus, source, static_cast<int>(descriptions.at(message).catalogueSignals.size()));
    messages.emplace(key, &added);
    return added;
}

void SignalRegistry::record(MessageSignals& found, int signal, quint64 bits,
                            Availability availability, std::optional<qint64> nanoseconds)
{
    const qint64 microseconds =
        nanoseconds ? *nanoseconds / nanosecondsPerMicrosecond : SignalSeries::noTime;
    SignalValues* const known = found.values[static_cast<size_t>(signal)];
    SignalValues& values = known != nullptr ? *known : addSignal(found, signal).values();
    values.record(bits, availability, microseconds);
    if (valueSinks.empty())
        return;
    const QString bus = busNames.value(found.bus);
    const RecordedValue value{*found.bySignal[static_cast<size_t>(signal)],
                              found.firstNumber + signal,
                              bus,
                              bits,
                              availability,
                              nanoseconds};
    for (ValueSink* const sink : valueSinks)
        sink->take(value);
}

void SignalRegistry::setBuses(const QStringList& names, bool areShown)
{
    busNames = names;
    showsBuses = areShown;
    if (!showsBuses)
        return;
    for (const auto& message : owned) {
        for (const auto& signal : message->bySignal) {
            if (signal)
                signal->setBus(busNames.value(message->bus));
        }
    }
    order.clear();
}

MessageSignals& SignalRegistry::add(std::unique_ptr<MonitoredSignal> signal, quint16 bus)
{
    MessageSignals& added = addMessage(-1, bus, signal->identity().source, 1);
    added.values.front() = &signal->values();
    if (showsBuses)
        signal->setBus(busNames.value(bus));
    added.bySignal.front() = std::move(signal);
    ++seen;
    return added;
}

MonitoredSignal& SignalRegistry::at(int signal) const
{
    const Place& place = places.at(static_cast<size_t>(signal));
    return *place.found->bySignal.at(static_cast<size_t>(place.signal));
}

void SignalRegistry::clear()
{
    for (const int signal : sorted())
        at(signal).clear();
    begin.reset();
    for (ValueSink* const sink : valueSinks)
        sink->clear();
}

const QVector<int>& SignalRegistry::sorted()
{
    if (order.size() == seen)
        return order;
    order.clear();
    order.reserve(seen);
    for (size_t i = 0; i < places.size(); ++i) {
        if (places[i].found->bySignal[static_cast<size_t>(places[i].signal)])
            order.append(static_cast<int>(i));
    }
    std::stable_sort(order.begin(), order.end(), [this](int left, int right) {
        const SignalStatistics& first = at(left).identity();
        const SignalStatistics& second = at(right).identity();
        return std::tie(first.name, first.bus, first.source) <
               std::tie(second.name, second.bus, second.source);
    });
    return order;
}

MonitoredSignal& SignalRegistry::addSignal(MessageSignals& found, int signal)
{
    const CatalogueMessage& message = descriptions.at(found.message);
    auto& added = found.bySignal[static_cast<size_t>(signal)];
    added = std::make_unique<MonitoredSignal>(message, message.catalogueSignals.at(signal),
                                              found.source, kept);
    found.values[static_cast<size_t>(signal)] = &added->values();
    if (showsBuses)
        added->setBus(busNames.value(found.bus));
    ++seen;
    return *added;
}

MessageSignals& SignalRegistry::addMessage(int message, quint16 bus, std::optional<quint8> source,
                                           int size)
{
    owned.push_back(std::make_unique<MessageSignals>());
    MessageSignals& added = *owned.back();
    added.message = message;
    added.bus = bus;
    added.source = source;
    added.number = owned.size() - 1;
    added.firstNumber = static_cast<int>(places.size());
    added.bySignal.resize(static_cast<size_t>(size));
    added.values.resize(added.bySignal.size());
    for (int i = 0; i < size; ++i)
        places.push_back({&added, i});
    return added;
}

} // namespace monitor
