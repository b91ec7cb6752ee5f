#pragma once

#include <QtCore/QString>
#include <QtSerialBus/QCanBusDevice>

#include <memory>

namespace monitor
{

/// A bus, in the terms of Qt Serial Bus.
struct BusAddress {
    QString plugin;  ///< such as "socketcan"
    QString device;  ///< such as "can0"
    bool fd = false; ///< true: CAN FD frames too, which not every interface supports

    /// For messages.
    QString name() const { return plugin + ' ' + device; }
};

/// A connection to a bus. Belongs to the thread that connects it, which needs an event loop.
class BusConnection
{
public:
    /// How long connecting or disconnecting may take, in ms.
    static constexpr int patience = 5000;

    /// Disconnects if still connected.
    ~BusConnection();

    /// Connects, and waits until that is done. Returns the error, naming the bus; empty if there
    /// was none. To be called once.
    QString connect(const BusAddress& address);

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
