#include "suggestions.h"

#include <QtCore/QVector>

#include <algorithm>
#include <cstdlib>

namespace monitor
{

namespace
{

struct Candidate {
    QString name;
    int distance = 0;
};

/// How many letters must be changed, inserted, deleted or swapped with their neighbour to turn
/// \a from into \a to.
int editDistance(const QString& from, const QString& to)
{
    QVector<int> beforePrevious(to.size() + 1);
    QVector<int> previous(to.size() + 1);
    QVector<int> row(to.size() + 1);
    for (int j = 0; j <= to.size(); ++j)
        row[j] = j;
    for (int i = 1; i <= from.size(); ++i) {
        beforePrevious.swap(previous);
        previous.swap(row);
        row[0] = i;
        for (int j = 1; j <= to.size(); ++j) {
            const bool isSame = from.at(i - 1) == to.at(j - 1);
            row[j] = std::min(
                {previous.at(j) + 1, row.at(j - 1) + 1, previous.at(j - 1) + (isSame ? 0 : 1)});
            if (i > 1 && j > 1 && from.at(i - 1) == to.at(j - 2) && from.at(i - 2) == to.at(j - 1))
                row[j] = std::min(row.at(j), beforePrevious.at(j - 2) + 1);
        }
    }
    return row.constLast();
}

} // namespace

QStringList nearNames(const QString& name, const QStringList& candidates)
{
    constexpr int maxNames = 3;
    constexpr int shortestPart = 3;
    const QString wanted = name.toCaseFolded();
    QVector<Candidate> found;
    for (const QString& candidate : candidates) {
        const QString folded = candidate.toCaseFolded();
        const auto allowed = std::max(wanted.size(), folded.size()) / 3;
        const int lengthDifference = static_cast<int>(std::abs(wanted.size() - folded.size()));
        if (wanted.size() >= shortestPart && folded.contains(wanted))
            found.append({candidate, lengthDifference});
        else if (lengthDifference <= allowed && editDistance(wanted, folded) <= allowed)
            found.append({candidate, editDistance(wanted, folded)});
    }
    std::stable_sort(found.begin(), found.end(), [](const Candidate& left, const Candidate& right) {
        return left.distance < right.distance;
    });
    QStringList names;
    for (const Candidate& candidate : qAsConst(found))
        names += candidate.name;
    names.removeDuplicates();
    return names.mid(0, maxNames);
}

QString didYouMean(const QString& name, const QStringList& candidates)
{
    const QStringList names = nearNames(name, candidates);
    return names.isEmpty() ? QString()
                           : QStringLiteral(" (did you mean %1?)").arg(joinWords(names, "or"));
}

QString joinWords(QStringList words, const char* conjunction)
{
    if (words.size() < 2)
        return words.value(0);
    const QString last = words.takeLast();
    return words.join(QStringLiteral(", ")) + ' ' + QLatin1String(conjunction) + ' ' + last;
}

} // namespace monitor
