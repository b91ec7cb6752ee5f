#pragma once

#include "catalogue/Description.h"

#include <QtCore/QMap>

namespace monitor
{

/// A label at a value of an axis.
struct ValueLabel {
    double value;
    QString text;
};

/// The labels of an axis for a signal whose values have \a texts, in ascending order. A value of
/// \a occurring, which must be sorted, is labelled with its text or, without one, with its number;
/// if many values have no text, round numbers are labelled instead. Other values in \a range are
/// labelled only with texts. Labels that are less than \a distance from a more important one are
/// left out: values that occur come first, and among them those with a text. A value that does not
/// occur is not labelled that close to one that does.
QVector<ValueLabel> valueLabels(const QMap<double, QString>& texts,
                                const QVector<double>& occurring, const ValueRange& range,
                                double distance);

/// The interval between ticks at round numbers, so that \a extent has at least \a ticks of them.
double roundInterval(double extent, int ticks);

} // namespace monitor
