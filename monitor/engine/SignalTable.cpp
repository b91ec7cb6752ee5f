#include "SignalTable.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <tuple>

namespace monitor
{

namespace
{

constexpr quint64 sources = 257; // 256 source addresses and none

quint64 keyOf(const DecodedSignal& decoded)
{
    constexpr quint64 signalsOfMessage = 1U << 20U; // more than any message has bits
    const auto message = static_cast<quint64>(decoded.message);
    const auto signal = static_cast<quint64>(decoded.signal);
    const quint64 source = decoded.source ? *decoded.source : sources - 1;
    return (message * signalsOfMessage + signal) * sources + source;
}

bool isBefore(const MonitoredSignal* left, const MonitoredSignal* right)
{
    const SignalReport& first = left->heading();
    const SignalReport& second = right->heading();
    return std::tie(first.name, first.source) < std::tie(second.name, second.source);
}

} // namespace

void SignalTable::feed(const DecodedSignal& decoded)
{
    if (!begin)
        begin = decoded.microseconds;
    signalOf(decoded).feed(decoded);
}

// Each signal may need up to 100 ms to stop, mostly waiting, so they are stopped side by side by as
// many threads as there may be. QThreadPool would wait for ever for those that cannot be started.
void SignalTable::stopUpdating()
{
    constexpr std::size_t helpersAtMost = 256;
    std::atomic<std::size_t> next{0};
    const auto stopOthers = [&] {
        for (std::size_t i = next++; i < monitored.size(); i = next++)
            monitored[i]->stopUpdating();
    };
    std::vector<std::thread> helpers;
    helpers.reserve(helpersAtMost);
    try {
        while (helpers.size() < std::min(monitored.size(), helpersAtMost))
            helpers.emplace_back(stopOthers);
    } catch (const std::system_error&) { // those that there are will do
    }
    stopOthers();
    for (std::thread& helper : helpers)
        helper.join();
}

void SignalTable::clear()
{
    for (const auto& signal : monitored)
        signal->clear();
    begin.reset();
}

std::vector<MonitoredSignal*> SignalTable::inOrder() const
{
    std::vector<MonitoredSignal*> sorted;
    for (const auto& signal : monitored)
        sorted.push_back(signal.get());
    std::stable_sort(sorted.begin(), sorted.end(), isBefore);
    return sorted;
}

QVector<SignalReport> SignalTable::report(double k)
{
    QVector<SignalReport> reports;
    for (MonitoredSignal* signal : inOrder())
        reports.append(signal->report(k));
    return reports;
}

MonitoredSignal& SignalTable::signalOf(const DecodedSignal& decoded)
{
    const quint64 key = keyOf(decoded);
    const auto known = positions.constFind(key);
    if (known != positions.cend())
        return *monitored.at(known.value());
    const CatalogueMessage& message = descriptions.at(decoded.message);
    positions.insert(key, monitored.size());
    monitored.push_back(
        monitorSignal(message, message.catalogueSignals.at(decoded.signal), decoded.source));
    return *monitored.back();
}

} // namespace monitor
