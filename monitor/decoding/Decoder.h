#pragma once

#include "RawValue.h"
#include "can/Frame.h"
#include "catalogue/Catalogue.h"

#include <QtCore/QHash>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <optional>
#include <vector>

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
    /// described. Depends only on the bus, the id, and whether the payload is transported.
    int messageOf(const Payload& payload);

    /// The source of a \a message with that \a id.
    std::optional<quint8> sourceOf(int message, quint32 id) const;

    /// Calls \a call with the index, the bits and the availability of each chosen signal in \a
    /// payload, which belongs to \a message, in the order of the catalogue. Signals that do not fit
    /// into the data, and multiplexed signals for other multiplexor values, are left out. Returns
    /// whether there are any. Threads may call this at the same time.
    template <typename Call>
    bool forEachSignal(const Payload& payload, int message, Call call) const
    {
        bool isAny = false;
        const LeadingBytes leading = leadingBytesOf(payload.data, payload.length);
        for (const PreparedSignal& signal : prepared[static_cast<size_t>(message)]) {
            if (!signal.place.fitsInto(payload.length) ||
                (signal.multiplexor >= 0 && !isSelected(payload, leading, message, signal)))
                continue;
            const quint64 bits = signal.place.bitsIn(payload.data, leading);
            call(signal.index, bits, signal.availabilityOf(bits));
            isAny = true;
        }
        return isAny;
    }

    /// The chosen signals in \a frame, see forEachSignal(). A remote frame has no signals. The
    /// result is valid until the next call.
    const QVector<DecodedSignal>& decode(const Frame& frame);

    /// The same for a payload, which may come from several frames.
    const QVector<DecodedSignal>& decode(const Payload& payload);

    /// Whether a frame with the id of \a payload may belong to the J1939 transport protocol: the
    /// catalogue has J1939 messages, and the id has 29 bits and is not that of a message of another
    /// protocol.
    bool mayTransport(const Payload& payload) const;

    /// The guesses so far, one for each PGN.
    const QVector<GuessedMessage>& guesses() const { return guessed; }

private:
    /// The messages of a bus, as indexes in knownMessages.
    struct BusMessages {
        QHash<quint32, QVector<int>> byPgn; // J1939 messages
        QHash<quint32, int> byId;           // all messages, by their exact ids
    };

    /// A chosen signal, prepared for decoding.
    struct PreparedSignal {
        Availability availabilityOf(quint64 bits) const
        {
            if (isFloat)
                return monitor::availabilityOf(floatIn(bits, length) * factor + offset);
            return isReserving ? monitor::availabilityOf(bits, length) : Availability::Measured;
        }

        SignalPlace place;
        int index;       // in the message
        int multiplexor; // index in the message; -1: always present
        int length;
        bool isFloat;
        bool isReserving; // whether raw values are reserved
        double factor;    // of a floating-point signal; the scaled value may be infinite
        double offset;
    };

    BusMessages messagesOn(const QString& bus) const;
    const BusMessages& messagesOf(quint16 bus) const;
    int chooseJ1939(const Payload& payload, const QVector<int>& candidates);
    void prepare(const CatalogueMessage& message);
    bool isSelected(const Payload& payload, const LeadingBytes& leading, int message,
                    const PreparedSignal& signal) const;

    QVector<CatalogueMessage> knownMessages;
    std::vector<std::vector<PreparedSignal>> prepared; // by message
    std::vector<std::vector<SignalPlace>> places;      // of all signals, by message
    QVector<BusMessages> lists =
        QVector<BusMessages>(1); // the first for any bus, then for buses with descriptions
    QHash<QString, int> listOf;  // by the name of a bus: index in lists
    QVector<int> buses;          // by Frame::bus: index in lists
    QVector<GuessedMessage> guessed;
    QVector<DecodedSignal> decoded;
};

} // namespace monitor
