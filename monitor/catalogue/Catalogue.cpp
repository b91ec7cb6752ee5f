#include "Catalogue.h"

#include "text/suggestions.h"

#include <QtCore/QHash>
#include <QtCore/QPair>
#include <QtCore/QRegularExpression>

#include <cmath>

namespace monitor
{

namespace
{

/// Counts names of signals or messages. Names are compared within a node, or among all messages
/// without a node, and within a bus. Messages for any bus are compared with those of each bus.
class NameCounts
{
public:
    /// The number of occurrences of \a name that could be confused with one in \a message.
    int count(const MessageHeader& message, const QString& name) const
    {
        return message.bus.isEmpty() ? onAllBuses.value(keyOf(message, name))
                                     : onBus.value({message.bus, keyOf(message, name)}) +
                                           onBus.value({QString(), keyOf(message, name)});
    }

    void add(const MessageHeader& message, const QString& name)
    {
        ++onAllBuses[keyOf(message, name)];
        ++onBus[{message.bus, keyOf(message, name)}];
    }

private:
    static QString keyOf(const MessageHeader& message, const QString& name)
    {
        return QString::number(message.node.value_or(0)) + ' ' + name;
    }

    QHash<QString, int> onAllBuses;
    QHash<QPair<QString, QString>, int> onBus;
};

/// Distinguishes a signal from others with the same name: by the name of its message, and also by
/// the id of the message if several messages have that name.
QString uniqueName(const MessageHeader& message, const SignalDescription& signal,
                   const NameCounts& messagesWithName)
{
    QString name = message.name;
    if (messagesWithName.count(message, name) > 1)
        name += QStringLiteral("(0x%1)").arg(QString::number(message.id, 16)
                                                 .toUpper()
                                                 .rightJustified(message.extended ? 8 : 3, '0'));
    return name + '.' + signal.name;
}

// Not QRegularExpression::wildcardToRegularExpression(), which is meant for file names: its * does
// not match a slash, which the name of a signal may contain.
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
    if (!signal.shortName.isEmpty())
        names += signal.shortName;
    if (signal.spn)
        names += QStringLiteral("SPN") + QString::number(*signal.spn);
    return names;
}

/// Returns why \a scaling is not allowed for \a signal of \a message; empty if it is.
QString scalingError(const Scaling& scaling, const MessageHeader& message,
                     const CatalogueSignal& signal)
{
    if (!message.node)
        return QStringLiteral("it is not a CANopen object");
    if (signal.layout.passThrough)
        return QStringLiteral("its values are passed through");
    const ValueRange range = scaledRange(signal.layout, scaling);
    if (!std::isfinite(range.lowest) || !std::isfinite(range.highest))
        return QStringLiteral("its values would exceed the range of double");
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
    const QString reason = scalingError(signal.scaling, message, signal);
    return reason.isEmpty() ? reason
                            : QStringLiteral("signal \"%1\" cannot be scaled: %2")
                                  .arg(signal.reportedName, reason);
}

} // namespace

Catalogue::Catalogue(const QVector<MessageDescription>& descriptions)
{
    NameCounts messagesWithName;
    NameCounts signalsWithName;
    NameCounts reportedNames;
    for (const MessageDescription& message : descriptions) {
        messagesWithName.add(message, message.name);
        for (const SignalDescription& signal : message.signalDescriptions)
            signalsWithName.add(message, signal.name);
    }
    for (const MessageDescription& message : descriptions) {
        CatalogueMessage known{message, {}};
        for (const SignalDescription& signal : message.signalDescriptions) {
            const bool isUnique = signalsWithName.count(message, signal.name) == 1;
            const QString name =
                isUnique ? signal.name : uniqueName(message, signal, messagesWithName);
            const int same = reportedNames.count(message, name);
            reportedNames.add(message, name);
            known.catalogueSignals.append(
                {signal, same == 0 ? name : QStringLiteral("%1(%2)").arg(name).arg(same + 1), {}});
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

int Catalogue::useDescribedLimits()
{
    int limited = 0;
    for (CatalogueMessage& message : knownMessages) {
        for (CatalogueSignal& signal : message.catalogueSignals) {
            const ValueRange range{signal.lowerLimit, signal.upperLimit};
            const bool isStated = std::isfinite(range.lowest) && std::isfinite(range.highest) &&
                                  range.lowest < range.highest;
            if (!signal.rules.chosen || signal.rules.limits || !isStated)
                continue;
            signal.rules.limits = range;
            ++limited;
        }
    }
    return limited;
}

void Catalogue::setKeptRecords(int records)
{
    for (CatalogueMessage& message : knownMessages) {
        for (CatalogueSignal& signal : message.catalogueSignals)
            signal.rules.keptRecords = records;
    }
}

/// Calls \a call with the message and the signal for each signal that \a pattern matches, until it
/// returns an error.
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
