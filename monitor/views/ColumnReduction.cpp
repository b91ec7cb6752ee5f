#include "ColumnReduction.h"

#include <algorithm>

namespace monitor
{

namespace
{

int columnOf(double x, double from, double to, int columns)
{
    if (!(to > from))
        return 0;
    return static_cast<int>(std::clamp((x - from) / (to - from) * columns, 0.0, columns - 1.0));
}

void appendExtremes(const QPointF* begin, const QPointF* end, QVector<QPointF>& line)
{
    const auto isLower = [](const QPointF& a, const QPointF& b) { return a.y() < b.y(); };
    const auto [lowest, highest] = std::minmax_element(begin, end, isLower);
    const auto [first, second] = std::minmax(lowest, highest);
    line.append(*first);
    if (first->y() != second->y())
        line.append(*second);
}

} // namespace

QVector<QVector<QPointF>> reduceToColumns(const Trace& trace, double from, double to, int columns)
{
    QVector<QVector<QPointF>> lines;
    const QPointF* const first = trace.points.constBegin();
    const QPointF* const last = trace.points.constEnd();
    for (const QPointF* begin = first; begin != last;) {
        const int column = columnOf(begin->x(), from, to, columns);
        const QPointF* const end = std::find_if(begin, last, [=](const QPointF& point) {
            return columnOf(point.x(), from, to, columns) != column;
        });
        const auto index = static_cast<int>(begin - first);
        if (index == 0 || std::binary_search(trace.breaks.begin(), trace.breaks.end(), index))
            lines.append(QVector<QPointF>());
        appendExtremes(begin, end, lines.last());
        begin = end;
    }
    return lines;
}

} // namespace monitor
