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

/// A PGN with several messages, of which none has the source address of a frame, its destination
/// address or the null address. The frame was decoded as the first of these messages.
struct GuessedMessage {
    int message = 0;    ///< index in Decoder::messages()
    int candidates = 0; ///< messages of this PGN
    quint8 source = 0;  ///< source address of the first of these frames
};

/// Finds the signals of a catalogue in frames. A frame belongs to one message at most: that of its
/// exact id, or else a J1939 message of its PGN, whatever the priority. Of several with that PGN it
/// is the one for the same source address, else for the same destination address, else for the null
/// address, else the first. This class is reentrant.
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

    /// Whether the transport protocol of J1939 may use \a frame: J1939 messages are known, and it
    /// does not belong to another message.
    bool mayTransport(const Frame& frame) const;

    /// The guesses so far, one for each PGN.
    const QVector<GuessedMessage>& guesses() const { return guessed; }

private:
    int messageFor(const Payload& payload);
    int chooseJ1939(const Payload& payload, const QVector<int>& candidates);
    void decodeMessage(const Payload& payload, int message);

    QVector<CatalogueMessage> knownMessages;
    QHash<quint32, QVector<int>> byPgn; // J1939
    QHash<quint32, int> byId;           // the exact id of any message
    QVector<GuessedMessage> guessed;
    QVector<DecodedSignal> decoded;
};

} // namespace monitor
