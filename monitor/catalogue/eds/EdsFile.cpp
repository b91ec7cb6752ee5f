#include "EdsFile.h"

#include "text/LineReader.h"

#include <QtCore/QRegularExpression>
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

/// Reads a number without $NODEID. Signs, which Qt would accept, are not allowed.
std::optional<quint32> readPlainNumber(const QString& text)
{
    const bool isHex = text.startsWith(QLatin1String("0x"), Qt::CaseInsensitive);
    const bool isOctal = !isHex && text.size() > 1 && text.startsWith('0');
    const QString digits = isHex ? text.mid(2) : text;
    const bool beginsWithDigit = !digits.isEmpty() && digits.at(0).isLetterOrNumber();
    bool isNumber = false;
    const quint32 number = digits.toUInt(&isNumber, isHex ? 16 : isOctal ? 8 : 10);
    return isNumber && beginsWithDigit ? std::optional(number) : std::nullopt;
}

/// The name of a section in lower case; for the section of an object, in the form of sectionOf().
QString normalized(const QString& name)
{
    static const QRegularExpression object(
        QStringLiteral("^0*([0-9a-f]{1,4})(?:sub0*([0-9a-f]{1,2}))?$"));
    QString lower = name.trimmed().toLower();
    const QRegularExpressionMatch match = object.match(lower);
    if (!match.hasMatch())
        return lower;
    const quint32 index = match.captured(1).toUInt(nullptr, 16);
    if (match.captured(2).isEmpty())
        return EdsFile::sectionOf(index);
    return EdsFile::sectionOf(index, match.captured(2).toUInt(nullptr, 16));
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

void EdsFile::readLine(qint64 number, const QByteArray& bytes, Problems& problems)
{
    const QString line = textOf(bytes).trimmed();
    if (line.isEmpty() || line.startsWith(';'))
        return;
    if (!line.startsWith('[')) {
        addEntry(number, line, problems);
        return;
    }
    const auto end = line.indexOf(']');
    const QString rest = line.mid(end + 1).trimmed();
    inSection = end > 1 && (rest.isEmpty() || rest.startsWith(';'));
    if (!inSection)
        return problems.add(number, QStringLiteral("invalid section header; its entries are "
                                                   "ignored"));
    current = normalized(line.mid(1, end - 1));
    if (sections.contains(current))
        problems.add(number,
                     QStringLiteral("duplicate section; its entries are added to the first one"));
    sections[current];
}

void EdsFile::addEntry(qint64 number, const QString& line, Problems& problems)
{
    const auto equals = line.indexOf('=');
    const QString key = line.left(equals).trimmed().toLower();
    if (equals < 0 || key.isEmpty()) {
        problems.add(number, QStringLiteral("neither a section header nor an entry"));
        return;
    }
    if (!inSection)
        return;
    auto& entries = sections[current];
    if (entries.contains(key)) {
        problems.add(number, QStringLiteral("duplicate entry ignored"));
        return;
    }
    entries.insert(key, {line.mid(equals + 1).trimmed(), number});
    if (key != QLatin1String("parametername"))
        return;
    const QString name = entries.value(key).value;
    ++names[name];
    ++names[current.section(QStringLiteral("sub"), 0, 0) + '=' + name];
}

EdsEntry EdsFile::entry(const QString& section, const QString& key) const
{
    const auto found = sections.constFind(section);
    return found == sections.cend() ? EdsEntry() : found->value(key);
}

QString EdsFile::sectionOf(quint32 index)
{
    return QString::number(index, 16);
}

QString EdsFile::sectionOf(quint32 index, quint32 subIndex)
{
    return sectionOf(index) + QStringLiteral("sub") + QString::number(subIndex, 16);
}

} // namespace monitor
