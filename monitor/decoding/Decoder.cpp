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

/// May be infinite even if the number in the frame is finite.
double scaledFloat(quint64 bits, const CatalogueSignal& signal)
{
    return floatIn(bits, signal.layout.length) * signal.scaling.factor + signal.scaling.offset;
}

/// Whether \a payload contains \a signal. A multiplexed signal is present only if its multiplexor
/// is present and has one of the required values.
bool isPresent(const CatalogueMessage& message, const CatalogueSignal& signal,
               const Payload& payload)
{
    const CatalogueSignal* depending = &signal;
    for (int next = signal.multiplexing.multiplexor; next >= 0;
         next = depending->multiplexing.multiplexor) {
        const CatalogueSignal& multiplexor = message.catalogueSignals.at(next);
        if (!fitsInto(multiplexor.layout, payload.length) ||
            !contains(depending->multiplexing.values,
                      extractBits(payload.data, multiplexor.layout)))
            return false;
        depending = &multiplexor;
    }
    return fitsInto(signal.layout, payload.length);
}

} // namespace

Decoder::Decoder(QVector<CatalogueMessage> catalogueMessages)
    : knownMessages(std::move(catalogueMessages))
{
    lists.first() = messagesOn(QString());
    for (const CatalogueMessage& message : qAsConst(knownMessages)) {
        if (message.bus.isEmpty() || listOf.contains(message.bus))
            continue;
        listOf.insert(message.bus, static_cast<int>(lists.size()));
        lists.append(messagesOn(message.bus));
    }
}

void Decoder::setBuses(const QStringList& names)
{
    buses.clear();
    for (const QString& name : names)
        buses.append(listOf.value(name, 0));
}

/// The messages described for \a bus. If it is not empty, messages described for any bus are added
/// unless the bus has messages of the same id or PGN.
Decoder::BusMessages Decoder::messagesOn(const QString& bus) const
{
    BusMessages found;
    for (int i = 0; i < knownMessages.size(); ++i) {
        const CatalogueMessage& message = knownMessages.at(i);
        if (message.bus != bus)
            continue;
        const quint32 key = keyOf(message.id, message.extended);
        if (!found.byId.contains(key))
            found.byId.insert(key, i);
        if (message.protocol == Protocol::J1939)
            found.byPgn[pgnOf(message.id)].append(i);
    }
    if (bus.isEmpty())
        return found;
    const BusMessages& onAnyBus = lists.first();
    for (auto i = onAnyBus.byId.cbegin(); i != onAnyBus.byId.cend(); ++i) {
        const CatalogueMessage& message = knownMessages.at(i.value());
        const bool isReplaced =
            message.protocol == Protocol::J1939 && found.byPgn.contains(pgnOf(message.id));
        if (!found.byId.contains(i.key()) && !isReplaced)
            found.byId.insert(i.key(), i.value());
    }
    for (auto i = onAnyBus.byPgn.cbegin(); i != onAnyBus.byPgn.cend(); ++i) {
        if (!found.byPgn.contains(i.key()))
            found.byPgn.insert(i.key(), i.value());
    }
    return found;
}

const Decoder::BusMessages& Decoder::messagesOf(quint16 bus) const
{
    return lists.at(buses.value(bus, 0));
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
    const int message = messageFor(payload);
    if (message >= 0)
        decodeMessage(payload, message);
    return decoded;
}

bool Decoder::mayTransport(const Frame& frame) const
{
    const BusMessages& known = messagesOf(frame.bus);
    if (known.byPgn.isEmpty() || !frame.extended)
        return false;
    const int exact = known.byId.value(keyOf(frame.id, true), -1);
    return exact < 0 || knownMessages.at(exact).protocol == Protocol::J1939;
}

/// The index of the message that \a payload belongs to, or -1.
int Decoder::messageFor(const Payload& payload)
{
    const BusMessages& known = messagesOf(payload.bus);
    const int exact = known.byId.value(keyOf(payload.id, payload.extended), -1);
    const bool isJ1939 = exact >= 0 && knownMessages.at(exact).protocol == Protocol::J1939;
    if (isJ1939 || (exact >= 0 && !payload.transported))
        return exact;
    const auto candidates = known.byPgn.constFind(pgnOf(payload.id));
    return payload.extended && candidates != known.byPgn.cend() ? chooseJ1939(payload, *candidates)
                                                                : -1;
}

int Decoder::chooseJ1939(const Payload& payload, const QVector<int>& candidates)
{
    const int first = candidates.first();
    if (candidates.size() == 1)
        return first;
    const auto find = [&](auto matches) {
        const auto found = std::find_if(candidates.begin(), candidates.end(),
                                        [&](int i) { return matches(knownMessages.at(i).id); });
        return found == candidates.end() ? -1 : *found;
    };
    const quint8 source = sourceAddressOf(payload.id);
    int found = find([=](quint32 id) { return sourceAddressOf(id) == source; });
    if (found < 0 && hasDestination(payload.id))
        found = find([destination = destinationAddressOf(payload.id)](quint32 id) {
            return destinationAddressOf(id) == destination;
        });
    if (found < 0)
        found = find([](quint32 id) { return sourceAddressOf(id) == nullAddress; });
    if (found >= 0)
        return found;
    const bool isKnown = std::any_of(guessed.cbegin(), guessed.cend(),
                                     [=](const auto& guess) { return guess.message == first; });
    if (!isKnown)
        guessed.append({first, static_cast<int>(candidates.size()), source});
    return first;
}

void Decoder::decodeMessage(const Payload& payload, int message)
{
    const CatalogueMessage& known = knownMessages.at(message);
    for (int i = 0; i < known.catalogueSignals.size(); ++i) {
        const CatalogueSignal& signal = known.catalogueSignals.at(i);
        if (!signal.rules.chosen || !isPresent(known, signal, payload))
            continue;
        DecodedSignal found;
        found.message = message;
        found.signal = i;
        found.bus = payload.bus;
        found.bits = extractBits(payload.data, signal.layout);
        found.nanoseconds = payload.nanoseconds;
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
