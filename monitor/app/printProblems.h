#pragma once

#include "text/Problems.h"

#include <QtCore/QTextStream>

namespace monitor
{

/// Prints the first of \a problems and their total to \a messages; nothing if there are none.
inline void print(const Problems& problems, QTextStream& messages)
{
    for (const QString& line : problems.lines())
        messages << line << '\n';
    if (problems.count() > 0)
        messages << problems.total() << '\n';
}

} // namespace monitor
