#pragma once

#include "engine/FrameIds.h"

#include <QtCore/QJsonValue>

namespace monitor
{

/// An id as users write it: 3 hexadecimal digits for 11 bits, 8 for 29.
QString formatId(quint32 id, bool extended);

/// The positions in \a bytes, which must be sorted, with ranges, such as "0-2,5".
QString formatPositions(const QVector<int>& bytes);

/// The names of the fields of an id in JSON and CSV, in order. Other programs rely on them: a field
/// must not be renamed or removed, and its meaning must not change.
const QStringList& idFieldNames();

/// The values of these fields. Times are in milliseconds.
QVector<QJsonValue> idFieldsOf(const IdStatistics& id);

/// The table of \a ids, with a column for their buses if they are named.
QString formatIds(const QVector<IdStatistics>& ids);

/// A line for each of the most frequent undecoded ids; empty if everything was decoded.
QString formatUndecoded(const QVector<UndecodedId>& ids);

} // namespace monitor
