#include "LiveHeader.h"

#include "Table.h"

namespace monitor
{

QString formatHeader(const LiveHeader& header)
{
    const FrameCounts& counts = header.counts;
    return QStringLiteral("%1  %2 s  frames %3  undecoded %4  dropped %5  errors %6  load %7 % of "
                          "%8 kbit/s")
        .arg(printable(header.bus))
        .arg(header.seconds, 0, 'f', 1)
        .arg(counts.total)
        .arg(counts.total - counts.decoded)
        .arg(counts.dropped)
        .arg(counts.errors)
        .arg(header.load, 0, 'f', 1)
        .arg(header.bitRate / 1000);
}

} // namespace monitor
