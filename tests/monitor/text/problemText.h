#pragma once

#include <text/Problems.h>

/// The problems as the program prints them, each followed by a line feed.
inline QString textOf(const monitor::Problems& problems)
{
    QString text;
    for (const QString& line : problems.lines())
        text += line + '\n';
    return text;
}
