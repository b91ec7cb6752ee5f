#include "BusLoad.h"

namespace monitor
{

namespace
{

constexpr qint64 microsecondsPerSecond = 1000000;

} // namespace

void BusLoad::add(qint64 now, qint64 bits)
{
    totals.push_back({now, bits + (totals.empty() ? 0 : totals.back().bits)});
    while (totals.size() > 2 && totals.at(1).time <= now - microsecondsPerSecond)
        totals.pop_front();
}

double BusLoad::percent() const
{
    if (totals.empty() || totals.back().time == totals.front().time)
        return 0;
    const auto bits = static_cast<double>(totals.back().bits - totals.front().bits);
    const auto time = static_cast<double>(totals.back().time - totals.front().time);
    return 100 * bits * microsecondsPerSecond / (time * rate);
}

} // namespace monitor
