#include "MqttConnection.h"

#include <mosquitto.h>

#include <cerrno>
#include <cstddef>
#include <utility>

namespace monitor
{

namespace
{

constexpr int qualityOfService = 1; // at least once
constexpr bool isRetained = true;

const char* orNull(const QByteArray& text)
{
    return text.isEmpty() ? nullptr : text.constData();
}

QString withoutPeriod(QString sentence)
{
    if (sentence.endsWith('.'))
        sentence.chop(1);
    return sentence;
}

/// The broker's answer to an attempt to connect.
QString refusalText(int code)
{
    constexpr int badLogin = 4;
    constexpr int notAuthorized = 5;
    return code == badLogin || code == notAuthorized
               ? QStringLiteral("the broker refused the user or the password; check --mqtt-login, "
                                "or VANTREL_MQTT_USER and VANTREL_MQTT_PASSWORD")
               : withoutPeriod(QString::fromUtf8(mosquitto_connack_string(code)));
}

/// Without this function, the library would ask for the password of an encrypted key on the
/// terminal.
int refusePassword(char* /*password*/, int /*size*/, int /*forWriting*/, void* /*unused*/)
{
    return 0;
}

} // namespace

bool isValidMqttTopic(const QByteArray& topic)
{
    const auto size = static_cast<int>(topic.size());
    return mosquitto_pub_topic_check2(topic.constData(), static_cast<size_t>(size)) ==
               MOSQ_ERR_SUCCESS &&
           mosquitto_validate_utf8(topic.constData(), size) == MOSQ_ERR_SUCCESS;
}

MqttConnection::MqttConnection(const MqttSettings& mqttSettings, const QByteArray& clientId)
    : settings(mqttSettings)
{
    static const int initialized = mosquitto_lib_init();
    static_cast<void>(initialized);
    // Makes the program ignore SIGPIPE, as Qt's sockets do too.
    client = mosquitto_new(clientId.constData(), true, this);
    if (client == nullptr)
        return;
    mosquitto_connect_callback_set(client, [](mosquitto*, void* self, int code) {
        auto& connection = *static_cast<MqttConnection*>(self);
        connection.accepted = code == 0;
        if (code != 0)
            connection.refusal = refusalText(code);
    });
    mosquitto_publish_callback_set(client, [](mosquitto*, void* self, int message) {
        static_cast<MqttConnection*>(self)->acknowledged.append(message);
    });
    mosquitto_log_callback_set(client, [](mosquitto*, void* self, int level, const char* text) {
        if (level == MOSQ_LOG_ERR)
            static_cast<MqttConnection*>(self)->details = QString::fromUtf8(text);
    });
}

MqttConnection::~MqttConnection()
{
    mosquitto_destroy(client);
}

QString MqttConnection::errorText(int code) const
{
    if (!refusal.isEmpty())
        return refusal;
    if (code == MOSQ_ERR_CONN_LOST)
        return QStringLiteral("the broker closed the connection");
    if (code == MOSQ_ERR_KEEPALIVE) // which has no text
        return QStringLiteral("the broker does not answer");
    const QString text = code == MOSQ_ERR_ERRNO
                             ? qt_error_string(errno)
                             : withoutPeriod(QString::fromUtf8(mosquitto_strerror(code)));
    return details.isEmpty() ? text : text + QStringLiteral(" (%1)").arg(details);
}

QString MqttConnection::configure()
{
    constexpr int unacknowledged = 100; // enough for a slow connection; brokers limit it too
    const QByteArray will = "offline";
    int code = mosquitto_will_set(client, QByteArray(settings.prefix + "/status").constData(),
                                  static_cast<int>(will.size()), will.constData(), qualityOfService,
                                  isRetained);
    if (code == MOSQ_ERR_SUCCESS)
        code = mosquitto_int_option(client, MOSQ_OPT_SEND_MAXIMUM, unacknowledged);
    if (code == MOSQ_ERR_SUCCESS && !settings.user.isEmpty())
        code =
            mosquitto_username_pw_set(client, settings.user.constData(), orNull(settings.password));
    if (code == MOSQ_ERR_SUCCESS && settings.isEncrypted)
        code = mosquitto_tls_set(
            client, orNull(settings.caFile), settings.caFile.isEmpty() ? "/etc/ssl/certs" : nullptr,
            orNull(settings.certificateFile), orNull(settings.keyFile), refusePassword);
    return code == MOSQ_ERR_SUCCESS ? QString() : errorText(code);
}

QString MqttConnection::open()
{
    constexpr int keepAlive = 15; // in seconds; after 1.5 times that, the broker sends the will
    if (client == nullptr)
        return qt_error_string(errno);
    QString error = configure();
    if (!error.isEmpty())
        return error;
    const int code =
        mosquitto_connect(client, settings.host.toUtf8().constData(), settings.port, keepAlive);
    return code == MOSQ_ERR_SUCCESS ? QString() : errorText(code);
}

QString MqttConnection::process()
{
    constexpr int longest = 20; // in ms
    const int code = mosquitto_loop(client, longest, 1);
    return code == MOSQ_ERR_SUCCESS ? QString() : errorText(code);
}

std::optional<int> MqttConnection::publish(const QByteArray& topic, const QByteArray& payload)
{
    int message = 0;
    const int code =
        mosquitto_publish(client, &message, topic.constData(), static_cast<int>(payload.size()),
                          payload.constData(), qualityOfService, isRetained);
    return code == MOSQ_ERR_SUCCESS ? std::optional<int>(message) : std::nullopt;
}

std::optional<int> MqttConnection::publishStatus(const QByteArray& status)
{
    return publish(settings.prefix + "/status", status);
}

QVector<int> MqttConnection::takeAcknowledged()
{
    return std::exchange(acknowledged, {});
}

void MqttConnection::close()
{
    mosquitto_disconnect(client);
}

} // namespace monitor
