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

} // namespace

Decoder::Decoder(QVector<CatalogueMessage> catalogueMessages)
    : knownMessages(std::move(catalogueMessages))
{
    prepared.reserve(static_cast<size_t>(knownMessages.size()));
    places.reserve(prepared.capacity());
    for (const CatalogueMessage& message : qAsConst(knownMessages))
        prepare(message);
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
    const int message = messageOf(payload);
    if (message < 0)
        return decoded;
    forEachSignal(payload, message, [&](int signal, quint64 bits, Availability availability) {
        DecodedSignal found;
        found.message = message;
        found.signal = signal;
        found.source = sourceOf(message, payload.id);
        found.availability = availability;
        found.bus = payload.bus;
        found.bits = bits;
        found.nanoseconds = payload.nanoseconds;
        decoded.append(found);
    });
    return decoded;
}

bool Decoder::mayTransport(const Payload& payload) const
{
    const BusMessages& known = messagesOf(payload.bus);
    if (known.byPgn.isEmpty() || !payload.extended)
        return false;
    const int exact = known.byId.value(keyOf(payload.id, true), -1);
    return exact < 0 || knownMessages.at(exact).protocol == Protocol::J1939;
}

std::optional<quint8> Decoder::sourceOf(int message, quint32 id) const
{
    const CatalogueMessage& known = knownMessages.at(message);
    return known.protocol == Protocol::J1939 ? sourceAddressOf(id) : known.node;
}

int Decoder::messageOf(const Payload& payload)
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

void Decoder::prepare(const CatalogueMessage& message)
{
    prepared.emplace_back();
    places.emplace_back();
    for (int i = 0; i < message.catalogueSignals.size(); ++i) {
        const CatalogueSignal& signal = message.catalogueSignals.at(i);
        const SignalPlace place(signal.layout);
        places.back().push_back(place);
        if (!signal.rules.chosen)
            continue;
        const bool isReserving =
            message.protocol == Protocol::J1939 && signal.rules.reservesRawValues;
        prepared.back().push_back({place, i, signal.multiplexing.multiplexor, signal.layout.length,
                                   signal.layout.isFloat, isReserving, signal.scaling.factor,
                                   signal.scaling.offset});
    }
}

/// Whether a multiplexed \a signal is present: its multiplexor is present and has one of the
/// required values.
bool Decoder::isSelected(const Payload& payload, const LeadingBytes& leading, int message,
                         const PreparedSignal& signal) const
{
    const CatalogueMessage& known = knownMessages.at(message);
    const Multiplexing* multiplexing = &known.catalogueSignals.at(signal.index).multiplexing;
    while (multiplexing->multiplexor >= 0) {
        const auto multiplexor = static_cast<size_t>(multiplexing->multiplexor);
        const SignalPlace& place = places[static_cast<size_t>(message)][multiplexor];
        if (!place.fitsInto(payload.length) ||
            !contains(multiplexing->values, place.bitsIn(payload.data, leading)))
            return false;
        multiplexing = &known.catalogueSignals.at(multiplexing->multiplexor).multiplexing;
    }
    return true;
}

} // namespace monitor
