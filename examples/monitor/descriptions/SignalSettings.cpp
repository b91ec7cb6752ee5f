#include "SignalSettings.h"

#include "SignalNames.h"

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
            change(signal);
            found = true;
        }
    }
    return found ? QString() : QStringLiteral("there is no signal \"%1\"").arg(pattern);
}

} // namespace

QString chooseSignals(const QStringList& patterns, QVector<MessageDescription>& messages)
{
    if (!patterns.isEmpty())
        changeSignals(QStringLiteral("*"), messages, [](auto& signal) { signal.chosen = false; });
    QString complaint;
    for (const QString& pattern : patterns) {
        const QString found =
            changeSignals(pattern, messages, [](auto& signal) { signal.chosen = true; });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

QString setLimits(const QVector<SignalLimits>& limits, QVector<MessageDescription>& messages)
{
    QString complaint;
    for (const SignalLimits& given : limits) {
        const QString found = changeSignals(given.pattern, messages, [&given](auto& signal) {
            signal.ratingLimits = given.limits;
        });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

} // namespace monitor
