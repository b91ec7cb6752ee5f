#include "LiveHeader.h"

#include "text/Table.h"

namespace monitor
{

QString formatHeader(const LiveHeader& header)
{
    const FrameCounts& counts = header.counts;
    return printable(header.bus) +
           QStringLiteral("  %1 s  frames %2  undecoded %3  dropped %4  errors %5  load %6 % of "
                          "%7 kbit/s")
               .arg(header.seconds, 0, 'f', 1)
               .arg(counts.total)
               .arg(counts.total - counts.decoded)
               .arg(counts.dropped)
               .arg(counts.errors)
               .arg(header.load, 0, 'f', 1)
               .arg(header.bitRate / 1000);
}

} // namespace monitor
