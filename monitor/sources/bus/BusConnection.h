#pragma once

#include "BusAddress.h"

#include <QtSerialBus/QCanBusDevice>

#include <memory>

namespace monitor
{

/// The plugins of Qt Serial Bus.
QStringList busPlugins();

/// The names of the interfaces that \a plugin finds. Some plugins cannot search for interfaces.
QStringList busInterfaces(const QString& plugin);

/// A connection to a bus. It must be used by one thread only, whose events it processes.
class BusConnection
{
public:
    /// How long connecting or disconnecting may take, in ms.
    static constexpr int timeout = 5000;

    /// Disconnects if still connected.
    ~BusConnection();

    /// Connects, and waits for the connection. Returns an error message that names the bus, or an
    /// empty string on success. Call it only once.
    [[nodiscard]] QString connect(const BusAddress& address);

    /// Disconnects, and waits until the connection is closed. Frames that have already been written
    /// still reach the bus.
    void disconnect();

    /// The device. Valid after connect() has succeeded.
    QCanBusDevice& device() { return *bus; }

private:
    QString open(const BusAddress& address);
    void waitWhile(QCanBusDevice::CanBusDeviceState state);

    std::unique_ptr<QCanBusDevice> bus;
};

} // namespace monitor
