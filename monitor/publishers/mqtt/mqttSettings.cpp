#include "mqttSettings.h"

#include <QtCore/QFile>
#include <QtCore/QUrl>

namespace monitor
{

namespace
{

QString readLogin(const QString& fileName, MqttSettings& settings, QString& warning)
{
    constexpr qint64 longest = 65536;
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("--mqtt-login %1: %2").arg(fileName, file.errorString());
    if (file.permissions().testFlag(QFileDevice::ReadOther))
        warning = QStringLiteral("--mqtt-login %1: every user of this machine can read the "
                                 "password; to prevent that, run: chmod o-r %1")
                      .arg(fileName);
    const QList<QByteArray> lines = file.read(longest).replace('\r', "").split('\n');
    settings.user = lines.value(0);
    settings.password = lines.value(1);
    return settings.user.isEmpty()
               ? QStringLiteral("--mqtt-login %1: needs the user in the first line, and the "
                                "password in the second")
                     .arg(fileName)
               : QString();
}

QString checkReadable(const char* option, const QString& fileName)
{
    QFile file(fileName);
    return fileName.isEmpty() || file.open(QIODevice::ReadOnly)
               ? QString()
               : QStringLiteral("%1 %2: %3")
                     .arg(QLatin1String(option), fileName, file.errorString());
}

} // namespace

QString readMqttAddress(const QString& url, MqttSettings& settings)
{
    // Checked first, because the message for another error could contain the password.
    if (url.contains('@'))
        return QStringLiteral(
            "needs an address without a user or a password, which other users of this "
            "machine could see; use --mqtt-login FILE, or the environment "
            "variables VANTREL_MQTT_USER and VANTREL_MQTT_PASSWORD");
    constexpr int usualPort = 1883;
    constexpr int usualPortOfTls = 8883;
    const QUrl parts(url, QUrl::StrictMode);
    settings.isEncrypted = parts.scheme() == QLatin1String("mqtts");
    settings.host = parts.host();
    settings.port = parts.port(settings.isEncrypted ? usualPortOfTls : usualPort);
    QString prefix = parts.path(QUrl::FullyDecoded).mid(1);
    if (prefix.endsWith('/'))
        prefix.chop(1);
    bool isTopic = !prefix.isEmpty();
    for (const QChar c : prefix)
        isTopic = isTopic && c.isPrint() && c != '+' && c != '#';
    settings.prefix = prefix.toUtf8();
    const bool isKnown = settings.isEncrypted || parts.scheme() == QLatin1String("mqtt");
    return parts.isValid() && isKnown && !settings.host.isEmpty() && settings.port > 0 && isTopic &&
                   !parts.hasQuery() && !parts.hasFragment()
               ? QString()
               : QStringLiteral("needs mqtt://HOST[:PORT]/PREFIX, or mqtts:// for TLS, and a "
                                "PREFIX without + or #, not \"%1\"")
                     .arg(url);
}

QString readMqttFiles(const PublisherSettings& given, MqttSettings& settings, QString& warning)
{
    if (given.loginFile.isEmpty()) {
        settings.user = qgetenv("VANTREL_MQTT_USER");
        settings.password = qgetenv("VANTREL_MQTT_PASSWORD");
        if (settings.user.isEmpty() && !settings.password.isEmpty())
            return QStringLiteral("VANTREL_MQTT_PASSWORD is set, but not VANTREL_MQTT_USER");
    } else {
        QString error = readLogin(given.loginFile, settings, warning);
        if (!error.isEmpty())
            return error;
    }
    const struct {
        const char* option;
        const QString& name;
        QByteArray& encoded;
    } files[] = {{"--mqtt-ca", given.caFile, settings.caFile},
                 {"--mqtt-certificate", given.certificateFile, settings.certificateFile},
                 {"--mqtt-key", given.keyFile, settings.keyFile}};
    for (const auto& file : files) {
        if (!file.name.isEmpty() && !settings.isEncrypted)
            return QStringLiteral("%1 is for TLS: it needs --mqtt mqtts://...")
                .arg(QLatin1String(file.option));
        QString error = checkReadable(file.option, file.name);
        if (!error.isEmpty())
            return error;
        file.encoded = QFile::encodeName(file.name);
    }
    return given.certificateFile.isEmpty() == given.keyFile.isEmpty()
               ? QString()
               : QStringLiteral("--mqtt-certificate and --mqtt-key must be given together");
}

QByteArray mqttTopic(const QByteArray& prefix, const SignalStatistics& statistics)
{
    QString level;
    for (const QChar c : statistics.name) {
        const bool isAllowed =
            c.category() != QChar::Other_Control && !QStringLiteral("%/+#").contains(c);
        level +=
            isAllowed ? QString(c) : QString::fromLatin1(QString(c).toUtf8().toPercentEncoding());
    }
    return prefix + "/signals/" + level.toUtf8() + '/' +
           (statistics.source ? QByteArray::number(*statistics.source) : QByteArray("-"));
}

} // namespace monitor
