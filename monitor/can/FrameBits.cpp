#include "FrameBits.h"

#include <array>

namespace monitor
{

namespace
{

constexpr int crcBits = 15;
constexpr int unstuffedBits = 13; // CRC and ACK delimiter, ACK, end of frame, intermission

/// How many equal bits were sent last, and which. After five equal bits comes a stuff bit of the
/// other value, which counts for the next five.
struct Run {
    quint8 last = 1; // the bus is recessive before
    quint8 equal = 0;
};

constexpr bool sendBit(Run& run, bool bit)
{
    run.equal = static_cast<quint8>(bit == static_cast<bool>(run.last) ? run.equal + 1 : 1);
    run.last = bit ? 1 : 0;
    if (run.equal < 5)
        return false;
    run = {static_cast<quint8>(bit ? 0 : 1), 1};
    return true;
}

/// What a byte does: it is sent as a whole, since nobody can foretell single bits.
struct ByteStep {
    Run run;
    quint8 stuffBits = 0;
};

using ByteSteps = std::array<std::array<std::array<ByteStep, 256>, 5>, 2>; // by last and equal

constexpr ByteStep stepOf(Run run, int byte)
{
    ByteStep step{run, 0};
    for (int i = 7; i >= 0; --i)
        step.stuffBits = static_cast<quint8>(step.stuffBits + sendBit(step.run, byte >> i & 1));
    return step;
}

constexpr ByteSteps makeByteSteps()
{
    ByteSteps steps{};
    for (quint8 last = 0; last < 2; ++last) {
        for (quint8 equal = 0; equal < 5; ++equal) {
            for (int byte = 0; byte < 256; ++byte)
                steps[last][equal][static_cast<size_t>(byte)] = stepOf({last, equal}, byte);
        }
    }
    return steps;
}

constexpr quint32 crcAfterBit(quint32 crc, quint32 bit)
{
    constexpr quint32 polynomial = 0x4599;
    const bool differs = (crc >> (crcBits - 1)) != bit;
    return (crc << 1 & 0x7FFF) ^ (differs ? polynomial : 0);
}

constexpr std::array<quint32, 256> makeCrcs()
{
    std::array<quint32, 256> crcs{};
    for (quint32 byte = 0; byte < 256; ++byte) {
        for (int i = 7; i >= 0; --i)
            crcs[byte] = crcAfterBit(crcs[byte], byte >> i & 1);
    }
    return crcs;
}

constexpr ByteSteps byteSteps = makeByteSteps();
constexpr std::array<quint32, 256> crcs = makeCrcs();

/// Counts the bits of a frame with the stuff bits, as they are sent.
class BitCounter
{
public:
    void add(quint64 value, int length)
    {
        for (; length % 8 != 0; --length)
            addBit(value >> (length - 1) & 1);
        for (; length > 0; length -= 8)
            addByte(static_cast<quint8>(value >> (length - 8)));
    }

    void addCrc()
    {
        const quint32 sent = crc;
        add(sent, crcBits);
    }

    int count() const { return bits; }

private:
    void addBit(bool bit)
    {
        crc = crcAfterBit(crc, bit ? 1 : 0);
        bits += 1 + (sendBit(run, bit) ? 1 : 0);
    }

    void addByte(quint8 byte)
    {
        crc = (crc << 8 & 0x7FFF) ^ crcs[crc >> (crcBits - 8) ^ byte];
        const ByteStep& step = byteSteps[run.last][run.equal][byte];
        bits += 8 + step.stuffBits;
        run = step.run;
    }

    quint32 crc = 0;
    int bits = 0;
    Run run;
};

void addHeader(const Frame& frame, BitCounter& counter)
{
    const quint64 remote = frame.remote ? 1 : 0;
    const quint64 id = frame.id;
    // Start of frame (0), id, RTR and further bits, length. With 29 bits SRR and IDE (1) stand
    // after the first 11 of the id, and two reserved bits (0) after RTR; with 11 bits IDE and one
    // reserved bit do.
    if (frame.extended)
        counter.add((id >> 18 << 27) | (quint64{3} << 25) | ((id & 0x3FFFF) << 7) | (remote << 6) |
                        frame.length,
                    39);
    else
        counter.add((id << 7) | (remote << 6) | frame.length, 19);
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
        counter.add(frame.data[static_cast<size_t>(i)], 8);
    counter.addCrc();
    return counter.count() + unstuffedBits;
}

} // namespace monitor
