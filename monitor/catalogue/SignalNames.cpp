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

void giveReportedNames(QVector<MessageDescription>& messages)
{
    QHash<QString, int> messagesWithName;
    for (const MessageDescription& message : qAsConst(messages)) {
        for (const SignalDescription& signal : message.signalDescriptions)
            ++messagesWithName[keyOf(message, signal)];
    }
    for (MessageDescription& message : messages) {
        for (SignalDescription& signal : message.signalDescriptions) {
            const bool isClear = messagesWithName.value(keyOf(message, signal)) == 1;
            signal.reportedName = isClear ? signal.name : message.name + '.' + signal.name;
        }
    }
}

bool isMeant(const SignalDescription& signal, const QString& pattern)
{
    const QRegularExpression expression = expressionOf(pattern);
    QStringList names{signal.reportedName, signal.name};
    if (signal.spn)
        names += QStringLiteral("SPN") + QString::number(*signal.spn);
    return names.indexOf(expression) >= 0; // of whole names, as Qt compares here
}

} // namespace monitor
