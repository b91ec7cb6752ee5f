#pragma once

#include "BusAddress.h"

#include <QtSerialBus/QCanBusDevice>

#include <memory>

namespace monitor
{

/// A bus that is connected, in the thread that has connected it; that needs an event loop.
class BusConnection
{
public:
    /// How long it may take to connect or to disconnect.
    static constexpr int patience = 5000; // in ms

    /// Disconnects, if that has not been done.
    ~BusConnection();

    /// Connects and waits until that is done. Returns what made it impossible, naming the bus;
    /// empty if nothing did. Called once.
    QString connect(const BusAddress& address);

    /// Disconnects and waits until that is done. Frames that have been written still get to the
    /// bus.
    void disconnect();

    /// There once connect() has succeeded.
    QCanBusDevice& device() { return *bus; }

private:
    QString open(const BusAddress& address);
    void waitWhile(QCanBusDevice::CanBusDeviceState state);

    std::unique_ptr<QCanBusDevice> bus;
};

} // namespace monitor
