#include "Decoder.h"

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

/// The key of a message in Decoder::byId.
quint32 keyOf(quint32 id, bool extended)
{
    constexpr quint32 extendedFlag = 0x80000000;
    return extended ? id | extendedFlag : id;
}

/// The value of the multiplexor of \a message in \a payload, if present.
std::optional<quint64> multiplexorValue(const Payload& payload, const CatalogueMessage& message)
{
    for (const CatalogueSignal& signal : message.catalogueSignals) {
        if (signal.layout.multiplexing == Multiplexing::Multiplexor &&
            fitsInto(signal.layout, payload.length))
            return extractBits(payload.data, signal.layout);
    }
    return std::nullopt;
}

/// May be infinite even if the number in the frame is finite.
double scaledFloat(quint64 bits, const CatalogueSignal& signal)
{
    return floatIn(bits, signal.layout.length) * signal.scaling.factor + signal.scaling.offset;
}

bool isPresent(const CatalogueSignal& signal, const Payload& payload,
               std::optional<quint64> multiplexor)
{
    const bool depends = signal.layout.multiplexing == Multiplexing::Multiplexed ||
                         signal.layout.multiplexing == Multiplexing::Nested;
    return fitsInto(signal.layout, payload.length) &&
           (!depends || multiplexor == signal.layout.multiplexorValue);
}

} // namespace

Decoder::Decoder(QVector<CatalogueMessage> catalogueMessages)
    : knownMessages(std::move(catalogueMessages))
{
    // The hash returns the newest entry of a key first, so messages are inserted in reverse to be
    // found in the order of the catalogue.
    for (int i = knownMessages.size() - 1; i >= 0; --i) {
        const CatalogueMessage& message = knownMessages.at(i);
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
    const CatalogueMessage& known = knownMessages.at(message);
    const std::optional<quint64> multiplexor = multiplexorValue(payload, known);
    for (int i = 0; i < known.catalogueSignals.size(); ++i) {
        const CatalogueSignal& signal = known.catalogueSignals.at(i);
        if (!signal.rules.chosen || !isPresent(signal, payload, multiplexor))
            continue;
        DecodedSignal found;
        found.message = message;
        found.signal = i;
        found.bits = extractBits(payload.data, signal.layout);
        found.microseconds = payload.microseconds;
        if (known.protocol == Protocol::J1939) {
            found.source = sourceAddressOf(payload.id);
            if (signal.rules.reservesRawValues)
                found.availability = availabilityOf(found.bits, signal.layout.length);
        } else {
            found.source = known.node;
        }
        if (signal.layout.isFloat)
            found.availability = availabilityOf(scaledFloat(found.bits, signal));
        decoded.append(found);
    }
}

} // namespace monitor
