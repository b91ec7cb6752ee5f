#include "statisticsFields.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>
#include <QtCore/QJsonObject>

#include <algorithm>

namespace monitor
{

namespace
{

constexpr int statisticsCount = 10; // from the newest value to the deviators

QString nameOf(Protocol protocol)
{
    return protocol == Protocol::J1939 ? QStringLiteral("j1939") : QStringLiteral("canopen");
}

/// The fields from the newest value to the deviators.
QVector<QJsonValue> statisticsOf(const SignalStatistics& statistics)
{
    if (statistics.count == 0)
        return QVector<QJsonValue>(statisticsCount, QJsonValue::Null);
    if (statistics.isPassedThrough) {
        QVector<QJsonValue> fields(statisticsCount, QJsonValue::Null);
        if (statistics.newestNumber)
            fields[0] = *statistics.newestNumber;
        return fields;
    }
    const auto ofNewest = [&statistics](const QJsonValue& value) {
        return statistics.isNewestKnown ? value : QJsonValue(QJsonValue::Null);
    };
    return {ofNewest(statistics.newest), statistics.average,        statistics.deviation,
            statistics.minimum,          statistics.maximum,        statistics.median,
            ofNewest(statistics.rating), statistics.lowerThreshold, statistics.upperThreshold,
            statistics.deviators};
}

QString membersOf(const QJsonObject& object)
{
    QStringList members;
    for (auto member = object.begin(); member != object.end(); ++member)
        members += member.key() + '=' + member.value().toString();
    return members.join(QStringLiteral(", "));
}

QString cellOf(const QJsonValue& value)
{
    if (value.isNull())
        return QString();
    if (value.isObject())
        return toCsvCell(membersOf(value.toObject()));
    return value.isString() ? toCsvCell(value.toString()) : toJson(value);
}

} // namespace

const QStringList& statisticsFieldNames()
{
    static const QStringList names{QStringLiteral("name"),
                                   QStringLiteral("kind"),
                                   QStringLiteral("source"),
                                   QStringLiteral("count"),
                                   QStringLiteral("notAvailable"),
                                   QStringLiteral("error"),
                                   QStringLiteral("newest"),
                                   QStringLiteral("average"),
                                   QStringLiteral("deviation"),
                                   QStringLiteral("minimum"),
                                   QStringLiteral("maximum"),
                                   QStringLiteral("median"),
                                   QStringLiteral("rating"),
                                   QStringLiteral("lowerThreshold"),
                                   QStringLiteral("upperThreshold"),
                                   QStringLiteral("deviators"),
                                   QStringLiteral("unit"),
                                   QStringLiteral("newestText"),
                                   QStringLiteral("bus")};
    return names;
}

QVector<QJsonValue> statisticsFieldsOf(const SignalStatistics& statistics)
{
    QVector<QJsonValue> fields{statistics.name, nameOf(statistics.protocol)};
    fields << (statistics.source ? QJsonValue(*statistics.source) : QJsonValue(QJsonValue::Null))
           << statistics.count << statistics.notAvailable << statistics.errors;
    fields << statisticsOf(statistics);
    fields << statistics.unit
           << (statistics.newestMeaning.isEmpty() ? QJsonValue(QJsonValue::Null)
                                                  : QJsonValue(statistics.newestMeaning))
           << (statistics.bus.isEmpty() ? QJsonValue(QJsonValue::Null)
                                        : QJsonValue(statistics.bus));
    return fields;
}

QStringList statisticsFieldNames(const Snapshot& snapshot)
{
    QStringList names = statisticsFieldNames();
    if (hasLabels(snapshot))
        names += QStringLiteral("labels");
    return names;
}

QVector<QJsonValue> statisticsFieldsOf(const SignalStatistics& statistics, const QStringList& names)
{
    QVector<QJsonValue> fields = statisticsFieldsOf(statistics);
    if (fields.size() < names.size())
        fields << labelsField(statistics);
    return fields;
}

bool hasLabels(const Snapshot& snapshot)
{
    return std::any_of(snapshot.rows.cbegin(), snapshot.rows.cend(),
                       [](const SnapshotRow& row) { return !row.statistics->labels.isEmpty(); });
}

QString labelsOf(const SignalStatistics& statistics)
{
    return membersOf(labelsField(statistics).toObject());
}

QJsonValue labelsField(const SignalStatistics& statistics)
{
    QJsonObject labels;
    for (auto label = statistics.labels.begin(); label != statistics.labels.end(); ++label)
        labels.insert(label.key(), label.value());
    return labels;
}

// QJsonDocument escapes strings and writes numbers, but accepts only arrays and objects. So the
// value is put into an array and the brackets are removed.
QString toJson(const QJsonValue& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

QString toJsonObject(const QStringList& names, const QVector<QJsonValue>& values)
{
    QStringList members;
    for (int i = 0; i < names.size(); ++i)
        members += toJson(names.at(i)) + QStringLiteral(": ") + toJson(values.at(i));
    return '{' + members.join(QStringLiteral(", ")) + '}';
}

QString toJsonArray(const QStringList& items)
{
    return items.isEmpty() ? QStringLiteral("[]")
                           : QStringLiteral("[\n    ") + items.join(QStringLiteral(",\n    ")) +
                                 QStringLiteral("\n  ]");
}

QString toCsvCell(QString text)
{
    const bool needsQuotes =
        text.contains(',') || text.contains('"') || text.contains('\r') || text.contains('\n');
    if (!needsQuotes)
        return text;
    text.replace('"', QStringLiteral("\"\""));
    return '"' + text + '"';
}

QString toCsvLine(const QVector<QJsonValue>& values)
{
    QStringList cells;
    for (const QJsonValue& value : values)
        cells += cellOf(value);
    return cells.join(',') + QStringLiteral("\r\n");
}

QString toCsvLine(const QStringList& texts)
{
    QVector<QJsonValue> values;
    for (const QString& text : texts)
        values.append(text);
    return toCsvLine(values);
}

QString formatCsv(const Snapshot& snapshot)
{
    const QStringList names = statisticsFieldNames(snapshot);
    QString csv = toCsvLine(names);
    for (const SnapshotRow& row : snapshot.rows)
        csv += toCsvLine(statisticsFieldsOf(*row.statistics, names));
    return csv;
}

} // namespace monitor
