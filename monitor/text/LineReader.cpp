#include "LineReader.h"

#include <QtCore/QFile>
#include <QtCore/QTextCodec>

#include <utility>

namespace monitor
{

QString textOf(const QByteArray& line)
{
    QTextCodec::ConverterState state;
    const QString text =
        QTextCodec::codecForName("UTF-8")->toUnicode(line.constData(), line.size(), &state);
    return state.invalidChars + state.remainingChars == 0
               ? text
               : QString::fromLatin1(line.constData(), line.size()); // zero bytes included
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
    line.replace(0, line.size(), buffer.constData(), length);
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
