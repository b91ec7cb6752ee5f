#include "ConfigFile.h"

#include "text/suggestions.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace monitor
{

namespace
{

/// A setting of a signal.
struct Setting {
    const char* name;
    const char* valid; ///< a description of its valid values, for messages
    bool (*read)(const QJsonValue& value, SignalSettings& settings);
};

Scaling& scalingOf(SignalSettings& settings)
{
    return settings.scaling ? *settings.scaling : settings.scaling.emplace();
}

bool readFactor(const QJsonValue& value, SignalSettings& settings)
{
    scalingOf(settings).factor = value.toDouble();
    return value.toDouble() != 0;
}

bool readOffset(const QJsonValue& value, SignalSettings& settings)
{
    scalingOf(settings).offset = value.toDouble();
    return value.isDouble();
}

bool readUnit(const QJsonValue& value, SignalSettings& settings)
{
    scalingOf(settings).unit = value.toString().simplified();
    return value.isString();
}

bool readLimits(const QJsonValue& value, SignalSettings& settings)
{
    const QJsonArray ends = value.toArray();
    settings.limits = ValueRange{ends.at(0).toDouble(), ends.at(1).toDouble()};
    return ends.size() == 2 && ends.at(0).isDouble() && ends.at(1).isDouble() &&
           settings.limits->lowest <= settings.limits->highest;
}

bool readReserved(const QJsonValue& value, SignalSettings& settings)
{
    settings.reservesRawValues = value.toBool();
    return value.isBool();
}

constexpr Setting signalSettings[] = {
    {"factor", "a number other than 0", readFactor},
    {"offset", "a number", readOffset},
    {"unit", "a string", readUnit},
    {"limits", "an array of two numbers, the lower one first", readLimits},
    {"reserved", "true or false", readReserved},
};

QString unknownSetting(const QString& name, const QStringList& known)
{
    return QStringLiteral("unknown setting \"%1\"").arg(name) + didYouMean(name, known);
}

/// Reads one setting of a signal. Returns an error message, or an empty string on success.
QString readSetting(const QString& name, const QJsonValue& value, SignalSettings& settings)
{
    QStringList known;
    for (const Setting& setting : signalSettings) {
        if (name == QLatin1String(setting.name))
            return setting.read(value, settings)
                       ? QString()
                       : QStringLiteral("%1 must be %2").arg(setting.name, setting.valid);
        known += setting.name;
    }
    return unknownSetting(name, known);
}

/// Reads all settings of the signals that \a pattern matches.
QString readSignal(const QString& pattern, const QJsonValue& value, Config& config)
{
    if (!value.isObject())
        return QStringLiteral("settings must be an object");
    SignalSettings settings{pattern};
    const QJsonObject members = value.toObject();
    for (auto it = members.constBegin(); it != members.constEnd(); ++it) {
        QString error = readSetting(it.key(), it.value(), settings);
        if (!error.isEmpty())
            return error;
    }
    config.settings.append(settings);
    return QString();
}

QString readSignals(const QJsonValue& value, Config& config)
{
    if (!value.isObject())
        return QStringLiteral("signals must be an object");
    const QJsonObject members = value.toObject();
    for (auto it = members.constBegin(); it != members.constEnd(); ++it) {
        const QString error = readSignal(it.key(), it.value(), config);
        if (!error.isEmpty())
            return QStringLiteral("signal \"%1\": %2").arg(it.key(), error);
    }
    return QString();
}

QString readMember(const QString& name, const QJsonValue& value, Config& config)
{
    if (name == QLatin1String("signals"))
        return readSignals(value, config);
    if (name != QLatin1String("k"))
        return unknownSetting(name, {QStringLiteral("k"), QStringLiteral("signals")});
    config.k = value.toDouble(-1);
    return *config.k < 0 ? QStringLiteral("k must be a number of at least 0") : QString();
}

Config failedConfig(const QString& error)
{
    Config config;
    config.error = error;
    return config;
}

} // namespace

Config readConfig(const QByteArray& text)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        return failedConfig(QStringLiteral("line %1: %2")
                                .arg(text.left(error.offset).count('\n') + 1)
                                .arg(error.errorString()));
    if (!document.isObject())
        return failedConfig(QStringLiteral("the file must contain a JSON object"));
    Config config;
    const QJsonObject members = document.object();
    for (auto it = members.constBegin(); it != members.constEnd() && config.error.isEmpty(); ++it)
        config.error = readMember(it.key(), it.value(), config);
    return config;
}

Config readConfigFile(const QString& fileName)
{
    QFile file(fileName);
    const bool isOpen = file.open(QIODevice::ReadOnly);
    const QByteArray text = isOpen ? file.readAll() : QByteArray();
    if (!isOpen || file.error() != QFileDevice::NoError)
        return failedConfig(
            QStringLiteral("%1: cannot be read: %2").arg(fileName, file.errorString()));
    Config config = readConfig(text);
    if (!config.error.isEmpty())
        config.error = fileName + QStringLiteral(": ") + config.error;
    return config;
}

} // namespace monitor
