#include "SignalSettings.h"

#include "SignalNames.h"

#include <cmath>

namespace monitor
{

namespace
{

/// Calls \a change for every signal that \a pattern means; the complaint if there is none.
template <typename Change>
QString changeSignals(const QString& pattern, QVector<MessageDescription>& messages, Change change)
{
    bool found = false;
    for (MessageDescription& message : messages) {
        for (SignalDescription& signal : message.signalDescriptions) {
            if (!isMeant(signal, pattern))
                continue;
            change(message, signal);
            found = true;
        }
    }
    return found ? QString() : QStringLiteral("there is no signal \"%1\"").arg(pattern);
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
        changeSignals(QStringLiteral("*"), messages,
                      [](auto&, auto& signal) { signal.chosen = false; });
    QString complaint;
    for (const QString& pattern : patterns) {
        const QString found =
            changeSignals(pattern, messages, [](auto&, auto& signal) { signal.chosen = true; });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

QString setLimits(const QVector<SignalLimits>& limits, QVector<MessageDescription>& messages)
{
    QString complaint;
    for (const SignalLimits& given : limits) {
        const QString found = changeSignals(given.pattern, messages, [&given](auto&, auto& signal) {
            signal.ratingLimits = given.limits;
        });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

QString setScalings(const QVector<SignalScaling>& scalings, QVector<MessageDescription>& messages)
{
    QString complaint;
    for (const SignalScaling& given : scalings) {
        const QString found =
            changeSignals(given.pattern, messages, [&](auto& message, auto& signal) {
                signal.factor = given.factor;
                signal.offset = given.offset;
                signal.unit = given.unit;
                if (!canBeScaled(message, signal))
                    complaint =
                        QStringLiteral("signal \"%1\" cannot be scaled").arg(signal.reportedName);
            });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

void setKeptRecords(int records, QVector<MessageDescription>& messages)
{
    for (MessageDescription& message : messages) {
        for (SignalDescription& signal : message.signalDescriptions)
            signal.keptRecords = records;
    }
}

QString setNotReserved(const QStringList& patterns, QVector<MessageDescription>& messages)
{
    QString complaint;
    for (const QString& pattern : patterns) {
        const QString found =
            changeSignals(pattern, messages, [](auto&, auto& signal) { signal.reserves = false; });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

} // namespace monitor
