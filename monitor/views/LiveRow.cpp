#include "LiveRow.h"

namespace monitor
{

Highlight highlightOf(const LiveRow& row, int leastRating)
{
    const SignalReport& report = row.report;
    if (row.silent)
        return Highlight::Silence;
    const bool isLow = report.count > 0 && !report.carried && report.rating < leastRating;
    return isLow ? Highlight::LowRating : Highlight::None;
}

QString markOf(Highlight highlight)
{
    switch (highlight) {
    case Highlight::LowRating:
        return QStringLiteral("!");
    case Highlight::Silence:
        return QStringLiteral("~");
    case Highlight::None:
        break;
    }
    return QStringLiteral(" ");
}

} // namespace monitor
