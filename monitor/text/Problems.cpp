#include "Problems.h"

#include <utility>

namespace monitor
{

Problems::Problems(QString file, QString summary)
    : fileName(std::move(file)), summaryText(std::move(summary))
{
}

void Problems::add(qint64 line, const QString& text)
{
    ++found;
    if (kept.size() < maxKept)
        kept.append({line, text});
}

QStringList Problems::lines() const
{
    QStringList lines;
    for (const Problem& problem : kept)
        lines += fileName + ':' + QString::number(problem.line) + ": " + problem.text;
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
