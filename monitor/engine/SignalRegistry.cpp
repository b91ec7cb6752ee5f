#include "SignalRegistry.h"

#include "sources/BusNames.h"

#include <algorithm>
#include <atomic>
#include <numeric>
#include <system_error>
#include <thread>
#include <tuple>

namespace monitor
{

namespace
{

quint64 keyOf(const DecodedSignal& decoded)
{
    constexpr quint64 sources = 257; // 256 source addresses, and no source
    constexpr quint64 buses = BusNames::maxNames;
    constexpr quint64 signalsOfMessage = 1U << 20U; // more than a message has signals
    const auto message = static_cast<quint64>(decoded.message);
    const auto signal = static_cast<quint64>(decoded.signal);
    const quint64 source = decoded.source ? *decoded.source : sources - 1;
    return ((message * signalsOfMessage + signal) * sources + source) * buses + decoded.bus;
}

} // namespace

void SignalRegistry::record(const DecodedSignal& decoded)
{
    if (!begin)
        begin = microsecondsOf(decoded);
    MonitoredSignal& signal = signalOf(decoded);
    signal.record(decoded);
    if (valueSink != nullptr)
        valueSink->take(signal.newestValue(decoded, busNames.value(decoded.bus)));
}

void SignalRegistry::setBuses(const QStringList& names, bool areShown)
{
    busNames = names;
    showsBuses = areShown;
    if (!showsBuses)
        return;
    for (size_t i = 0; i < busOf.size(); ++i)
        monitored[i]->setBus(busNames.value(busOf[i]));
    order.clear();
}

// Stopping a signal can take up to 100 ms of waiting, so signals are stopped in parallel by as many
// threads as the system starts, up to a limit. QThreadPool would wait forever for threads that
// cannot be started.
void SignalRegistry::stopUpdating()
{
    constexpr std::size_t maxHelpers = 256;
    std::atomic<std::size_t> next{0};
    const auto stopOthers = [&] {
        for (std::size_t i = next++; i < monitored.size(); i = next++)
            monitored[i]->stopUpdating();
    };
    std::vector<std::thread> helpers;
    helpers.reserve(maxHelpers);
    try {
        while (helpers.size() < std::min(monitored.size(), maxHelpers))
            helpers.emplace_back(stopOthers);
    } catch (const std::system_error&) { // the threads that could be started do the work
    }
    stopOthers();
    for (std::thread& helper : helpers)
        helper.join();
}

void SignalRegistry::clear()
{
    for (const auto& signal : monitored)
        signal->clear();
    begin.reset();
}

const QVector<int>& SignalRegistry::sorted()
{
    const int size = static_cast<int>(monitored.size());
    if (order.size() == size)
        return order;
    order.resize(size);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [this](int left, int right) {
        const SignalStatistics& first = at(left).identity();
        const SignalStatistics& second = at(right).identity();
        return std::tie(first.name, first.bus, first.source) <
               std::tie(second.name, second.bus, second.source);
    });
    return order;
}

MonitoredSignal& SignalRegistry::signalOf(const DecodedSignal& decoded)
{
    const quint64 key = keyOf(decoded);
    const auto known = positions.constFind(key);
    if (known != positions.cend())
        return *monitored.at(known.value());
    const CatalogueMessage& message = descriptions.at(decoded.message);
    positions.insert(key, monitored.size());
    monitored.push_back(std::make_unique<MonitoredSignal>(
        message, message.catalogueSignals.at(decoded.signal), decoded.source));
    busOf.push_back(decoded.bus);
    if (showsBuses)
        monitored.back()->setBus(busNames.value(decoded.bus));
    return *monitored.back();
}

} // namespace monitor
