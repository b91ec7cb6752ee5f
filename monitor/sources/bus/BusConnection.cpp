#include "BusConnection.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtCore/QVariant>
#include <QtSerialBus/QCanBus>

namespace monitor
{

QStringList busPlugins()
{
    return QCanBus::instance()->plugins();
}

QStringList busInterfaces(const QString& plugin)
{
    QStringList names;
    for (const QCanBusDeviceInfo& device : QCanBus::instance()->availableDevices(plugin))
        names += device.name();
    return names;
}

BusConnection::~BusConnection()
{
    if (bus)
        disconnect();
}

QString BusConnection::connect(const BusAddress& address)
{
    QString error = open(address);
    if (error.isEmpty())
        return error;
    bus.reset();
    return QStringLiteral("%1: cannot connect: %2").arg(address.name(), error);
}

void BusConnection::disconnect()
{
    if (bus->state() == QCanBusDevice::ConnectedState)
        bus->disconnectDevice();
    waitWhile(QCanBusDevice::ClosingState);
}

/// Returns an error message, or an empty string on success. Even without CAN support in the system
/// a device can be created; only connecting it fails.
QString BusConnection::open(const BusAddress& address)
{
    const QStringList plugins = busPlugins();
    if (!plugins.contains(address.plugin))
        return QStringLiteral("unknown plugin (available: %1)")
            .arg(plugins.join(QStringLiteral(", ")));
    QString error;
    bus.reset(QCanBus::instance()->createDevice(address.plugin, address.device, &error));
    if (!bus)
        return error;
    if (address.fd)
        bus->setConfigurationParameter(QCanBusDevice::CanFdKey, true);
    if (!bus->connectDevice())
        return bus->errorString();
    waitWhile(QCanBusDevice::ConnectingState);
    if (bus->state() == QCanBusDevice::ConnectedState)
        return QString();
    return bus->errorString().isEmpty() ? QStringLiteral("no response") : bus->errorString();
}

// Not with a nested event loop, which would not start in a thread that has been told to quit.
void BusConnection::waitWhile(QCanBusDevice::CanBusDeviceState state)
{
    QTimer timer;
    timer.setSingleShot(true);
    timer.start(timeout);
    while (bus->state() == state && timer.isActive())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
}

} // namespace monitor
