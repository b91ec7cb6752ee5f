#pragma once

#include "engine/Snapshot.h"
#include "publishers/PublisherSettings.h"

#include <QtCore/QByteArray>

namespace monitor
{

/// How to connect to an MQTT broker, and the beginning of all topics.
struct MqttSettings {
    QString host;
    int port = 0;
    bool isEncrypted = false; ///< by TLS
    QByteArray prefix;
    QByteArray user; ///< empty: the client does not log in
    QByteArray password;
    // The names of files; empty: not given.
    QByteArray caFile;
    QByteArray certificateFile;
    QByteArray keyFile;
};

/// Reads an address such as "mqtt://broker:1883/vantrel". Returns the error as the rest of a
/// sentence that begins with the option, or an empty string. It never contains a password.
[[nodiscard]] QString readMqttAddress(const QString& url, MqttSettings& settings);

/// Reads the user and the password from the file, or from the environment if no file is given, and
/// checks the files for TLS. Sets \a warning to a message for the user if others can read the
/// password. Returns an error message, or an empty string.
[[nodiscard]] QString readMqttFiles(const PublisherSettings& given, MqttSettings& settings,
                                    QString& warning);

/// The topic of a signal: PREFIX/signals/NAME/SOURCE. The characters that a level of a topic cannot
/// contain, and the percent sign, are percent-encoded.
QByteArray mqttTopic(const QByteArray& prefix, const SignalStatistics& statistics);

} // namespace monitor
