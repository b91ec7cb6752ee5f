#pragma once

#include "sources/FrameSource.h"

#include <QtCore/QByteArray>
#include <QtCore/QIODevice>
#include <QtCore/QtEndian>

#include <memory>

namespace monitor
{

/// Reads a device in large blocks, forward only. Memory stays bounded by the largest request. It
/// must be used by one thread only.
class ByteReader
{
public:
    static constexpr qint64 maxRequest = 1 << 28;

    /// \a device must be open. Error messages use \a name.
    ByteReader(std::unique_ptr<QIODevice> device, const QString& name);

    /// Makes the next \a size bytes available at data(), and returns true. At the end of the
    /// device and after an error fewer may be left: returns false, and available() tells how many.
    /// A request of more than maxRequest bytes returns false and reads nothing.
    [[nodiscard]] bool require(qint64 size);

    /// The next bytes. Valid until the next call of require() or skip().
    const char* data() const { return buffer.constData() + begin; }

    /// The number of bytes at data().
    qint64 available() const { return end - begin; }

    /// Skips the next \a size bytes, or all that are left. Returns the number of skipped bytes.
    qint64 skip(qint64 size);

    /// The number of bytes before data() in the device.
    qint64 position() const { return before + begin; }

    /// The bytes read so far and their total, as a source reports them.
    SourceProgress progress() const { return {position(), input->size()}; }

    /// An error message that names the device, or an empty string.
    QString error() const;

private:
    std::unique_ptr<QIODevice> input;
    QString deviceName;
    QByteArray buffer;
    qint64 begin = 0; // of the unread bytes in the buffer
    qint64 end = 0;
    qint64 before = 0; // bytes of the device before the buffer
};

/// The number of that type at \a bytes, which need not be aligned.
template <typename T>
T littleEndian(const char* bytes)
{
    return qFromLittleEndian<T>(bytes);
}

template <typename T>
T bigEndian(const char* bytes)
{
    return qFromBigEndian<T>(bytes);
}

/// The number of data bytes of a CAN FD frame with the length code \a code, 0 to 15.
constexpr quint8 fdLengthOf(quint32 code)
{
    constexpr quint8 lengths[] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 12, 16, 20, 24, 32, 48, 64};
    return lengths[code & 0xF];
}

} // namespace monitor
