#include "ByteReader.h"

#include "text/LineReader.h"

#include <algorithm>
#include <cstring>

namespace monitor
{

namespace
{

constexpr qint64 blockSize = qint64{256} * 1024;

} // namespace

ByteReader::ByteReader(std::unique_ptr<QIODevice> device, const QString& name)
    : input(std::move(device)), deviceName(name)
{
}

bool ByteReader::require(qint64 size)
{
    if (available() >= size)
        return true;
    if (size > maxRequest)
        return false;
    std::memmove(buffer.data(), buffer.constData() + begin, static_cast<size_t>(available()));
    before += begin;
    end -= begin;
    begin = 0;
    while (end < size) {
        // Grows with the bytes that are there, so that a large request costs nothing in a short
        // file.
        const qint64 wanted = end + blockSize;
        if (buffer.size() < wanted)
            buffer.resize(static_cast<int>(std::max(wanted, std::min(size, 2 * end))));
        const qint64 read = input->read(buffer.data() + end, buffer.size() - end);
        if (read <= 0)
            return false;
        end += read;
    }
    return true;
}

qint64 ByteReader::skip(qint64 size)
{
    qint64 left = std::max<qint64>(size, 0);
    while (left > available()) {
        left -= available();
        begin = end;
        if (!require(1))
            return size - left;
    }
    begin += left;
    return size;
}

QString ByteReader::error() const
{
    return deviceError(*input, deviceName);
}

} // namespace monitor
