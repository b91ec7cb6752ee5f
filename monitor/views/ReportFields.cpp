#include "ReportFields.h"

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace monitor
{

namespace
{

constexpr int figures = 10;

QString nameOf(Protocol protocol)
{
    return protocol == Protocol::J1939 ? QStringLiteral("j1939") : QStringLiteral("canopen");
}

/// The fields from the newest value to the deviators.
QVector<QJsonValue> figuresOf(const SignalReport& report)
{
    if (report.count == 0)
        return QVector<QJsonValue>(figures, QJsonValue::Null);
    if (report.carried) {
        QVector<QJsonValue> fields(figures, QJsonValue::Null);
        if (report.newestNumber)
            fields[0] = *report.newestNumber;
        return fields;
    }
    return {report.newest,         report.average,  report.deviation, report.minimum,
            report.maximum,        report.median,   report.rating,    report.lowerThreshold,
            report.upperThreshold, report.deviators};
}

} // namespace

const QStringList& reportFieldNames()
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
                                   QStringLiteral("unit")};
    return names;
}

QVector<QJsonValue> reportFieldsOf(const SignalReport& report)
{
    QVector<QJsonValue> fields{report.name, nameOf(report.protocol)};
    fields << (report.source ? QJsonValue(*report.source) : QJsonValue(QJsonValue::Null))
           << report.count << report.notAvailable << report.errors;
    fields << figuresOf(report);
    fields << report.unit;
    return fields;
}

// QJsonDocument knows how to escape a text and to write a number, but writes arrays and objects
// only: one in an array is that between two brackets.
QString toJson(const QJsonValue& value)
{
    const QByteArray array = QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact);
    return QString::fromUtf8(array.mid(1, array.size() - 2));
}

} // namespace monitor
