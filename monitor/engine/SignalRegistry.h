#pragma once

#include "MonitoredSignal.h"
#include "RecordedValue.h"

#include <atomic>
#include <memory>
#include <unordered_map>
#include <vector>

namespace monitor
{

/// The signals of one message from one source on one bus.
struct MessageSignals {
    int message = 0;
    quint16 bus = 0;
    std::optional<quint8> source;
    size_t number = 0;      ///< counted from 0
    int firstNumber = 0;    ///< the number of the first signal; the others follow
    bool isChanged = false; ///< whether there were frames since the newest snapshot
    std::vector<std::unique_ptr<MonitoredSignal>> bySignal; ///< null: not seen so far
    std::vector<SignalValues*> values;                      ///< of the same signals

    /// Fetches the list of values into the cache.
    void prefetch() const
    {
#if defined(__GNUC__)
        __builtin_prefetch(values.data());
#endif
    }
};

/// The signals seen so far, one for each combination of a signal of the catalogue, a bus and a
/// source. They are numbered, and their numbers do not change.
class SignalRegistry
{
public:
    /// \a messageDescriptions must outlive this object.
    explicit SignalRegistry(const QVector<CatalogueMessage>& messageDescriptions)
        : descriptions(messageDescriptions)
    {
    }

    SignalRegistry(const SignalRegistry&) = delete;
    SignalRegistry& operator=(const SignalRegistry&) = delete;

    /// Sets what is kept of the values. Call it before the first one.
    void keep(const Keeping& wanted) { kept = wanted; }
    const Keeping& keeping() const { return kept; }

    /// The signals of \a message from \a source on \a bus. The reference remains valid.
    MessageSignals& signalsOf(int message, quint16 bus, std::optional<quint8> source);

    /// Records a value of a signal in its message, seen at \a nanoseconds. The signal is added if
    /// it is new. Threads may do that at the same time for different messages, if there are no
    /// sinks.
    void record(MessageSignals& found, int signal, quint64 bits, Availability availability,
                std::optional<qint64> nanoseconds);

    /// The same for \a decoded, with noteTime().
    void record(const DecodedSignal& decoded)
    {
        noteTime(decoded.nanoseconds);
        record(signalsOf(decoded.message, decoded.bus, decoded.source), decoded.signal,
               decoded.bits, decoded.availability, decoded.nanoseconds);
    }

    /// Passes all values recorded from now on to \a sink too, which must outlive this object.
    void addValueSink(ValueSink& sink) { valueSinks.push_back(&sink); }
    const std::vector<ValueSink*>& sinks() const { return valueSinks; }

    /// Sets the names of the buses, to which MessageSignals::bus refers. The statistics of a signal
    /// contain the name only if \a areShown.
    void setBuses(const QStringList& names, bool areShown);

    /// Adds a signal of a saved run, or of a summary. It is the only one of its message.
    MessageSignals& add(std::unique_ptr<MonitoredSignal> signal, quint16 bus = 0);

    /// The name of the bus of the signal with this number, even if it is not shown; empty if
    /// unknown.
    QString busOf(int signal) const
    {
        const QString& shown = at(signal).identity().bus;
        return shown.isEmpty() ? busNames.value(places[static_cast<size_t>(signal)].found->bus)
                               : shown;
    }

    /// The signal with this number, which must have been seen.
    MonitoredSignal& at(int signal) const;

    /// All numbers of signals are less than this.
    size_t numberLimit() const { return places.size(); }

    /// The numbers of the signals seen so far, sorted by name, bus and source.
    const QVector<int>& sorted();

    /// Notes that a signal was seen at \a nanoseconds.
    void noteTime(std::optional<qint64> nanoseconds)
    {
        if (!begin && nanoseconds)
            begin = *nanoseconds / nanosecondsPerMicrosecond;
    }

    /// When the first signal with a known time was seen.
    std::optional<qint64> firstTime() const { return begin; }
    void setFirstTime(std::optional<qint64> microseconds) { begin = microseconds; }

    /// Deletes all values, counts and the first time, but keeps the signals. The sinks delete what
    /// they took.
    void clear();

private:
    static constexpr qint64 nanosecondsPerMicrosecond = 1000;

    struct Place {
        MessageSignals* found;
        int signal;
    };

    MonitoredSignal& addSignal(MessageSignals& found, int signal);
    MessageSignals& addMessage(int message, quint16 bus, std::optional<quint8> source, int size);

    const QVector<CatalogueMessage>& descriptions;
    Keeping kept;
    std::unordered_map<quint64, MessageSignals*> messages; // by message, bus and source
    std::vector<std::unique_ptr<MessageSignals>> owned;
    std::vector<Place> places; // by number
    std::atomic<int> seen{0};  // signals
    QStringList busNames;
    bool showsBuses = false;
    std::vector<ValueSink*> valueSinks;
    QVector<int> order; // out of date if shorter than seen
    std::optional<qint64> begin;
};

} // namespace monitor
