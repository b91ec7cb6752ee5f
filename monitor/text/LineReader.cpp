#include "LineReader.h"

#include <QtCore/QFile>

#include <algorithm>
#include <utility>

namespace monitor
{

namespace
{

// Fits into the cache of a core. A line that is longer enlarges the buffer.
constexpr std::size_t blockSize = std::size_t{128} * 1024;
static_assert(LineReader::longestLine % blockSize == 0);

} // namespace

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
    : input(std::move(device)),
      cuttable(dynamic_cast<const Cuttable*>(input.get())),
      fileName(name),
      buffer(blockSize + padding),
      begin(buffer.data()),
      end(begin),
      bytesRead(input->pos())
{
}

bool LineReader::readLine(QByteArray& line)
{
    std::string_view read;
    if (!readLine(read))
        return false;
    line = QByteArray(read.data(), static_cast<int>(read.size()));
    return true;
}

QString LineReader::error() const
{
    return deviceError(*input, fileName);
}

/// Reads a line that does not end in the buffer.
bool LineReader::readLineSlowly(std::string_view& line)
{
    if (isSkipping && !skipRestOfLine())
        return false;
    for (std::ptrdiff_t searched = 0;;) {
        const char* const lineFeed = findLineFeed(begin + searched);
        if (lineFeed != nullptr) {
            take(line, lineFeed);
            return true;
        }
        searched = end - begin;
        isSkipping = searched == longestLine;
        if (isSkipping || !readMore())
            break;
    }
    const bool isCut = !isSkipping && cuttable != nullptr && cuttable->isCut();
    if (begin == end || isCut)
        return false;
    take(line, end);
    return true;
}

/// Reads at least one more byte, after the bytes that have not been taken. Returns false at the
/// end.
bool LineReader::readMore()
{
    const auto kept = static_cast<std::size_t>(end - begin);
    std::memmove(buffer.data(), begin, kept);
    if (buffer.size() - padding == kept)
        buffer.resize(2 * kept + padding);
    begin = buffer.data();
    end = begin + kept;
    if (isOver || !input->isOpen())
        return false;
    const qint64 size =
        input->read(buffer.data() + kept, static_cast<qint64>(buffer.size() - padding - kept));
    isOver = size <= 0;
    if (isOver)
        return false;
    bytesRead += size;
    end += size;
    std::memset(buffer.data() + kept + size, 0, padding);
    return true;
}

/// Skips the rest of the line whose beginning was too long. Returns false at the end.
bool LineReader::skipRestOfLine()
{
    const char* lineFeed = findLineFeed(begin);
    while (lineFeed == nullptr) {
        begin = end;
        if (!readMore())
            return false;
        lineFeed = findLineFeed(begin);
    }
    begin = lineFeed + 1;
    isSkipping = false;
    return true;
}

} // namespace monitor
