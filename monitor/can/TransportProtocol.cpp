#include "TransportProtocol.h"

#include <algorithm>

namespace monitor
{

namespace
{

constexpr quint32 controlPgn = 60416;
constexpr quint32 packetPgn = 60160;
constexpr int bytesInPacket = 7; // after the packet number
constexpr int shortestMessage = 9;
constexpr int longestMessage = 1785;
constexpr quint8 globalAddress = 255;
constexpr quint32 lastPgn = 0x3FFFF;

enum Control : quint8 { RequestToSend = 16, ClearToSend = 17, BroadcastAnnounce = 32, Abort = 255 };

quint8 destinationOf(const Frame& frame)
{
    return static_cast<quint8>(frame.id >> 8);
}

quint32 keyOf(quint8 source, quint8 destination)
{
    return static_cast<quint32>(source << 8 | destination);
}

/// The key of the session that \a frame belongs to if its source sends the message.
quint32 senderKeyOf(const Frame& frame)
{
    return keyOf(sourceAddressOf(frame.id), destinationOf(frame));
}

/// The key of the session that \a frame belongs to if its source receives the message.
quint32 receiverKeyOf(const Frame& frame)
{
    return keyOf(destinationOf(frame), sourceAddressOf(frame.id));
}

quint32 announcedPgn(const Frame& frame)
{
    return static_cast<quint32>(frame.data[5] | frame.data[6] << 8 | frame.data[7] << 16);
}

/// An id for the message. Its priority is 0, since it is unknown.
quint32 idOf(quint32 pgn, const Frame& packet)
{
    const quint32 id = pgn << 8 | sourceAddressOf(packet.id);
    const auto destination = static_cast<quint32>(destinationOf(packet));
    return hasDestination(id) ? (id & ~0xFF00U) | destination << 8 : id;
}

} // namespace

bool isTransportId(quint32 id)
{
    const quint32 pgn = pgnOf(id);
    return pgn == controlPgn || pgn == packetPgn;
}

std::optional<TransportedMessage> TransportProtocol::take(const Frame& frame, bool isDecoded)
{
    if (!frame.extended || frame.remote || frame.length != longestClassicFrame)
        return std::nullopt;
    const quint32 pgn = pgnOf(frame.id);
    if (pgn == controlPgn)
        takeControl(frame, isDecoded);
    return pgn == packetPgn ? takePacket(frame, isDecoded) : std::nullopt;
}

void TransportProtocol::clearCounts()
{
    counted = TransportCounts();
    for (Session& session : sessions)
        session.frames.clear();
}

void TransportProtocol::takeControl(const Frame& frame, bool isDecoded)
{
    const bool isBroadcast = destinationOf(frame) == globalAddress;
    switch (frame.data[0]) {
    case RequestToSend:
    case BroadcastAnnounce:
        if (isBroadcast == (frame.data[0] == BroadcastAnnounce))
            begin(frame, isDecoded);
        break;
    case ClearToSend:
        rewind(frame);
        break;
    case Abort:
        abort(frame);
        break;
    default: // end-of-message acknowledgment and reserved values
        break;
    }
}

void TransportProtocol::begin(const Frame& frame, bool isDecoded)
{
    abandon(senderKeyOf(frame));
    Session session;
    session.pgn = announcedPgn(frame);
    session.size = frame.data[1] | frame.data[2] << 8;
    session.packets = frame.data[3];
    count(frame, isDecoded, session);
    const bool isValid = session.size >= shortestMessage && session.size <= longestMessage &&
                         session.packets == (session.size + bytesInPacket - 1) / bytesInPacket &&
                         session.pgn <= lastPgn;
    if (!isValid) {
        ++counted.interrupted;
        return;
    }
    session.data = QByteArray(session.packets * bytesInPacket, '\0');
    sessions.insert(senderKeyOf(frame), session);
}

/// Continues with the packet that the receiver asks for, which may be a repetition.
void TransportProtocol::rewind(const Frame& frame)
{
    const auto session = sessions.find(receiverKeyOf(frame));
    const int next = frame.data[2];
    if (session != sessions.end() && session->pgn == announcedPgn(frame) && frame.data[1] > 0 &&
        next > 0 && next <= session->packets)
        session->next = next;
}

/// Either side may abort.
void TransportProtocol::abort(const Frame& frame)
{
    for (const quint32 key : {senderKeyOf(frame), receiverKeyOf(frame)}) {
        const auto session = sessions.constFind(key);
        if (session != sessions.cend() && session->pgn == announcedPgn(frame))
            abandon(key);
    }
}

void TransportProtocol::abandon(quint32 key)
{
    counted.interrupted += sessions.remove(key);
}

std::optional<TransportedMessage> TransportProtocol::takePacket(const Frame& frame, bool isDecoded)
{
    const auto session = sessions.find(senderKeyOf(frame));
    if (session == sessions.end()) {
        ++counted.lost; // the announcement or an earlier packet is missing
        return std::nullopt;
    }
    if (!checkOrder(frame, *session)) {
        abandon(senderKeyOf(frame));
        return std::nullopt;
    }
    store(frame, *session);
    count(frame, isDecoded, *session);
    const bool isComplete = static_cast<int>(session->received.count()) == session->packets;
    return isComplete ? std::optional(finish(frame, session)) : std::nullopt;
}

/// Counts a packet with an unexpected number. Returns false if the message has no such packet, or
/// if it can no longer be completed because broadcast packets are not repeated.
bool TransportProtocol::checkOrder(const Frame& frame, Session& session)
{
    const int number = frame.data[0];
    const bool exists = number > 0 && number <= session.packets;
    if (exists && number == session.next)
        return true;
    if (exists && number > session.next)
        counted.lost += number - session.next;
    else
        ++counted.outOfOrder;
    return exists && destinationOf(frame) != globalAddress;
}

/// The packets of a message may differ in priority, and so in their ids.
void TransportProtocol::count(const Frame& frame, bool isDecoded, Session& session)
{
    if (isDecoded)
        return;
    for (FrameCount& ofId : session.frames) {
        if (ofId.id == frame.id) {
            ++ofId.frames;
            return;
        }
    }
    session.frames.append({frame.id, 1});
}

void TransportProtocol::store(const Frame& frame, Session& session)
{
    const int number = frame.data[0];
    const int place = (number - 1) * bytesInPacket;
    const auto begin = frame.data.begin() + 1;
    std::copy(begin, begin + bytesInPacket, session.data.begin() + place);
    session.received.set(static_cast<size_t>(number));
    session.next = number + 1;
}

TransportedMessage TransportProtocol::finish(const Frame& frame, Sessions::iterator session)
{
    ++counted.messages;
    finished = session->data;
    TransportedMessage message;
    message.framesById = session->frames;
    for (const FrameCount& ofId : qAsConst(session->frames))
        message.frames += ofId.frames;
    message.payload.id = idOf(session->pgn, frame);
    message.payload.extended = true;
    message.payload.data = reinterpret_cast<const quint8*>(finished.constData());
    message.payload.length = session->size;
    message.payload.nanoseconds = frame.nanoseconds;
    message.payload.bus = frame.bus;
    message.payload.transported = true;
    sessions.erase(session);
    return message;
}

} // namespace monitor
