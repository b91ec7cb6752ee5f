#include "BusReceiver.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QEventLoop>

namespace monitor
{

namespace
{

/// Processes events until none are pending.
void processPendingEvents()
{
    constexpr int maxPasses = 100; // on a busy bus there are always more
    QAbstractEventDispatcher* const events = QAbstractEventDispatcher::instance();
    for (int i = 0; i < maxPasses && events->processEvents(QEventLoop::AllEvents); ++i) {
    }
}

} // namespace

BusReceiver::~BusReceiver()
{
    stop();
}

QString BusReceiver::start()
{
    clock.start();
    thread.reset(QThread::create([this] { run(); }));
    thread->setObjectName(QStringLiteral("bus")); // also the name that the system shows
    thread->start();
    if (!thread->isRunning() && !thread->isFinished())
        return address.name() + QStringLiteral(": cannot start the receiving thread");
    QString error = connected.get_future().get();
    if (!error.isEmpty())
        stop();
    return error;
}

void BusReceiver::stop()
{
    if (!thread)
        return;
    thread->quit();
    thread->wait();
    thread.reset();
}

void BusReceiver::run()
{
    BusConnection connection;
    const QString error = connection.connect(address);
    if (!error.isEmpty()) {
        connected.set_value(error);
        return;
    }
    QCanBusDevice& device = connection.device();
    QEventLoop loop;
    QObject::connect(&device, &QCanBusDevice::framesReceived, [this, &device] { receive(device); });
    QObject::connect(&device, &QCanBusDevice::errorOccurred, [this, &device] {
        lastError = address.name() + QStringLiteral(": ") + device.errorString();
    });
    QObject::connect(&device, &QCanBusDevice::stateChanged, &loop, &QEventLoop::quit);
    processPendingEvents(); // so that the bus knows the device before start() returns
    connected.set_value(QString());
    if (device.state() == QCanBusDevice::ConnectedState)
        loop.exec();
    if (device.state() != QCanBusDevice::ConnectedState)
        lastError = address.name() + QStringLiteral(": connection lost");
    processPendingEvents(); // frames cannot be read any more once the device is closing
    connection.disconnect();
}

void BusReceiver::receive(QCanBusDevice& device)
{
    if (device.state() != QCanBusDevice::ConnectedState)
        return; // reading would be an error
    const qint64 time = now();
    for (const QCanBusFrame& busFrame : device.readAllFrames())
        received.put(busFrame, time);
}

} // namespace monitor
