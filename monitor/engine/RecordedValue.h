#pragma once

#include "Snapshot.h"
#include "decoding/Decoder.h"

#include <QtCore/QVariant>

namespace monitor
{

/// One value of a signal at the moment when it is recorded.
struct RecordedValue {
    const SignalStatistics& identity; ///< name, source, unit
    QString bus;                      ///< empty if unknown
    Availability availability = Availability::Measured;
    std::optional<qint64> nanoseconds; ///< when it was seen
    QVariant raw;                      ///< an integer, a float, a text or bytes
    QVariant scaled;                   ///< the same in the unit; invalid if it is not available
    QString text;                      ///< the described meaning of the raw value; may be empty
};

/// Receives each value when it is recorded.
class ValueSink
{
public:
    virtual ~ValueSink() = default;
    virtual void take(const RecordedValue& value) = 0;
};

} // namespace monitor
