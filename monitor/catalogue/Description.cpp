#include "Description.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace monitor
{

bool contains(const QVector<RawRange>& ranges, quint64 value)
{
    return std::any_of(ranges.begin(), ranges.end(), [value](const RawRange& range) {
        return range.lowest <= value && value <= range.highest;
    });
}

bool fitsInto(const SignalLayout& layout, int size)
{
    const int byte = layout.startBit / 8;
    const int bit = layout.startBit % 8;
    // Motorola signals run from the highest bit of a byte to its lowest, then on to the next byte.
    const int first = layout.byteOrder == ByteOrder::Intel ? layout.startBit : byte * 8 + 7 - bit;
    return first + layout.length <= size * 8;
}

quint64 bitsOfFloat(double number, int length)
{
    const auto shortNumber = static_cast<float>(number);
    quint64 bits = 0;
    quint32 shortBits = 0;
    static_assert(sizeof bits == sizeof number && sizeof shortBits == sizeof shortNumber);
    std::memcpy(&bits, &number, sizeof bits);
    std::memcpy(&shortBits, &shortNumber, sizeof shortBits);
    return length == 32 ? shortBits : bits;
}

ValueRange scaledRange(const SignalLayout& layout, const Scaling& scaling)
{
    const double values = std::ldexp(1.0, layout.length);
    const double lowestRaw = layout.isSigned ? -values / 2 : 0;
    const double first = lowestRaw * scaling.factor + scaling.offset;
    const double last = (lowestRaw + values - 1) * scaling.factor + scaling.offset;
    return {std::min(first, last), std::max(first, last)};
}

} // namespace monitor
