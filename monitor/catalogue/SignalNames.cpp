#include "SignalNames.h"

#include <QtCore/QHash>
#include <QtCore/QRegularExpression>

namespace monitor
{

namespace
{

/// What is not clear within one node, or among the messages without one, needs more than a name.
QString keyOf(const MessageDescription& message, const SignalDescription& signal)
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

} // namespace

QVector<CatalogueMessage> giveReportedNames(const QVector<MessageDescription>& messages)
{
    QHash<QString, int> messagesWithName;
    for (const MessageDescription& message : messages) {
        for (const SignalDescription& signal : message.signalDescriptions)
            ++messagesWithName[keyOf(message, signal)];
    }
    QVector<CatalogueMessage> catalogue;
    for (const MessageDescription& message : messages) {
        CatalogueMessage known{message, {}};
        for (const SignalDescription& signal : message.signalDescriptions) {
            const bool isClear = messagesWithName.value(keyOf(message, signal)) == 1;
            const QString name = isClear ? signal.name : message.name + '.' + signal.name;
            known.catalogueSignals.append({signal, name, {}});
        }
        catalogue.append(known);
    }
    return catalogue;
}

bool isMeant(const CatalogueSignal& signal, const QString& pattern)
{
    const QRegularExpression expression = expressionOf(pattern);
    QStringList names{signal.reportedName, signal.name};
    if (signal.spn)
        names += QStringLiteral("SPN") + QString::number(*signal.spn);
    return names.indexOf(expression) >= 0; // of whole names, as Qt compares here
}

} // namespace monitor
