#pragma once

#include "SavedRun.h"

#include <QtCore/QDataStream>

namespace monitor
{

/// Writes \a signal: how it is described and what was received, each record by its own operator.
void writeSignal(QDataStream& stream, const SavedSignal& signal);

/// Whether \a microseconds are a time that may have been recorded: differences of such times do not
/// overflow.
constexpr bool isTime(qint64 microseconds)
{
    constexpr qint64 farthest = 2000000000000000000;
    return microseconds >= -farthest && microseconds <= farthest;
}

/// Reads what writeSignal() has written from a source that need not be trusted. Returns what is
/// wrong with it, else an empty text. Takes memory in proportion to the bytes that are there.
QString readSignal(QDataStream& stream, SavedSignal& signal);

} // namespace monitor
