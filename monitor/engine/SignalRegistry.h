#pragma once

#include "MonitoredSignal.h"

#include <QtCore/QHash>

#include <memory>
#include <vector>

namespace monitor
{

/// The signals seen so far, one for each combination of a signal of the catalogue, a bus and a
/// source. They are numbered from 0, and their numbers do not change.
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

    /// Passes all values recorded from now on to \a sink, which must outlive this object.
    void setValueSink(ValueSink* sink) { valueSink = sink; }

    /// Sets the names of the buses, to which DecodedSignal::bus refers. The statistics of a signal
    /// contain the name only if \a areShown.
    void setBuses(const QStringList& names, bool areShown);

    /// Adds a signal of a saved run, to which record() will add nothing.
    void add(std::unique_ptr<MonitoredSignal> signal) { monitored.push_back(std::move(signal)); }

    MonitoredSignal& at(int signal) const { return *monitored.at(static_cast<size_t>(signal)); }

    /// The numbers of the signals, sorted by name, bus and source.
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
    std::vector<quint16> busOf; // of the monitored signals that were recorded here
    QStringList busNames;
    bool showsBuses = false;
    ValueSink* valueSink = nullptr;
    QHash<quint64, size_t> positions; // in monitored
    QVector<int> order;               // out of date if shorter than monitored
    std::optional<qint64> begin;
};

} // namespace monitor
