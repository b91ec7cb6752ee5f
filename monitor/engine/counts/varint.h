#pragma once

#include <QtCore/qglobal.h>

namespace monitor
{

// A varint is an unsigned number of up to 64 bits in groups of seven bits, the lowest first, one in
// each byte. All bytes but the last have bit 7 set.

/// The length of the longest varint in bytes.
constexpr int longestVarint = 10;

/// Writes \a number to \a to, where there must be room. Returns the place after it.
inline quint8* writeVarint(quint8* to, quint64 number)
{
    constexpr quint64 more = 0x80;
    for (; number >= more; number >>= 7)
        *to++ = static_cast<quint8>(number | more);
    *to++ = static_cast<quint8>(number);
    return to;
}

/// Reads a number from the bytes from \a at to \a end, and moves \a at to the place after it.
/// Returns false if there is no complete number of at most 64 bits.
[[nodiscard]] inline bool readVarint(const quint8*& at, const quint8* end, quint64& number)
{
    constexpr int bits = 64;
    constexpr int groupBits = 7;
    constexpr quint64 more = quint64{1} << groupBits;
    number = 0;
    for (int shift = 0; at < end && shift < bits; shift += groupBits) {
        const quint64 group = *at & (more - 1);
        if (group << shift >> shift != group)
            return false;
        number |= group << shift;
        if ((*at++ & more) == 0)
            return true;
    }
    return false;
}

} // namespace monitor
