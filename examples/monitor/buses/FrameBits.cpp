#include "FrameBits.h"

namespace monitor
{

namespace
{

constexpr int crcBits = 15;
constexpr int unstuffedBits = 13; // CRC and ACK delimiter, ACK, end of frame, intermission

/// Counts the bits of a frame as they are sent, and inserts the stuff bits: after five equal bits
/// comes one of the other value, which counts for the next five.
class BitCounter
{
public:
    void add(quint32 value, int length)
    {
        for (int i = length - 1; i >= 0; --i) {
            const bool bit = value >> i & 1;
            updateCrc(bit);
            send(bit);
        }
    }

    void addCrc()
    {
        const quint32 sent = crc;
        add(sent, crcBits);
    }

    int count() const { return bits; }

private:
    void send(bool bit)
    {
        ++bits;
        equal = bit == last ? equal + 1 : 1;
        last = bit;
        if (equal == 5) {
            ++bits;
            last = !bit;
            equal = 1;
        }
    }

    void updateCrc(bool bit)
    {
        constexpr quint32 polynomial = 0x4599;
        const bool isTop = crc >> (crcBits - 1) & 1;
        crc = crc << 1 & 0x7FFF;
        if (bit != isTop)
            crc ^= polynomial;
    }

    quint32 crc = 0;
    int bits = 0;
    int equal = 0;
    bool last = true; // the bus is recessive before
};

void addHeader(const Frame& frame, BitCounter& counter)
{
    const quint32 remote = frame.remote ? 1 : 0;
    counter.add(0, 1); // start of frame
    if (frame.extended) {
        counter.add(frame.id >> 18, 11);
        counter.add(3, 2); // SRR and IDE
        counter.add(frame.id & 0x3FFFF, 18);
        counter.add(remote << 2, 3); // RTR and two reserved bits
    } else {
        counter.add(frame.id, 11);
        counter.add(remote << 2, 3); // RTR, IDE and a reserved bit
    }
    counter.add(frame.length, 4);
}

} // namespace

int bitsOnBus(const Frame& frame)
{
    constexpr int standardBits = 47;
    constexpr int extendedBits = 67;
    if (frame.length > longestClassicFrame)
        return (frame.extended ? extendedBits : standardBits) + 8 * frame.length;
    BitCounter counter;
    addHeader(frame, counter);
    for (int i = 0; i < frame.length; ++i)
        counter.add(frame.data.at(static_cast<size_t>(i)), 8);
    counter.addCrc();
    return counter.count() + unstuffedBits;
}

} // namespace monitor
