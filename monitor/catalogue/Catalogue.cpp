#include "Catalogue.h"

#include "text/suggestions.h"

#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

#include <cmath>

namespace monitor
{

namespace
{

/// A name is enough for a signal if it occurs once within a node, or among the messages without
/// one.
QString keyOf(const MessageHeader& message, const SignalDescription& signal)
{
    return QString::number(message.node.value_or(0)) + ' ' + signal.name;
}

// Not QRegularExpression::wildcardToRegularExpression(), which is for file names: there a * ends
// at a slash, and names of signals may have one.
QRegularExpression expressionOf(const QString& pattern)
{
    QString expression = QRegularExpression::escape(pattern);
    expression.replace(QLatin1String("\\*"), QLatin1String(".*"));
    expression.replace(QLatin1String("\\?"), QLatin1String("."));
    return QRegularExpression(expression, QRegularExpression::DotMatchesEverythingOption);
}

/// The names by which a pattern may match \a signal.
QStringList namesOf(const CatalogueSignal& signal)
{
    QStringList names{signal.reportedName, signal.name};
    if (signal.spn)
        names += QStringLiteral("SPN") + QString::number(*signal.spn);
    return names;
}

/// Why \a signal of \a message cannot have that \a scaling; empty if it can.
QString reasonAgainst(const Scaling& scaling, const MessageHeader& message,
                      const CatalogueSignal& signal)
{
    if (!message.node)
        return QStringLiteral("it is not a CANopen object");
    if (signal.layout.passThrough)
        return QStringLiteral("it is recorded as received");
    const ValueRange range = scaledRange(signal.layout, scaling);
    if (!std::isfinite(range.lowest) || !std::isfinite(range.highest))
        return QStringLiteral("the values would leave the range of double");
    return QString();
}

QString applyTo(CatalogueSignal& signal, const MessageHeader& message,
                const SignalSettings& settings)
{
    if (settings.limits)
        signal.rules.limits = settings.limits;
    if (settings.reservesRawValues)
        signal.rules.reservesRawValues = *settings.reservesRawValues;
    if (!settings.scaling)
        return QString();
    signal.scaling = *settings.scaling;
    const QString reason = reasonAgainst(signal.scaling, message, signal);
    return reason.isEmpty() ? reason
                            : QStringLiteral("signal \"%1\" cannot be scaled: %2")
                                  .arg(signal.reportedName, reason);
}

} // namespace

Catalogue::Catalogue(const QVector<MessageDescription>& descriptions)
{
    QHash<QString, int> messagesWithName;
    for (const MessageDescription& message : descriptions) {
        for (const SignalDescription& signal : message.signalDescriptions)
            ++messagesWithName[keyOf(message, signal)];
    }
    for (const MessageDescription& message : descriptions) {
        CatalogueMessage known{message, {}};
        for (const SignalDescription& signal : message.signalDescriptions) {
            const bool isClear = messagesWithName.value(keyOf(message, signal)) == 1;
            const QString name = isClear ? signal.name : message.name + '.' + signal.name;
            known.catalogueSignals.append({signal, name, {}});
        }
        knownMessages.append(known);
    }
}

QString Catalogue::choose(const QStringList& patterns)
{
    if (patterns.isEmpty())
        return QString();
    for (CatalogueMessage& message : knownMessages) {
        for (CatalogueSignal& signal : message.catalogueSignals)
            signal.rules.chosen = false;
    }
    for (const QString& pattern : patterns) {
        QString error = forMatching(pattern, [](const auto&, CatalogueSignal& signal) {
            signal.rules.chosen = true;
            return QString();
        });
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

QString Catalogue::apply(const QVector<SignalSettings>& settings)
{
    for (const SignalSettings& given : settings) {
        QString error =
            forMatching(given.pattern, [&given](const auto& message, CatalogueSignal& signal) {
                return applyTo(signal, message, given);
            });
        if (!error.isEmpty())
            return error;
    }
    return QString();
}

void Catalogue::setKeptRecords(int records)
{
    for (CatalogueMessage& message : knownMessages) {
        for (CatalogueSignal& signal : message.catalogueSignals)
            signal.rules.keptRecords = records;
    }
}

/// Calls \a call with each signal that \a pattern matches, and its message, until it returns an
/// error.
template <typename Call>
QString Catalogue::forMatching(const QString& pattern, Call call)
{
    const QRegularExpression expression = expressionOf(pattern);
    bool found = false;
    for (CatalogueMessage& message : knownMessages) {
        for (CatalogueSignal& signal : message.catalogueSignals) {
            if (namesOf(signal).indexOf(expression) < 0) // compares whole names
                continue;
            found = true;
            QString error = call(message, signal);
            if (!error.isEmpty())
                return error;
        }
    }
    return found ? QString() : unknownPattern(pattern);
}

QString Catalogue::unknownPattern(const QString& pattern) const
{
    QStringList names;
    for (const CatalogueMessage& message : knownMessages) {
        for (const CatalogueSignal& signal : message.catalogueSignals)
            names += namesOf(signal);
    }
    return QStringLiteral("no signal matches \"%1\"").arg(pattern) + didYouMean(pattern, names);
}

} // namespace monitor
