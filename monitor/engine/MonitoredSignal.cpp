#include "MonitoredSignal.h"

#include "RecordedSignal.h"

namespace monitor
{

std::unique_ptr<MonitoredSignal> monitorSignal(const MessageDescription& message,
                                               const SignalDescription& description,
                                               std::optional<quint8> sourceAddress)
{
    SignalReport heading;
    heading.name = description.reportedName;
    heading.protocol = message.protocol;
    heading.source = sourceAddress;
    heading.unit = description.unit;
    heading.factor = description.factor;
    heading.offset = description.offset;
    heading.isFloat = description.isFloat;
    heading.limits = description.ratingLimits;
    if (message.protocol == Protocol::J1939)
        return std::make_unique<RecordedSignal<J1939Value>>(description, heading);
    return std::make_unique<RecordedSignal<CANopenObjectValue>>(description, heading);
}

} // namespace monitor
