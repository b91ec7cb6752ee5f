#include "RawBits.h"

#include <cstring>

namespace monitor
{

namespace
{

quint64 bitAt(const quint8* data, int position)
{
    return data[position / 8] >> (position % 8) & 1U;
}

/// The position that is one bit less significant: in Intel order simply the one below, in
/// Motorola order from the lowest bit of a byte on to the highest of the byte after it.
int nextLower(int position, ByteOrder order)
{
    const bool crosses = order == ByteOrder::Motorola && position % 8 == 0;
    return crosses ? position + 15 : position - 1;
}

} // namespace

quint64 extractBits(const quint8* data, const SignalLayout& layout)
{
    const bool intel = layout.byteOrder == ByteOrder::Intel;
    int position = intel ? layout.startBit + layout.length - 1 : layout.startBit;
    quint64 bits = 0;
    for (int i = 0; i < layout.length; ++i) {
        bits = bits << 1 | bitAt(data, position);
        position = nextLower(position, layout.byteOrder);
    }
    return bits;
}

double floatIn(quint64 bits, int length)
{
    const auto shortBits = static_cast<quint32>(bits);
    double number = 0;
    float shortNumber = 0;
    static_assert(sizeof number == sizeof bits && sizeof shortNumber == sizeof shortBits);
    std::memcpy(&number, &bits, sizeof number);
    std::memcpy(&shortNumber, &shortBits, sizeof shortNumber);
    return length == 32 ? static_cast<double>(shortNumber) : number;
}

qint64 signExtended(quint64 bits, int length)
{
    const quint64 sign = quint64{1} << (length - 1);
    return static_cast<qint64>((bits ^ sign) - sign);
}

} // namespace monitor
