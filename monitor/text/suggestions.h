#pragma once

#include <QtCore/QStringList>

namespace monitor
{

/// The names among \a candidates that \a name may be a misspelling of: at most 3, the nearest
/// first, equally near ones in the order of \a candidates. A candidate is near if it differs in
/// case only, turns into \a name by changing, inserting, dropping or swapping no more than a third
/// of its letters, or contains \a name, of 3 letters or more. Case is ignored. Empty if no
/// candidate is near.
QStringList nearNames(const QString& name, const QStringList& candidates);

/// nearNames() as the end of an error message, such as " (did you mean EngineSpeed or
/// EngineLoad?)"; empty if no candidate is near.
QString didYouMean(const QString& name, const QStringList& candidates);

/// \a words as "a, b and c" with that \a conjunction; empty without words.
QString listed(QStringList words, const char* conjunction);

} // namespace monitor
