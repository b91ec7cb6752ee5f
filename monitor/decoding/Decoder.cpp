#include "Decoder.h"

#include "RawBits.h"
#include "can/J1939Id.h"

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

/// What a frame without a PGN is known by.
quint32 keyOf(quint32 id, bool extended)
{
    constexpr quint32 extendedFlag = 0x80000000;
    return extended ? id | extendedFlag : id;
}

/// The value of the multiplexor of \a message in \a payload, none if it has none there.
std::optional<quint64> multiplexorValue(const Payload& payload, const MessageDescription& message)
{
    for (const SignalDescription& signal : message.signalDescriptions) {
        if (signal.multiplexing == Multiplexing::Multiplexor && fitsInto(signal, payload.length))
            return extractBits(payload.data, signal);
    }
    return std::nullopt;
}

/// What is finite in the frame may still leave the range of double by its scaling.
double scaledFloat(quint64 bits, const SignalDescription& signal)
{
    return floatIn(bits, signal.length) * signal.factor + signal.offset;
}

bool isPresent(const SignalDescription& signal, const Payload& payload,
               std::optional<quint64> multiplexor)
{
    const bool depends = signal.multiplexing == Multiplexing::Multiplexed ||
                         signal.multiplexing == Multiplexing::Nested;
    return fitsInto(signal, payload.length) && (!depends || multiplexor == signal.multiplexorValue);
}

} // namespace

Decoder::Decoder(QVector<MessageDescription> messageDescriptions)
    : descriptions(std::move(messageDescriptions))
{
    // The hash gives the entry inserted last first, so the order of the description is kept by
    // going through it backwards.
    for (int i = descriptions.size() - 1; i >= 0; --i) {
        const MessageDescription& message = descriptions.at(i);
        if (message.protocol == Protocol::J1939)
            byPgn.insert(pgnOf(message.id), i);
        else
            byId.insert(keyOf(message.id, message.extended), i);
    }
}

const QVector<DecodedSignal>& Decoder::decode(const Frame& frame)
{
    if (!frame.remote)
        return decode(payloadOf(frame));
    decoded.resize(0);
    return decoded;
}

const QVector<DecodedSignal>& Decoder::decode(const Payload& payload)
{
    decoded.resize(0); // unlike clear(), keeps the storage for the next frame
    if (payload.extended)
        decodeAll(payload, byPgn, pgnOf(payload.id));
    decodeAll(payload, byId, keyOf(payload.id, payload.extended));
    return decoded;
}

void Decoder::decodeAll(const Payload& payload, const Messages& messagesByKey, quint32 key)
{
    for (auto it = messagesByKey.constFind(key); it != messagesByKey.cend() && it.key() == key;
         ++it)
        decodeMessage(payload, it.value());
}

void Decoder::decodeMessage(const Payload& payload, int message)
{
    const MessageDescription& description = descriptions.at(message);
    const std::optional<quint64> multiplexor = multiplexorValue(payload, description);
    for (int i = 0; i < description.signalDescriptions.size(); ++i) {
        const SignalDescription& signal = description.signalDescriptions.at(i);
        if (!signal.chosen || !isPresent(signal, payload, multiplexor))
            continue;
        DecodedSignal found;
        found.message = message;
        found.signal = i;
        found.bits = extractBits(payload.data, signal);
        found.microseconds = payload.microseconds;
        if (description.protocol == Protocol::J1939) {
            found.source = sourceAddressOf(payload.id);
            if (signal.reserves)
                found.availability = availabilityOf(found.bits, signal.length);
        } else {
            found.source = description.node;
        }
        if (signal.isFloat)
            found.availability = availabilityOf(scaledFloat(found.bits, signal));
        decoded.append(found);
    }
}

} // namespace monitor
