#include "Description.h"

#include <algorithm>
#include <cmath>

namespace monitor
{

bool fitsInto(const SignalDescription& signal, int size)
{
    const int byte = signal.startBit / 8;
    const int bit = signal.startBit % 8;
    // Motorola bits are walked from the highest bit of a byte to its lowest, then on to the next.
    const int first = signal.byteOrder == ByteOrder::Intel ? signal.startBit : byte * 8 + 7 - bit;
    return first + signal.length <= size * 8;
}

ValueRange scaledRange(const SignalDescription& signal)
{
    const double values = std::ldexp(1.0, signal.length);
    const double lowestRaw = signal.isSigned ? -values / 2 : 0;
    const double first = lowestRaw * signal.factor + signal.offset;
    const double last = (lowestRaw + values - 1) * signal.factor + signal.offset;
    return {std::min(first, last), std::max(first, last)};
}

} // namespace monitor
