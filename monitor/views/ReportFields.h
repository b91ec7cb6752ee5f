#pragma once

#include "engine/SignalReport.h"

#include <QtCore/QJsonValue>
#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace monitor
{

/// The names of the fields that programs read, in order. Other programs rely on them: none may be
/// renamed, removed or given another meaning.
const QStringList& reportFieldNames();

/// The values of these fields: a text, a number as exact as it is held, or null for a source and
/// for figures that the signal does not have.
QVector<QJsonValue> reportFieldsOf(const SignalReport& report);

/// A text, number or null as JSON. A number comes out with as many digits as it takes to read the
/// same double back.
QString toJson(const QJsonValue& value);

} // namespace monitor
