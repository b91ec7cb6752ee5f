#pragma once

#include "can/Frame.h"

#include <QtSerialBus/QCanBusFrame>

namespace monitor
{

/// The data or remote frame \a busFrame, without a time: the time stamps of Qt Serial Bus have
/// another epoch with each plugin, and not every one sets them.
Frame frameOf(const QCanBusFrame& busFrame);

/// \a frame for the bus. A frame whose length is not valid on a bus is not isValid().
QCanBusFrame busFrameOf(const Frame& frame);

} // namespace monitor
