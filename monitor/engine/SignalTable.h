#pragma once

#include "MonitoredSignal.h"

#include <QtCore/QHash>

#include <memory>
#include <vector>

namespace monitor
{

/// The signals that have been seen, one for each signal of the description and source address.
class SignalTable
{
public:
    /// \a messageDescriptions must outlive this object.
    explicit SignalTable(const QVector<CatalogueMessage>& messageDescriptions)
        : descriptions(messageDescriptions)
    {
    }

    /// Ends the background updating of all signals, whose values are no longer wanted.
    ~SignalTable() { stopUpdating(); }

    SignalTable(const SignalTable&) = delete;
    SignalTable& operator=(const SignalTable&) = delete;

    /// Feeds the signal that \a decoded belongs to, which begins with its first frame.
    void feed(const DecodedSignal& decoded);

    /// Takes \a signal in beside those that are fed.
    void add(std::unique_ptr<MonitoredSignal> signal) { monitored.push_back(std::move(signal)); }

    /// When the first signal was seen whose time is known.
    std::optional<qint64> firstTime() const { return begin; }
    void setFirstTime(std::optional<qint64> microseconds) { begin = microseconds; }

    /// Forgets all values, counts and the first time; the signals stay.
    void clear();

    /// The signals sorted by name and source address.
    std::vector<MonitoredSignal*> inOrder() const;

    /// The reports of all signals in that order.
    QVector<SignalReport> report(double k);

private:
    void stopUpdating();
    MonitoredSignal& signalOf(const DecodedSignal& decoded);

    const QVector<CatalogueMessage>& descriptions;
    std::vector<std::unique_ptr<MonitoredSignal>> monitored;
    QHash<quint64, size_t> positions; // in monitored
    std::optional<qint64> begin;
};

} // namespace monitor
