#pragma once

#include "publishers/Publisher.h"
#include "publishers/PublisherSettings.h"

#include <QtCore/QElapsedTimer>

#include <memory>
#include <thread>

namespace monitor
{

/// Publishes each signal to an MQTT broker when its statistics have changed, as a retained message.
/// A separate thread sends, and connects again if the connection is lost. Nothing is queued:
/// updates are skipped while the broker cannot be reached or does not acknowledge earlier ones.
class MqttPublisher : public Publisher
{
public:
    /// Checks an address, such as "mqtt://broker:1883/vantrel". Returns the error as the rest of a
    /// sentence that begins with the option, or an empty string.
    static QString check(const QString& url);

    /// Starts to connect to the broker in \a settings, and sets \a note to its address. If that is
    /// impossible, returns null and sets \a note to the error message. A broker that cannot be
    /// reached is not an error: the publisher keeps trying.
    static std::unique_ptr<MqttPublisher> start(const PublisherSettings& settings, QString& note);

    ~MqttPublisher() override;
    MqttPublisher(const MqttPublisher&) = delete;
    MqttPublisher& operator=(const MqttPublisher&) = delete;

    [[nodiscard]] bool take(const Snapshot& snapshot, const BusState& bus) override;

    /// Sends the final statistics and the status "offline", and disconnects. Waits at most two
    /// seconds for that.
    void finish(const Snapshot& snapshot) override;

    QStringList takeMessages() override;

private:
    class Worker;
    MqttPublisher(std::shared_ptr<Worker> newWorker, double periodInSeconds);

    std::shared_ptr<Worker> worker; // shared with the thread, which may wait for the network longer
    std::thread thread;
    double period; // in seconds, like nextUpdate
    double nextUpdate = 0;
    QElapsedTimer sinceStart;
};

} // namespace monitor
