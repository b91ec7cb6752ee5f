#pragma once

#include "Availability.h"
#include "can/Payload.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QHash>
#include <QtCore/QVector>

#include <optional>

namespace monitor
{

/// One signal found in a frame.
struct DecodedSignal {
    int message = 0;              ///< index of the message in the description
    int signal = 0;               ///< index of the signal in the message
    std::optional<quint8> source; ///< J1939 source address, or CANopen node if known
    Availability availability = Availability::Measured;
    quint64 bits = 0;                   ///< the raw value without its sign
    std::optional<qint64> microseconds; ///< when it was seen
};

/// Finds the signals of a description in frames. 29-bit messages are matched by PGN, whatever
/// their priority, source and, for PDU1, destination; 11-bit ones by their id. This class is
/// reentrant.
class Decoder
{
public:
    explicit Decoder(QVector<CatalogueMessage> messageDescriptions);

    const QVector<CatalogueMessage>& messages() const { return descriptions; }

    /// The signals in \a frame, in the order of the description; none in a remote frame. Left out
    /// are signals that the data is too short for, and multiplexed ones of another multiplexor
    /// value, and what is not chosen. The answer is good until the next call.
    const QVector<DecodedSignal>& decode(const Frame& frame);

    /// The same for data that need not have come in one frame.
    const QVector<DecodedSignal>& decode(const Payload& payload);

private:
    using Messages = QMultiHash<quint32, int>; // indices by what a frame is known by

    void decodeAll(const Payload& payload, const Messages& messagesByKey, quint32 key);
    void decodeMessage(const Payload& payload, int message);

    QVector<CatalogueMessage> descriptions;
    Messages byPgn; // J1939
    Messages byId;  // all others
    QVector<DecodedSignal> decoded;
};

} // namespace monitor
