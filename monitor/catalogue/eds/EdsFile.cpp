#include "EdsFile.h"

#include "text/LineText.h"

#include <QtCore/QRegularExpression>

namespace monitor
{

namespace
{

/// The name of a section as the file is searched for it.
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

void EdsFile::readLine(qint64 number, const QByteArray& bytes, Problems& problems)
{
    const QString line = textOf(bytes).trimmed();
    if (line.isEmpty() || line.startsWith(';'))
        return;
    if (!line.startsWith('['))
        return addEntry(number, line, problems);
    const int end = line.indexOf(']');
    const QString rest = line.mid(end + 1).trimmed();
    inSection = end > 1 && (rest.isEmpty() || rest.startsWith(';'));
    if (!inSection)
        return problems.add(number, QStringLiteral("section not understood; what is in it is not "
                                                   "used"));
    current = normalized(line.mid(1, end - 1));
    if (sections.contains(current))
        problems.add(number, QStringLiteral("section that was there before"));
    sections[current];
}

void EdsFile::addEntry(qint64 number, const QString& line, Problems& problems)
{
    const int equals = line.indexOf('=');
    const QString key = line.left(equals).trimmed().toLower();
    if (equals < 0 || key.isEmpty())
        return problems.add(number, QStringLiteral("neither a section nor an entry"));
    if (!inSection)
        return;
    auto& entries = sections[current];
    if (entries.contains(key))
        return problems.add(number, QStringLiteral("entry that was there before is not used"));
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
