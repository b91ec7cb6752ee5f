#include "ConfigFile.h"

#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

namespace monitor
{

namespace
{

/// The complaint about a member of \a object that is not among \a known.
QString findUnknown(const QJsonObject& object, const QStringList& known)
{
    for (const QString& key : object.keys()) {
        if (!known.contains(key))
            return QStringLiteral("unknown setting \"%1\"").arg(key);
    }
    return QString();
}

/// Whether the member is missing or a number, which then replaces \a number.
bool readDouble(const QJsonValue& value, double& number)
{
    if (value.isDouble())
        number = value.toDouble();
    return value.isDouble() || value.isUndefined();
}

bool readScaling(const QJsonObject& settings, SignalScaling& scaling)
{
    const QJsonValue unit = settings.value(QLatin1String("unit"));
    scaling.unit = unit.toString().simplified();
    return readDouble(settings.value(QLatin1String("factor")), scaling.factor) &&
           readDouble(settings.value(QLatin1String("offset")), scaling.offset) &&
           scaling.factor != 0 && (unit.isUndefined() || unit.isString());
}

bool readLimits(const QJsonValue& value, ValueRange& limits)
{
    const QJsonArray ends = value.toArray();
    limits = {ends.at(0).toDouble(), ends.at(1).toDouble()};
    return ends.size() == 2 && ends.at(0).isDouble() && ends.at(1).isDouble() &&
           limits.lowest <= limits.highest;
}

/// Reads the settings of the signals that \a pattern means.
QString readSignal(const QString& pattern, const QJsonObject& settings, Config& config)
{
    QString complaint = findUnknown(settings, {QStringLiteral("factor"), QStringLiteral("offset"),
                                               QStringLiteral("unit"), QStringLiteral("limits"),
                                               QStringLiteral("reserved")});
    SignalScaling scaling{pattern};
    if (!complaint.isEmpty())
        return complaint;
    if (!readScaling(settings, scaling))
        return QStringLiteral("factor and offset need numbers, not 0 as a factor; unit a text");
    if (settings.contains("factor") || settings.contains("offset") || settings.contains("unit"))
        config.scalings += scaling;
    SignalLimits given{pattern, {0, 0}};
    if (settings.contains("limits") && !readLimits(settings.value("limits"), given.limits))
        return QStringLiteral("limits need two numbers, the lower one first");
    if (settings.contains("limits"))
        config.limits += given;
    if (!settings.value("reserved").isBool() && settings.contains("reserved"))
        return QStringLiteral("reserved needs true or false");
    if (settings.contains("reserved"))
        config.reservations += {pattern, settings.value("reserved").toBool()};
    return QString();
}

QString readSignals(const QJsonValue& value, Config& config)
{
    const QJsonObject patterns = value.toObject();
    if (!value.isUndefined() && !value.isObject())
        return QStringLiteral("signals needs an object");
    for (auto it = patterns.constBegin(); it != patterns.constEnd(); ++it) {
        const QString complaint = it.value().isObject()
                                      ? readSignal(it.key(), it.value().toObject(), config)
                                      : QStringLiteral("settings need an object");
        if (!complaint.isEmpty())
            return QStringLiteral("signal \"%1\": %2").arg(it.key(), complaint);
        config.patterns += it.key();
    }
    return QString();
}

QString readSettings(const QJsonObject& settings, Config& config)
{
    QString complaint = findUnknown(settings, {QStringLiteral("k"), QStringLiteral("signals")});
    if (!complaint.isEmpty())
        return complaint;
    const QJsonValue k = settings.value(QLatin1String("k"));
    if (!k.isUndefined())
        config.k = k.toDouble(-1);
    if (config.k && *config.k < 0)
        return QStringLiteral("k needs a number that is not negative");
    return readSignals(settings.value(QLatin1String("signals")), config);
}

} // namespace

QString readConfig(const QByteArray& text, Config& config)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(text, &error);
    if (error.error != QJsonParseError::NoError)
        return QStringLiteral("line %1: %2")
            .arg(text.left(error.offset).count('\n') + 1)
            .arg(error.errorString());
    if (!document.isObject())
        return QStringLiteral("no object of settings");
    return readSettings(document.object(), config);
}

QString readConfigFile(const QString& fileName, Config& config)
{
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly))
        return QStringLiteral("%1: cannot be read: %2").arg(fileName, file.errorString());
    const QByteArray text = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return QStringLiteral("%1: cannot be read: %2").arg(fileName, file.errorString());
    const QString complaint = readConfig(text, config);
    return complaint.isEmpty() ? complaint : fileName + QStringLiteral(": ") + complaint;
}

} // namespace monitor
