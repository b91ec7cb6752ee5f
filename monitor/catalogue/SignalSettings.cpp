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
        for (auto& signal : message.catalogueSignals) {
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
QString setForSignals(const QVector<Given>& all, QVector<CatalogueMessage>& messages, Call call)
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

bool canBeScaled(const CatalogueMessage& message, const CatalogueSignal& signal)
{
    const ValueRange range = scaledRange(signal.layout, signal.scaling);
    return message.node && !signal.layout.passThrough && std::isfinite(range.lowest) &&
           std::isfinite(range.highest);
}

} // namespace

QString chooseSignals(const QStringList& patterns, QVector<CatalogueMessage>& messages)
{
    if (!patterns.isEmpty())
        forSignals(QStringLiteral("*"), messages,
                   [](auto&, auto& signal) { signal.rules.chosen = false; });
    QString complaint;
    for (const QString& pattern : patterns) {
        const QString found =
            forSignals(pattern, messages, [](auto&, auto& signal) { signal.rules.chosen = true; });
        complaint = complaint.isEmpty() ? found : complaint;
    }
    return complaint;
}

QString setLimits(const QVector<SignalLimits>& limits, QVector<CatalogueMessage>& messages)
{
    return setForSignals(limits, messages, [](const SignalLimits& given, auto&, auto& signal) {
        signal.rules.limits = given.limits;
    });
}

QString setScalings(const QVector<SignalScaling>& scalings, QVector<CatalogueMessage>& messages)
{
    QString unscalable;
    const QString complaint = setForSignals(
        scalings, messages, [&](const SignalScaling& given, auto& message, auto& signal) {
            signal.scaling.factor = given.factor;
            signal.scaling.offset = given.offset;
            signal.scaling.unit = given.unit;
            if (!canBeScaled(message, signal))
                unscalable =
                    QStringLiteral("signal \"%1\" cannot be scaled").arg(signal.reportedName);
        });
    return unscalable.isEmpty() ? complaint : unscalable;
}

void setKeptRecords(int records, QVector<CatalogueMessage>& messages)
{
    for (CatalogueMessage& message : messages) {
        for (CatalogueSignal& signal : message.catalogueSignals)
            signal.rules.keptRecords = records;
    }
}

QString setReservations(const QVector<SignalReservation>& reservations,
                        QVector<CatalogueMessage>& messages)
{
    return setForSignals(reservations, messages,
                         [](const SignalReservation& given, auto&, auto& signal) {
                             signal.rules.reservesRawValues = given.reserves;
                         });
}

QString checkPatterns(const QStringList& patterns, const QVector<CatalogueMessage>& messages)
{
    for (const QString& pattern : patterns) {
        QString complaint = forSignals(pattern, messages, [](auto&, auto&) {});
        if (!complaint.isEmpty())
            return complaint;
    }
    return QString();
}

} // namespace monitor
