#pragma once

#include "mqttSettings.h"

#include <QtCore/QVector>

#include <optional>

struct mosquitto;

namespace monitor
{

/// Whether messages can have that topic.
bool isValidMqttTopic(const QByteArray& topic);

/// One connection to a broker, or an attempt to make one. It uses no thread of its own.
class MqttConnection
{
public:
    /// When the connection ends without close(), the broker sets PREFIX/status to offline.
    /// \a mqttSettings must outlive this object.
    MqttConnection(const MqttSettings& mqttSettings, const QByteArray& clientId);
    ~MqttConnection();
    MqttConnection(const MqttConnection&) = delete;
    MqttConnection& operator=(const MqttConnection&) = delete;

    /// Connects, and waits until that has succeeded or failed; an unreachable host can take
    /// minutes. Returns an error message, or an empty string.
    [[nodiscard]] QString open();

    /// Sends and receives for at most 20 ms. Returns an error message when the
    /// connection has ended, otherwise an empty string.
    [[nodiscard]] QString process();

    /// Whether the broker has accepted the connection.
    bool isAccepted() const { return accepted; }

    /// Sends \a payload under a valid \a topic, as a message that later subscribers receive too.
    /// Returns the number of the message; nothing if the connection has ended.
    std::optional<int> publish(const QByteArray& topic, const QByteArray& payload);

    /// Sets the status of the run, in PREFIX/status. Returns the same as publish().
    std::optional<int> publishStatus(const QByteArray& status);

    /// The numbers of the messages that the broker has acknowledged since the last call.
    QVector<int> takeAcknowledged();

    /// Ends the connection.
    void close();

private:
    QString errorText(int code) const;
    QString configure();

    const MqttSettings& settings;
    mosquitto* client;
    bool accepted = false;
    QString refusal; ///< the broker's reason
    QString details; ///< the newest error that the library has logged
    QVector<int> acknowledged;
};

} // namespace monitor
