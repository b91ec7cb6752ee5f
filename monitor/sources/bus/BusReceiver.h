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

/// Receives the frames of a bus in a thread of its own, so that none has to wait for what is done
/// with those before it. Used by one thread.
class BusReceiver
{
public:
    explicit BusReceiver(const BusAddress& busAddress) : address(busAddress) {}
    ~BusReceiver();

    BusReceiver(const BusReceiver&) = delete;
    BusReceiver& operator=(const BusReceiver&) = delete;

    /// Connects to the bus and begins to receive. Returns what made that impossible, naming the
    /// bus; empty if nothing did. Called once.
    QString start();

    /// Receives what has arrived already, and disconnects. Afterwards nothing is received.
    void stop();

    /// Whether the bus is gone, which stop() has not been asked for.
    bool isLost() const { return thread && thread->isFinished(); }

    /// What the bus complained about last, naming it; empty if it did not. To be asked when the
    /// receiver has stopped or the bus is lost.
    const QString& complaint() const { return lastComplaint; }

    /// Microseconds since start(). The times of the received frames are on the same clock.
    qint64 now() const { return clock.nsecsElapsed() / 1000; }

    /// What has been received and not been taken yet.
    FrameQueue& queue() { return received; }

private:
    void run();
    void receive(QCanBusDevice& device);

    BusAddress address;
    QElapsedTimer clock;
    FrameQueue received;
    std::promise<QString> connected; // what made it impossible, or nothing
    QString lastComplaint;           // the thread's until it has finished
    std::unique_ptr<QThread> thread;
};

} // namespace monitor
