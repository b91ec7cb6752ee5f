#include "SignalSettings.h"

#include "SignalNames.h"

#include <cmath>

namespace monitor
{

namespace
{

/// Calls \a call for every signal that \a pattern means; the complaint if there is none.
template <typename Messages, typename Call>
QString forSignals(const QString& pattern, Messages& messages, Call call)
{
    bool found = false;
    for (auto& message : messages) {
        for (auto& signal : message.signalDescriptions) {
            if (!isMeant(signal, pattern))
                continue;
            call(message, signal);
            found = true;
        }
    }
    return found ? QString() : QStringLiteral("there is no signal \"%1\"").arg(pattern);
}

/// Calls \a call with each of \a all for every signal that its pattern means; the first complaint.
template <typename Given, typename Call>
QString setForSignals(const QVector<Given>& all, QVector<MessageDescription>& messages, Call call)
{
    QString complaint;
    for (const Given& given : all) {
        const QString found = forSignals(given.pattern, messages, [&](auto& message, auto& signal) {
            call(given, message, signal);
        });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

bool canBeScaled(const MessageDescription& message, const SignalDescription& signal)
{
    const ValueRange range = scaledRange(signal);
    return message.node && !signal.carried && std::isfinite(range.lowest) &&
           std::isfinite(range.highest);
}

} // namespace

QString chooseSignals(const QStringList& patterns, QVector<MessageDescription>& messages)
{
    if (!patterns.isEmpty())
        forSignals(QStringLiteral("*"), messages,
                   [](auto&, auto& signal) { signal.chosen = false; });
    QString complaint;
    for (const QString& pattern : patterns) {
        const QString found =
            forSignals(pattern, messages, [](auto&, auto& signal) { signal.chosen = true; });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

QString setLimits(const QVector<SignalLimits>& limits, QVector<MessageDescription>& messages)
{
    return setForSignals(limits, messages, [](const SignalLimits& given, auto&, auto& signal) {
        signal.ratingLimits = given.limits;
    });
}

QString setScalings(const QVector<SignalScaling>& scalings, QVector<MessageDescription>& messages)
{
    QString unscalable;
    const QString complaint = setForSignals(
        scalings, messages, [&](const SignalScaling& given, auto& message, auto& signal) {
            signal.factor = given.factor;
            signal.offset = given.offset;
            signal.unit = given.unit;
            if (!canBeScaled(message, signal))
                unscalable =
                    QStringLiteral("signal \"%1\" cannot be scaled").arg(signal.reportedName);
        });
    return unscalable.isEmpty() ? complaint : unscalable;
}

void setKeptRecords(int records, QVector<MessageDescription>& messages)
{
    for (MessageDescription& message : messages) {
        for (SignalDescription& signal : message.signalDescriptions)
            signal.keptRecords = records;
    }
}

QString setReservations(const QVector<SignalReservation>& reservations,
                        QVector<MessageDescription>& messages)
{
    return setForSignals(reservations, messages,
                         [](const SignalReservation& given, auto&, auto& signal) {
                             signal.reserves = given.reserves;
                         });
}

QString checkPatterns(const QStringList& patterns, const QVector<MessageDescription>& messages)
{
    for (const QString& pattern : patterns) {
        QString complaint = forSignals(pattern, messages, [](auto&, auto&) {});
        if (!complaint.isEmpty())
            return complaint;
    }
    return QString();
}

} // namespace monitor
