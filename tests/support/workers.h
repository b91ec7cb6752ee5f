#pragma once

#include <waitUntil.h>

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFile>

/// The number of worker threads in this process. Qt names a thread after its class.
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

/// The number of threads in this process, including those that do not have their name yet.
inline int threadCount()
{
    const QDir tasks(QStringLiteral("/proc/self/task"));
    return static_cast<int>(tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

/// Waits until this process has \a count workers. A worker gets its name shortly after it starts,
/// and one that has been waited for may still be ending.
inline bool settlesAt(int count)
{
    return waitUntil([count] { return workerCount() == count; });
}
