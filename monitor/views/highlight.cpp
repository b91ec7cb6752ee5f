#include "highlight.h"

#include "text/Table.h"

namespace monitor
{

Highlight highlightOf(const SnapshotRow& row, int leastRating)
{
    const SignalStatistics& statistics = *row.statistics;
    if (row.isSilent)
        return Highlight::Silence;
    const bool isRated = statistics.count > 0 && !statistics.isPassedThrough;
    return isRated && statistics.rating < leastRating ? Highlight::LowRating : Highlight::None;
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

QString formatHeader(const BusState& bus, const FrameCounts& counts)
{
    return printable(bus.name) +
           QStringLiteral("  %1 s  frames %2  undecoded %3  dropped %4  errors %5  load %6 % of "
                          "%7 kbit/s")
               .arg(static_cast<double>(bus.now) / 1e6, 0, 'f', 1)
               .arg(counts.total)
               .arg(counts.total - counts.decoded)
               .arg(counts.dropped)
               .arg(counts.errors)
               .arg(bus.loadPercent, 0, 'f', 1)
               .arg(bus.bitRate / 1000);
}

} // namespace monitor
