#pragma once

#include "MonitoredSignal.h"

#include <QtCore/QHash>

#include <memory>
#include <vector>

namespace monitor
{

/// The signals that have been seen, one for each signal of the catalogue and source address. Their
/// numbers, counted from 0, stay the same.
class SignalTable
{
public:
    /// \a messageDescriptions must outlive this object.
    explicit SignalTable(const QVector<CatalogueMessage>& messageDescriptions)
        : descriptions(messageDescriptions)
    {
    }

    /// Ends the background updating of all signals.
    ~SignalTable() { stopUpdating(); }

    SignalTable(const SignalTable&) = delete;
    SignalTable& operator=(const SignalTable&) = delete;

    /// Records \a decoded for the signal that it belongs to, which is added if it is new.
    void record(const DecodedSignal& decoded);

    /// Adds \a signal, for which nothing will be recorded.
    void add(std::unique_ptr<MonitoredSignal> signal) { monitored.push_back(std::move(signal)); }

    MonitoredSignal& at(int signal) const { return *monitored.at(static_cast<size_t>(signal)); }

    /// The numbers of the signals, sorted by name and source.
    const QVector<int>& inOrder();

    /// When the first signal was seen whose time is known.
    std::optional<qint64> firstTime() const { return begin; }
    void setFirstTime(std::optional<qint64> microseconds) { begin = microseconds; }

    /// Forgets all values, counts and the first time; the signals stay.
    void clear();

private:
    void stopUpdating();
    MonitoredSignal& signalOf(const DecodedSignal& decoded);

    const QVector<CatalogueMessage>& descriptions;
    std::vector<std::unique_ptr<MonitoredSignal>> monitored;
    QHash<quint64, size_t> positions; // in monitored
    QVector<int> order;               // up to date if it is as long as monitored
    std::optional<qint64> begin;
};

} // namespace monitor
