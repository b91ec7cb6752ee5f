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
    explicit SignalTable(const QVector<MessageDescription>& messageDescriptions)
        : descriptions(messageDescriptions)
    {
    }

    /// Ends the background updating of all signals, whose values are no longer wanted.
    ~SignalTable() { stopUpdating(); }

    SignalTable(const SignalTable&) = delete;
    SignalTable& operator=(const SignalTable&) = delete;

    /// Feeds the signal that \a decoded belongs to, which begins with its first frame.
    void feed(const DecodedSignal& decoded);

    /// Forgets all values and counts; the signals stay.
    void clear();

    /// The signals sorted by name and source address.
    std::vector<MonitoredSignal*> inOrder() const;

    /// The reports of all signals in that order.
    QVector<SignalReport> report(double k);

private:
    void stopUpdating();
    MonitoredSignal& signalOf(const DecodedSignal& decoded);

    const QVector<MessageDescription>& descriptions;
    std::vector<std::unique_ptr<MonitoredSignal>> monitored;
    QHash<quint64, size_t> positions; // in monitored
};

} // namespace monitor
