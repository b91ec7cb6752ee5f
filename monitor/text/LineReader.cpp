#include "LineReader.h"

namespace monitor
{

LineReader::LineReader(const QString& fileName)
    : file(fileName), buffer(longestLine, Qt::Uninitialized)
{
    file.open(QIODevice::ReadOnly);
}

bool LineReader::readLine(QByteArray& line)
{
    const qint64 size = file.isOpen() ? file.readLine(buffer.data(), buffer.size()) : -1;
    if (size <= 0)
        return false;
    ++number;
    int length = static_cast<int>(size);
    if (buffer.at(length - 1) != '\n')
        skipRestOfLine();
    while (length > 0 && (buffer.at(length - 1) == '\n' || buffer.at(length - 1) == '\r'))
        --length;
    line.replace(0, line.size(), buffer.constData(), length);
    return true;
}

QString LineReader::error() const
{
    if (file.error() == QFileDevice::NoError)
        return QString();
    return QStringLiteral("%1: cannot be read: %2").arg(file.fileName(), file.errorString());
}

void LineReader::skipRestOfLine()
{
    QByteArray rest(longestLine, Qt::Uninitialized);
    qint64 size = 0;
    do {
        size = file.readLine(rest.data(), rest.size());
    } while (size > 0 && rest.at(static_cast<int>(size) - 1) != '\n');
}

} // namespace monitor
