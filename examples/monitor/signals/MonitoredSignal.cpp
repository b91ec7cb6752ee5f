#include "MonitoredSignal.h"

#include "RecordedSignal.h"

namespace monitor
{

std::unique_ptr<MonitoredSignal> monitorSignal(const MessageDescription& message,
                                               const SignalDescription& description,
                                               const QString& reportedName,
                                               std::optional<quint8> sourceAddress)
{
    SignalReport heading;
    heading.name = reportedName;
    heading.protocol = message.protocol;
    heading.source = sourceAddress;
    heading.unit = description.unit;
    heading.factor = description.factor;
    heading.offset = description.offset;
    if (message.protocol == Protocol::J1939)
        return std::make_unique<RecordedSignal<J1939Value>>(description, heading);
    return std::make_unique<RecordedSignal<CANopenObjectValue>>(description, heading);
}

} // namespace monitor
