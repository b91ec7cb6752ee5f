#pragma once

#include "engine/Snapshot.h"

#include <QtCore/QJsonValue>
#include <QtCore/QStringList>

namespace monitor
{

/// The names of the fields in JSON and CSV, in order. Other programs rely on them: a field must not
/// be renamed or removed, and its meaning must not change.
const QStringList& statisticsFieldNames();

/// The values of these fields: a string, a number in full precision, or null for a source and for
/// statistics that the signal does not have.
QVector<QJsonValue> statisticsFieldsOf(const SignalStatistics& statistics);

/// The names of the fields of \a snapshot: if there are groups, also their labels.
QStringList statisticsFieldNames(const Snapshot& snapshot);

/// The values of the fields \a names, one of the lists above. Labels are an object.
QVector<QJsonValue> statisticsFieldsOf(const SignalStatistics& statistics,
                                       const QStringList& names);

/// Whether \a snapshot contains several groups, which have labels.
bool hasLabels(const Snapshot& snapshot);

/// Labels as a text, such as "day=2026-11-22, vehicle=17".
QString labelsOf(const SignalStatistics& statistics);

/// The same as an object.
QJsonValue labelsField(const SignalStatistics& statistics);

/// A string, number, boolean, null or object as JSON. A number has enough digits to read the same
/// double back.
QString toJson(const QJsonValue& value);

/// The members of a JSON object of those \a names and \a values, in one line.
QString toJsonObject(const QStringList& names, const QVector<QJsonValue>& values);

/// A JSON array with each of the \a items, which are JSON, in a line of its own, indented by four.
QString toJsonArray(const QStringList& items);

/// \a text as a cell of comma-separated values (RFC 4180): quoted if necessary.
QString toCsvCell(QString text);

/// A line of comma-separated values, which ends with CR LF. Strings are quoted if
/// necessary, null is empty, and the members of an object are written as in labelsOf(). The decimal
/// separator is always a point.
QString toCsvLine(const QVector<QJsonValue>& values);

/// The same for texts.
QString toCsvLine(const QStringList& texts);

/// The signals of \a snapshot as comma-separated values: a line with the names of the fields, then
/// one line for each signal.
QString formatCsv(const Snapshot& snapshot);

} // namespace monitor
