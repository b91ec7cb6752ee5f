#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QJsonValue>
#include <QtCore/QStringList>

namespace monitor
{

/// The names of the fields that programs read, in order. Other programs rely on them: none may be
/// renamed, removed or given another meaning.
const QStringList& statisticsFieldNames();

/// The values of these fields: a text, a number as exact as it is held, or null for a source and
/// for statistics that the signal does not have.
QVector<QJsonValue> statisticsFieldsOf(const SignalStatistics& statistics);

/// A text, number or null as JSON. A number has as many digits as are needed to read the same
/// double back.
QString toJson(const QJsonValue& value);

/// The signals of \a snapshot as comma-separated values (RFC 4180): a line of field names, then one
/// for each signal, ended by CR LF. Texts are quoted where needed; what is null in JSON is empty.
/// The decimal point is a point everywhere.
QString formatCsv(const Snapshot& snapshot);

} // namespace monitor
