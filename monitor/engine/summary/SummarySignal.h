#pragma once

#include "engine/Session.h"

#include <QtCore/QPair>

namespace monitor
{

/// A signal without its values: all that describes it, and its bus.
struct SummarySignal {
    MessageHeader message; ///< without a name if unknown, as in a saved run
    std::optional<quint8> source;
    QString bus;
    CatalogueSignal description;

    bool isMessageKnown() const { return !message.name.isEmpty(); }

    /// Whether some raw values mean "not available" or "error".
    bool reservesRawValues() const
    {
        return message.protocol == Protocol::J1939 && description.rules.reservesRawValues;
    }
};

/// The signal with this number in \a session.
SummarySignal summarySignalOf(Session& session, int number);

/// Whatever must agree before the values of two signals may be added: the columns of the table
/// "signal" from the name on, and their values as texts.
QVector<QPair<QString, QString>> definitionOf(const SummarySignal& signal);

/// The definition as a key: equal only for equal definitions.
QByteArray keyOf(const SummarySignal& signal);

/// The columns in which the definitions differ, such as "unit: "V" and "mV"".
QString differencesBetween(const SummarySignal& left, const SummarySignal& right);

/// The raw value in \a bits as an integer: negative for a signed signal if its sign bit is set. For
/// floating-point signals and integers of 64 bits, the result has the same bits as the raw value.
qint64 rawNumber(quint64 bits, const SignalLayout& layout);

/// The bits of a raw value; empty if \a number does not fit into the signal.
std::optional<quint64> bitsOfRawNumber(qint64 number, const SignalLayout& layout);

} // namespace monitor
