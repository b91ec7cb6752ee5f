#pragma once

#include "BusConnection.h"
#include "FrameQueue.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtSerialBus/QCanBusDevice>

#include <future>
#include <memory>

namespace monitor
{

/// Receives the frames of a bus in a thread of its own, so that receiving never waits for the
/// evaluation of earlier frames. Used by one thread.
class BusReceiver
{
public:
    explicit BusReceiver(const BusAddress& busAddress) : address(busAddress) {}
    ~BusReceiver();

    BusReceiver(const BusReceiver&) = delete;
    BusReceiver& operator=(const BusReceiver&) = delete;

    /// Connects to the bus and starts receiving. Returns the error, naming the bus; empty on
    /// success. Called once.
    [[nodiscard]] QString start();

    /// Receives the frames that have already arrived, and disconnects.
    void stop();

    /// Whether the connection ended without a call of stop().
    bool isLost() const { return thread && thread->isFinished(); }

    /// The last error of the bus, naming it; empty if there was none. Call it once the receiver is
    /// stopped or the bus is lost.
    const QString& error() const { return lastError; }

    /// Microseconds since start(). The times of the received frames are on the same clock.
    qint64 now() const { return clock.nsecsElapsed() / 1000; }

    /// The frames that have been received and not been taken yet.
    FrameQueue& queue() { return received; }

private:
    void run();
    void receive(QCanBusDevice& device);

    BusAddress address;
    QElapsedTimer clock;
    FrameQueue received;
    std::promise<QString> connected; // the error; empty on success
    QString lastError;               // used by the thread alone until it has finished
    std::unique_ptr<QThread> thread;
};

} // namespace monitor
