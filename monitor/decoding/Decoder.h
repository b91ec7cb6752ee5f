#pragma once

#include "RawValue.h"
#include "can/Frame.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QHash>
#include <QtCore/QStringList>
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
    quint16 bus = 0;                   ///< as in the frame
    quint64 bits = 0;                  ///< the raw value, with its sign as an ordinary bit
    std::optional<qint64> nanoseconds; ///< when it was seen
};

/// When \a decoded was seen, in whole microseconds, the resolution of recorded values.
inline std::optional<qint64> microsecondsOf(const DecodedSignal& decoded)
{
    return decoded.nanoseconds ? std::optional<qint64>(*decoded.nanoseconds / 1000) : std::nullopt;
}

/// A PGN with several messages, none of which has the source address of a received frame, its
/// destination address or the null address. The frame was decoded as the first of these messages.
struct GuessedMessage {
    int message = 0;    ///< index in Decoder::messages()
    int candidates = 0; ///< messages of this PGN
    quint8 source = 0;  ///< source address of the first of these frames
};

/// Finds the signals of a catalogue in frames. A frame belongs to at most one message: the message
/// with exactly the same id, or else a J1939 message with the same PGN, whatever the priority. If
/// several messages have that PGN, the message with the same source address is preferred, then the
/// one with the same destination address, then the one with the null address, then the first one.
///
/// Messages described for one bus are found only there. They take precedence over messages of the
/// same id or PGN that are described for any bus.
///
/// This class is reentrant.
class Decoder
{
public:
    explicit Decoder(QVector<CatalogueMessage> catalogueMessages);

    const QVector<CatalogueMessage>& messages() const { return knownMessages; }

    /// Sets the names of the buses to which Frame::bus refers. A bus without a name has only the
    /// messages described for any bus.
    void setBuses(const QStringList& names);

    /// The message that \a payload belongs to, as an index in messages(); -1 if it is not
    /// described.
    int messageOf(const Payload& payload) { return messageFor(payload); }

    /// The chosen signals in \a frame, in the order of the catalogue. Signals that do not fit into
    /// the data, and multiplexed signals for other multiplexor values, are left out. A remote frame
    /// has no signals. The result is valid until the next call.
    const QVector<DecodedSignal>& decode(const Frame& frame);

    /// The same for a payload, which may come from several frames.
    const QVector<DecodedSignal>& decode(const Payload& payload);

    /// Whether \a frame may belong to the J1939 transport protocol: the catalogue has J1939
    /// messages, and the id has 29 bits and is not that of a message of another protocol.
    bool mayTransport(const Frame& frame) const;

    /// The guesses so far, one for each PGN.
    const QVector<GuessedMessage>& guesses() const { return guessed; }

private:
    /// The messages of a bus, as indexes in knownMessages.
    struct BusMessages {
        QHash<quint32, QVector<int>> byPgn; // J1939 messages
        QHash<quint32, int> byId;           // all messages, by their exact ids
    };

    BusMessages messagesOn(const QString& bus) const;
    const BusMessages& messagesOf(quint16 bus) const;
    int messageFor(const Payload& payload);
    int chooseJ1939(const Payload& payload, const QVector<int>& candidates);
    void decodeMessage(const Payload& payload, int message);

    QVector<CatalogueMessage> knownMessages;
    QVector<BusMessages> lists =
        QVector<BusMessages>(1); // the first for any bus, then for buses with descriptions
    QHash<QString, int> listOf;  // by the name of a bus: index in lists
    QVector<int> buses;          // by Frame::bus: index in lists
    QVector<GuessedMessage> guessed;
    QVector<DecodedSignal> decoded;
};

} // namespace monitor
