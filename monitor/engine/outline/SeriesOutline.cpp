#include "SeriesOutline.h"

#include <algorithm>
#include <limits>

namespace monitor
{

void SeriesOutline::add(std::optional<qint64> microseconds, double value)
{
    if (microseconds && isTimed)
        addAt(*microseconds, value);
    else
        addNumbered(value);
    ++count;
}

void SeriesOutline::addAt(qint64 microseconds, double value)
{
    if (count == 0)
        first = newest = microseconds;
    const bool isAfterReset = microseconds < newest;
    // Unsigned, since the difference may exceed the range of qint64.
    const quint64 step =
        isAfterReset ? 0 : static_cast<quint64>(microseconds) - static_cast<quint64>(newest);
    newest = microseconds;
    position += std::min(step, std::numeric_limits<quint64>::max() - position);
    if (whole.isFull() && !whole.isMerged())
        countSteps();
    add({position, position, value, value, value, 1, false, isAfterReset});
    if (whole.isMerged() && step > 0)
        steps.add(step);
}

void SeriesOutline::addNumbered(double value)
{
    if (isTimed) {
        isTimed = false;
        steps = StepCounts();
        whole.number();
        byAge.number();
    }
    add({count, count, value, value, value});
}

void SeriesOutline::add(const OutlineColumn& value)
{
    whole.add(value);
    if (detail == Detail::Newest)
        byAge.add(value);
}

/// Counts the steps between the values, each of which has a column of its own.
void SeriesOutline::countSteps()
{
    for (size_t i = 1; i < columns().size(); ++i) {
        const quint64 step = columns()[i].begin - columns()[i - 1].end;
        if (step > 0)
            steps.add(step);
    }
}

double SeriesOutline::usualStep() const
{
    return whole.isMerged() ? steps.median() : medianStepIn(partOf(columns()));
}

} // namespace monitor
