#pragma once

#include "RawValue.h"
#include "can/Frame.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <optional>

namespace monitor
{

/// One signal found in a frame.
struct DecodedSignal {
    int message = 0;              ///< index in Decoder::messages()
    int signal = 0;               ///< index of the signal in the message
    std::optional<quint8> source; ///< J1939 source address, or CANopen node if known
    Availability availability = Availability::Measured;
    quint64 bits = 0;                   ///< the raw value, with its sign as an ordinary bit
    std::optional<qint64> microseconds; ///< when it was seen
};

/// Finds the signals of a catalogue in frames. J1939 messages are matched by PGN, regardless of
/// priority, source address and, for PDU1, destination. All others are matched by id. This class is
/// reentrant.
class Decoder
{
public:
    explicit Decoder(QVector<CatalogueMessage> catalogueMessages);

    const QVector<CatalogueMessage>& messages() const { return knownMessages; }

    /// The chosen signals in \a frame, in the order of the catalogue. Signals that do not fit into
    /// the data, and multiplexed signals of a different multiplexor value, are left out. A remote
    /// frame has no signals. The result is valid until the next call.
    const QVector<DecodedSignal>& decode(const Frame& frame);

    /// The same for a payload, which may come from several frames.
    const QVector<DecodedSignal>& decode(const Payload& payload);

private:
    using Messages = QMultiHash<quint32, int>; // indices of messages by PGN or id

    void decodeAll(const Payload& payload, const Messages& messagesByKey, quint32 key);
    void decodeMessage(const Payload& payload, int message);

    QVector<CatalogueMessage> knownMessages;
    Messages byPgn; // J1939
    Messages byId;  // all others
    QVector<DecodedSignal> decoded;
};

} // namespace monitor
