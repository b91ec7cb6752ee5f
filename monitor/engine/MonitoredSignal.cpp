#include "MonitoredSignal.h"

#include "RecordedSignal.h"

namespace monitor
{

std::unique_ptr<MonitoredSignal> monitorSignal(const MessageHeader& message,
                                               const CatalogueSignal& description,
                                               std::optional<quint8> sourceAddress)
{
    SignalReport heading;
    heading.name = description.reportedName;
    heading.protocol = message.protocol;
    heading.source = sourceAddress;
    heading.unit = description.scaling.unit;
    heading.factor = description.scaling.factor;
    heading.offset = description.scaling.offset;
    heading.isFloat = description.layout.isFloat;
    heading.limits = description.rules.limits;
    if (message.protocol == Protocol::J1939)
        return std::make_unique<RecordedSignal<J1939Value>>(description, heading);
    return std::make_unique<RecordedSignal<CANopenObjectValue>>(description, heading);
}

} // namespace monitor
