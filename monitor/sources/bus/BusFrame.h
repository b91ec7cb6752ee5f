#pragma once

#include "can/Frame.h"

#include <QtSerialBus/QCanBusFrame>

namespace monitor
{

/// Converts a data or remote frame. The result has no time: the time stamps of Qt Serial Bus have a
/// different epoch in each plugin, and some plugins do not set them.
Frame frameOf(const QCanBusFrame& busFrame);

/// Converts \a frame. A CAN FD frame remains one even with 8 bytes or fewer. If its length is not
/// allowed on a bus, the result is not isValid().
QCanBusFrame busFrameOf(const Frame& frame);

} // namespace monitor
