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

/// Receives the frames of a bus in a thread of its own, so that receiving never waits for earlier
/// frames to be processed. It must be used by one thread only.
class BusReceiver
{
public:
    explicit BusReceiver(const BusAddress& busAddress) : address(busAddress) {}
    ~BusReceiver();

    BusReceiver(const BusReceiver&) = delete;
    BusReceiver& operator=(const BusReceiver&) = delete;

    /// Connects to the bus and starts receiving. Returns an error message that names the bus, or an
    /// empty string on success. Call it only once.
    [[nodiscard]] QString start();

    /// Receives the frames that have already arrived, and disconnects.
    void stop();

    /// Whether the connection ended before stop() was called.
    bool isLost() const { return thread && thread->isFinished(); }

    /// The last error message, which names the bus; empty if there was no error. Call it only after
    /// stop() or when the connection is lost.
    const QString& error() const { return lastError; }

    /// Microseconds since start(). The times of the received frames are on the same clock.
    qint64 now() const { return clock.nsecsElapsed() / 1000; }

    /// The received frames that have not been taken yet.
    FrameQueue& queue() { return received; }

private:
    void run();
    void receive(QCanBusDevice& device);

    BusAddress address;
    QElapsedTimer clock;
    FrameQueue received;
    std::promise<QString> connected; // the error; empty on success
    QString lastError;               // used only by the thread until it has finished
    std::unique_ptr<QThread> thread;
};

} // namespace monitor
