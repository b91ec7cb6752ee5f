#include "Problems.h"

#include <utility>

namespace monitor
{

Problems::Problems(QString file, QString summary, ProblemPosition kind)
    : fileName(std::move(file)), summaryText(std::move(summary)), positionKind(kind)
{
}

void Problems::add(qint64 position, const QString& text)
{
    ++found;
    if (kept.size() < maxKept)
        kept.append({position, text});
}

QStringList Problems::lines() const
{
    const QString separator =
        positionKind == ProblemPosition::Line ? QStringLiteral(":") : QStringLiteral(": byte ");
    QStringList lines;
    for (const Problem& problem : kept)
        lines += fileName + separator + QString::number(problem.position) + ": " + problem.text;
    return lines;
}

QString Problems::total() const
{
    if (found == 0)
        return QString();
    const QString total = fileName + ": " + QString::number(found) + ' ' + summaryText;
    return found > kept.size() ? total + QStringLiteral(", of which %1 are shown").arg(kept.size())
                               : total;
}

} // namespace monitor
