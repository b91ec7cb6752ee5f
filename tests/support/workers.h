#pragma once

#include <waitUntil.h>

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

/// How many worker threads this process has: Qt names a thread after its class.
inline int workerCount()
{
    int count = 0;
    QDirIterator tasks(QStringLiteral("/proc/self/task"), QDir::Dirs | QDir::NoDotAndDotDot);
    while (tasks.hasNext()) {
        QFile name(tasks.next() + QStringLiteral("/comm"));
        count += name.open(QIODevice::ReadOnly) && name.readAll() == "QThread\n";
    }
    return count;
}

/// How many threads it has: one counts from its start on, before it bears a name.
inline int threadCount()
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    return tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size();
}

/// Waits until this process has \a count workers: one begins to bear its name a moment after its
/// start, and one that has been waited for may still be leaving.
inline bool settlesAt(int count)
{
    return waitUntil([count] { return workerCount() == count; });
}
