#pragma once

#include <QtCore/QStringList>

namespace monitor
{

/// Up to 3 of \a candidates that \a name may be a misspelling of, the nearest first; candidates at
/// the same distance keep their order. Ignoring case, a candidate is near if it contains \a name
/// and \a name has at least 3 letters, or if changing, inserting, deleting or swapping no more than
/// a third of the letters turns one into the other. Empty if no candidate is near.
QStringList nearNames(const QString& name, const QStringList& candidates);

/// nearNames() as the end of an error message, such as " (did you mean EngineSpeed or
/// EngineLoad?)"; empty if no candidate is near.
QString didYouMean(const QString& name, const QStringList& candidates);

/// Joins \a words with commas and \a conjunction, as in "a, b and c". Empty if there are no words.
QString joinWords(QStringList words, const char* conjunction);

} // namespace monitor
