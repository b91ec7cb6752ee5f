#include "InputStream.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace monitor
{

namespace
{

constexpr int blockSize = 64 * 1024;

} // namespace

// Unbuffered, because the stream has a buffer of its own.
InputStream::InputStream(std::shared_ptr<InputReport> sharedReport)
    : shared(std::move(sharedReport)), buffer(blockSize, Qt::Uninitialized)
{
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

QByteArray InputStream::ahead() const
{
    return QByteArray::fromRawData(buffer.constData() + begin, static_cast<int>(end - begin));
}

bool InputStream::readAhead()
{
    if (begin > 0 && buffer.size() - end < blockSize / 2) {
        std::memmove(buffer.data(), buffer.constData() + begin, static_cast<size_t>(end - begin));
        end -= begin;
        begin = 0;
    }
    if (buffer.size() - end < blockSize / 2)
        buffer.resize(2 * buffer.size());
    const qint64 size = fillOnce(buffer.data() + end, buffer.size() - end);
    end += size;
    return size > 0;
}

void InputStream::skip(qint64 size)
{
    passed += size;
    begin += size;
    if (begin == end)
        begin = end = 0;
}

// One byte more than is known, so that the stream does not seem to be at its end.
qint64 InputStream::bytesAvailable() const
{
    return end - begin + (isOver ? 0 : 1);
}

qint64 InputStream::readData(char* data, qint64 maxSize)
{
    if (begin == end && maxSize >= blockSize) {
        const qint64 size = fillOnce(data, maxSize);
        passed += size;
        return size > 0 ? size : -1;
    }
    if (begin == end && !readAhead())
        return -1;
    const qint64 size = std::min(maxSize, end - begin);
    std::memcpy(data, buffer.constData() + begin, static_cast<size_t>(size));
    skip(size);
    return size;
}

qint64 InputStream::fillOnce(char* data, qint64 size)
{
    const qint64 filled = isOver ? 0 : fill(data, size);
    isOver = filled == 0;
    return filled;
}

DeviceStream::DeviceStream(std::unique_ptr<QIODevice> openDevice,
                           std::shared_ptr<InputReport> report)
    : InputStream(std::move(report)), device(std::move(openDevice)), start(device->pos())
{
    if (!device->isSequential())
        this->report()->total = device->size();
}

std::unique_ptr<QIODevice> DeviceStream::takeDevice()
{
    return !device->isSequential() && device->seek(start + position()) ? std::move(device)
                                                                       : nullptr;
}

qint64 DeviceStream::fill(char* data, qint64 size)
{
    const qint64 filled = device->read(data, size);
    if (filled > 0) {
        report()->done += filled;
        return filled;
    }
    report()->error = deviceError(*device, report()->name);
    if (!report()->error.isEmpty())
        setCut();
    return 0;
}

DescriptorStream::DescriptorStream(int input, bool owned, int interrupt,
                                   std::shared_ptr<InputReport> report)
    : InputStream(std::move(report)),
      descriptor(input),
      isOwned(owned),
      interruptDescriptor(interrupt)
{
}

DescriptorStream::~DescriptorStream()
{
    if (isOwned)
        ::close(descriptor);
}

qint64 DescriptorStream::fill(char* data, qint64 size)
{
    while (waitForBytes()) {
        const ssize_t filled = ::read(descriptor, data, static_cast<size_t>(size));
        if (filled >= 0) {
            report()->done += filled;
            return filled;
        }
        // Another reader of the same pipe may have been faster.
        if (errno == EINTR || errno == EAGAIN)
            continue;
        report()->error = QStringLiteral("%1: cannot be read: %2")
                              .arg(report()->name, QString::fromLocal8Bit(std::strerror(errno)));
        break;
    }
    setCut();
    return 0;
}

/// Waits until a byte or the end of the input can be read. Returns false on a request to end.
bool DescriptorStream::waitForBytes()
{
    pollfd waited[] = {{descriptor, POLLIN, 0}, {interruptDescriptor, POLLIN, 0}};
    while (::poll(waited, 2, -1) < 0 && errno == EINTR) {
    }
    if (waited[1].revents == 0)
        return true;
    report()->isInterrupted = true;
    report()->notes += report()->name + QStringLiteral(": reading was interrupted");
    return false;
}

} // namespace monitor
