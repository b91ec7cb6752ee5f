#include "EdsNumber.h"

#include <QtCore/QStringList>

#include <limits>

namespace monitor
{

namespace
{

bool isNodeId(const QString& text)
{
    return text.compare(QLatin1String("$NODEID"), Qt::CaseInsensitive) == 0;
}

/// A number without $NODEID. Qt reads signs too, which have no place here.
std::optional<quint32> readPlainNumber(const QString& text)
{
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const bool isOctal = !isHex && text.size() > 1 && text.startsWith('0');
    const QString digits = isHex ? text.mid(2) : text;
    const bool beginsWithDigit = !digits.isEmpty() && digits.at(0).isLetterOrNumber();
    bool understood = false;
    const quint32 number = digits.toUInt(&understood, isHex ? 16 : isOctal ? 8 : 10);
    return understood && beginsWithDigit ? std::optional(number) : std::nullopt;
}

} // namespace

std::optional<quint32> readEdsNumber(const QString& text, quint8 node)
{
    const QStringList summands = text.section(';', 0, 0).split('+');
    const QString first = summands.first().trimmed();
    const QString second = summands.size() == 2 ? summands.last().trimmed() : QString();
    if (summands.size() == 1)
        return isNodeId(first) ? std::optional<quint32>(node) : readPlainNumber(first);
    if (summands.size() > 2 || isNodeId(first) == isNodeId(second))
        return std::nullopt;
    const auto number = readPlainNumber(isNodeId(first) ? second : first);
    if (!number || *number > std::numeric_limits<quint32>::max() - node)
        return std::nullopt;
    return *number + node;
}

} // namespace monitor
