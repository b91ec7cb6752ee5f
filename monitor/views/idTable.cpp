#include "idTable.h"

#include "statisticsTable.h"
#include "text/Table.h"
#include "text/numbers.h"

#include <algorithm>

namespace monitor
{

namespace
{

QJsonValue orNull(bool isGiven, const QJsonValue& value)
{
    return isGiven ? value : QJsonValue(QJsonValue::Null);
}

QString formatLengths(const IdStatistics& id)
{
    return id.shortest == id.longest ? QString::number(id.shortest)
                                     : QStringLiteral("%1-%2").arg(id.shortest).arg(id.longest);
}

/// A time in milliseconds, with at most the digits of the nanoseconds.
QString formatTime(bool isGiven, double milliseconds)
{
    return isGiven ? formatComputed(milliseconds) : QString();
}

QStringList cellsOf(const IdStatistics& id)
{
    const bool hasPeriods = id.periods > 0;
    return {formatId(id.id, id.extended),
            id.message,
            QString::number(id.frames),
            formatTime(hasPeriods, id.averagePeriod),
            formatTime(hasPeriods, id.deviation),
            formatTime(hasPeriods, id.minimum),
            formatTime(hasPeriods, id.maximum),
            formatTime(id.cycleTime.has_value(), id.cycleTime.value_or(0)),
            formatLengths(id),
            formatPositions(id.changing)};
}

} // namespace

QString formatId(quint32 id, bool extended)
{
    return QString::number(id, 16).toUpper().rightJustified(extended ? 8 : 3, '0');
}

QString formatPositions(const QVector<int>& bytes)
{
    QStringList ranges;
    for (int i = 0; i < bytes.size();) {
        const int first = bytes.at(i);
        int last = first;
        while (++i < bytes.size() && bytes.at(i) == last + 1)
            ++last;
        ranges +=
            first == last ? QString::number(first) : QStringLiteral("%1-%2").arg(first).arg(last);
    }
    return ranges.join(',');
}

const QStringList& idFieldNames()
{
    static const QStringList names{QStringLiteral("bus"),          QStringLiteral("id"),
                                   QStringLiteral("extended"),     QStringLiteral("transported"),
                                   QStringLiteral("message"),      QStringLiteral("frames"),
                                   QStringLiteral("remoteFrames"), QStringLiteral("shortest"),
                                   QStringLiteral("longest"),      QStringLiteral("changingBytes"),
                                   QStringLiteral("periods"),      QStringLiteral("averagePeriod"),
                                   QStringLiteral("deviation"),    QStringLiteral("minimum"),
                                   QStringLiteral("maximum"),      QStringLiteral("cycleTime")};
    return names;
}

QVector<QJsonValue> idFieldsOf(const IdStatistics& id)
{
    const bool hasPeriods = id.periods > 0;
    return {orNull(!id.bus.isEmpty(), id.bus),
            formatId(id.id, id.extended),
            id.extended,
            id.isTransported,
            orNull(!id.message.isEmpty(), id.message),
            id.frames,
            id.remoteFrames,
            id.shortest,
            id.longest,
            formatPositions(id.changing),
            id.periods,
            orNull(hasPeriods, id.averagePeriod),
            orNull(hasPeriods, id.deviation),
            orNull(hasPeriods, id.minimum),
            orNull(hasPeriods, id.maximum),
            orNull(id.cycleTime.has_value(), id.cycleTime.value_or(0))};
}

QString formatIds(const QVector<IdStatistics>& ids)
{
    const bool hasBuses = std::any_of(ids.cbegin(), ids.cend(),
                                      [](const IdStatistics& id) { return !id.bus.isEmpty(); });
    QVector<Column> columns{{QStringLiteral("id"), Alignment::Right},
                            {QStringLiteral("message"), Alignment::Left},
                            {QStringLiteral("frames"), Alignment::Right},
                            {QStringLiteral("period/ms"), Alignment::Right},
                            {QStringLiteral("deviation"), Alignment::Right},
                            {QStringLiteral("minimum"), Alignment::Right},
                            {QStringLiteral("maximum"), Alignment::Right},
                            {QStringLiteral("cycle time"), Alignment::Right},
                            {QStringLiteral("bytes"), Alignment::Right},
                            {QStringLiteral("changing"), Alignment::Left}};
    if (hasBuses)
        columns.prepend({QStringLiteral("bus"), Alignment::Left});
    QVector<QStringList> rows;
    for (const IdStatistics& id : ids)
        rows.append(hasBuses ? QStringList(id.bus) + cellsOf(id) : cellsOf(id));
    return formatTable(columns, rows);
}

QString formatUndecoded(const QVector<UndecodedId>& ids)
{
    constexpr int maxLines = 10;
    QString lines;
    for (const UndecodedId& id : ids.mid(0, maxLines)) {
        lines += QStringLiteral("undecoded   %1%2: %3 frame(s)\n")
                     .arg(formatId(id.id, id.extended), busSuffix(id.bus))
                     .arg(id.frames);
    }
    if (ids.size() > maxLines)
        lines += QStringLiteral("undecoded   %1 more id(s); \"vantrel ids\" lists all of them\n")
                     .arg(ids.size() - maxLines);
    return lines;
}

} // namespace monitor
