#include "BusLoad.h"

#include <array>

namespace monitor
{

namespace
{

constexpr qint64 microsecondsPerSecond = 1000000;
constexpr int crcBits = 15;
constexpr int unstuffedBits = 13; // CRC and ACK delimiter, ACK, end of frame, intermission

/// The equal bits that were sent last. A run of five is followed by a stuff bit of the opposite
/// value, which begins the next run.
struct Run {
    quint8 last = 1; // the bus is recessive before a frame
    quint8 length = 0;
};

/// Returns whether a stuff bit follows.
constexpr bool sendBit(Run& run, bool bit)
{
    run.length = static_cast<quint8>(bit == static_cast<bool>(run.last) ? run.length + 1 : 1);
    run.last = bit ? 1 : 0;
    if (run.length < 5)
        return false;
    run = {static_cast<quint8>(bit ? 0 : 1), 1};
    return true;
}

/// The effect of sending one byte. Whole bytes are looked up in a table because the processor
/// cannot predict branches on single bits.
struct ByteStep {
    Run run;
    quint8 stuffBits = 0;
};

using ByteSteps = std::array<std::array<std::array<ByteStep, 256>, 5>, 2>; // by last and length

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
        for (quint8 length = 0; length < 5; ++length) {
            for (int byte = 0; byte < 256; ++byte)
                steps[last][length][static_cast<size_t>(byte)] = stepOf({last, length}, byte);
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

/// Counts the bits of a frame and its stuff bits in the order of transmission.
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
        const ByteStep& step = byteSteps[run.last][run.length][byte];
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
    // Start of frame (0), id, RTR, other bits, length. In an extended frame, SRR and IDE (both 1)
    // follow the first 11 bits of the id, and two reserved bits (0) follow RTR. In a standard
    // frame, IDE and one reserved bit (both 0) follow RTR.
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
