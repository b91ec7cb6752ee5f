#pragma once

#include "MonitoredSignal.h"

#include <QtCore/QHash>

#include <memory>
#include <vector>

namespace monitor
{

/// The signals seen so far, one for each combination of a signal of the catalogue and a source.
/// They are numbered from 0, and their numbers do not change.
class SignalRegistry
{
public:
    /// \a messageDescriptions must outlive this object.
    explicit SignalRegistry(const QVector<CatalogueMessage>& messageDescriptions)
        : descriptions(messageDescriptions)
    {
    }

    /// Stops the background updating of all signals.
    ~SignalRegistry() { stopUpdating(); }

    SignalRegistry(const SignalRegistry&) = delete;
    SignalRegistry& operator=(const SignalRegistry&) = delete;

    /// Records \a decoded in its signal, which is added if it is new.
    void record(const DecodedSignal& decoded);

    /// Adds a signal of a saved run, to which record() will add nothing.
    void add(std::unique_ptr<MonitoredSignal> signal) { monitored.push_back(std::move(signal)); }

    MonitoredSignal& at(int signal) const { return *monitored.at(static_cast<size_t>(signal)); }

    /// The numbers of the signals, sorted by name and source.
    const QVector<int>& sorted();

    /// When the first signal with a known time was seen.
    std::optional<qint64> firstTime() const { return begin; }
    void setFirstTime(std::optional<qint64> microseconds) { begin = microseconds; }

    /// Deletes all values, counts and the first time, but keeps the signals.
    void clear();

private:
    void stopUpdating();
    MonitoredSignal& signalOf(const DecodedSignal& decoded);

    const QVector<CatalogueMessage>& descriptions;
    std::vector<std::unique_ptr<MonitoredSignal>> monitored;
    QHash<quint64, size_t> positions; // in monitored
    QVector<int> order;               // out of date if shorter than monitored
    std::optional<qint64> begin;
};

} // namespace monitor
