#include "LineReader.h"

#include <QtCore/QFile>

#include <algorithm>
#include <utility>

namespace monitor
{

// Lengths are passed because otherwise Qt 5 would stop at a zero byte.
std::optional<QString> fromUtf8(const QByteArray& bytes)
{
    const QString text = QString::fromUtf8(bytes.constData(), bytes.size());
    const QByteArray encoded = text.toUtf8();
    const bool isValid = bytes == encoded || bytes == byteOrderMark + encoded;
    return isValid ? std::optional(text) : std::nullopt;
}

QString textOf(const QByteArray& line)
{
    const std::optional<QString> text = fromUtf8(line);
    return text ? *text : QString::fromLatin1(line.constData(), line.size());
}

QString deviceError(const QIODevice& device, const QString& name)
{
    const auto* const file = qobject_cast<const QFileDevice*>(&device);
    if (file == nullptr || file->error() == QFileDevice::NoError)
        return QString();
    return QStringLiteral("%1: cannot be read: %2").arg(name, file->errorString());
}

LineReader::LineReader(const QString& file) : LineReader(std::make_unique<QFile>(file), file)
{
    input->open(QIODevice::ReadOnly);
}

LineReader::LineReader(std::unique_ptr<QIODevice> device, const QString& name)
    : input(std::move(device)), fileName(name), buffer(longestLine, Qt::Uninitialized)
{
}

bool LineReader::readLine(QByteArray& line)
{
    const qint64 size = input->isOpen() ? input->readLine(buffer.data(), buffer.size()) : -1;
    if (size <= 0)
        return false;
    ++number;
    int length = static_cast<int>(size);
    if (buffer.at(length - 1) != '\n')
        skipRestOfLine();
    while (length > 0 && (buffer.at(length - 1) == '\n' || buffer.at(length - 1) == '\r'))
        --length;
    line.resize(length);
    std::copy_n(buffer.constData(), length, line.begin());
    return true;
}

QString LineReader::error() const
{
    return deviceError(*input, fileName);
}

void LineReader::skipRestOfLine()
{
    QByteArray rest(longestLine, Qt::Uninitialized);
    qint64 size = 0;
    do {
        size = input->readLine(rest.data(), rest.size());
    } while (size > 0 && rest.at(static_cast<int>(size) - 1) != '\n');
}

} // namespace monitor
