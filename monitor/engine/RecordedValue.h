#pragma once

#include "decoding/Decoder.h"

#include <QtCore/QVariant>

namespace monitor
{

class MonitoredSignal;

/// One value of a signal when it is recorded. Valid only during ValueSink::take().
struct RecordedValue {
    const MonitoredSignal& signal;
    int number;         ///< of the signal in its session
    const QString& bus; ///< empty if unknown
    quint64 bits = 0;   ///< the raw value, see extractBits()
    Availability availability = Availability::Measured;
    std::optional<qint64> nanoseconds; ///< when it was seen

    /// An integer, a float, a text or bytes.
    QVariant raw() const;

    /// The same in the unit; invalid if it is not available.
    QVariant scaled() const;

    /// The described meaning of the raw value; may be empty.
    QString text() const;
};

/// Receives each value when it is recorded.
class ValueSink
{
public:
    virtual ~ValueSink() = default;
    virtual void take(const RecordedValue& value) = 0;

    /// Called when the user resets the run: the values taken so far no longer belong to it.
    virtual void clear() {}

    /// Why values can no longer be used, for the user; empty as long as they can. Called on any
    /// thread, also while another one calls the other functions.
    virtual QString error() const { return QString(); }
};

} // namespace monitor
