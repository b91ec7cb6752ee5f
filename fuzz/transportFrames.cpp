#include <can/TransportProtocol.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>

namespace
{

constexpr int framedBytes = 10;

/// A frame from ten bytes. The lowest bit of the first byte is 1 for a data packet, 0 for
/// connection management; its other bits are the source address. The destination address and the
/// data follow.
monitor::Frame frameOf(const std::uint8_t* bytes)
{
    monitor::Frame frame;
    const quint32 pgn = (bytes[0] & 1) != 0 ? 60160 : 60416;
    frame.id = pgn << 8 | static_cast<quint32>(bytes[1] << 8) | bytes[0] >> 1;
    frame.extended = true;
    frame.length = monitor::longestClassicFrame;
    std::copy_n(bytes + 2, monitor::longestClassicFrame, frame.data.begin());
    return frame;
}

} // namespace

/// Every message must have a possible length, and must have taken more frames than its packets,
/// because an announcement precedes them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::TransportProtocol protocol;
    for (; size >= framedBytes; data += framedBytes, size -= framedBytes) {
        const auto message = protocol.take(frameOf(data));
        if (!message)
            continue;
        const monitor::Payload& payload = message->payload;
        const QByteArray bytes(reinterpret_cast<const char*>(payload.data), payload.length);
        if (bytes.size() < 9 || bytes.size() > 1785 || message->frames <= (bytes.size() + 6) / 7)
            std::abort();
    }
    return 0;
}
