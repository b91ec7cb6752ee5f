#pragma once

#include "BusAddress.h"

#include <QtSerialBus/QCanBusDevice>

#include <memory>

namespace monitor
{

/// A connection to a bus. Belongs to the thread that connects it, which needs an event loop.
class BusConnection
{
public:
    /// How long connecting or disconnecting may take, in ms.
    static constexpr int patience = 5000;

    /// Disconnects if still connected.
    ~BusConnection();

    /// Connects, and waits until that is done. Returns the error, naming the bus; empty on success.
    /// To be called once.
    [[nodiscard]] QString connect(const BusAddress& address);

    /// Disconnects, and waits until that is done. Frames that have been written still reach the
    /// bus.
    void disconnect();

    /// Valid once connect() has succeeded.
    QCanBusDevice& device() { return *bus; }

private:
    QString open(const BusAddress& address);
    void waitWhile(QCanBusDevice::CanBusDeviceState state);

    std::unique_ptr<QCanBusDevice> bus;
};

} // namespace monitor
