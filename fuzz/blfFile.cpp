#include "frameCheck.h"

#include <sources/recording/bytes/Blf.h>

#include <QtCore/QBuffer>
#include <QtCore/QVector>
#include <QtCore/QtEndian>

#include <cstdint>
#include <cstdlib>

namespace
{

QByteArray number(quint32 value)
{
    QByteArray bytes(4, '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

/// The objects in stored containers of \a size bytes each.
QByteArray inContainers(const QByteArray& objects, int size)
{
    QByteArray file = "LOGG" + number(144) + QByteArray(136, '\0');
    for (int at = 0; at < objects.size(); at += size) {
        const QByteArray content = objects.mid(at, size);
        const auto objectSize = static_cast<quint32>(content.size()) + 32;
        file += "LOBJ" + number(0x10010) + number(objectSize) + number(10) + QByteArray(16, '\0') +
                content + QByteArray(static_cast<int>(objectSize % 4), '\0');
    }
    return file;
}

QVector<monitor::Frame> read(const QByteArray& file)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(file);
    buffer->open(QIODevice::ReadOnly);
    const std::unique_ptr<monitor::FrameSource> source =
        monitor::openBlf(std::move(buffer), QStringLiteral("x.blf"));
    QVector<monitor::Frame> frames;
    for (monitor::Frame frame; source->next(frame); frame = monitor::Frame()) {
        checkFrame(monitor::LineKind::Frame, frame);
        if (frame.bus >= source->buses().size())
            std::abort();
        frames.append(frame);
    }
    monitor::Frame untouched;
    if (source->next(untouched) || source->progress().done != file.size() ||
        !source->error().isEmpty())
        std::abort();
    checkFrame(monitor::LineKind::Nothing, untouched);
    return frames;
}

bool areEqual(const monitor::Frame& a, const monitor::Frame& b)
{
    return a.id == b.id && a.nanoseconds == b.nanoseconds && a.length == b.length &&
           a.data == b.data && a.bus == b.bus;
}

} // namespace

/// The first byte is 0 if the others are a file, otherwise the size of the containers with them.
/// The second byte tells where the file is cut: the frames of the cut file must be the first ones
/// of the whole file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const QByteArray bytes(reinterpret_cast<const char*>(data + 2), static_cast<int>(size - 2));
    const QByteArray file = data[0] == 0 ? bytes : inContainers(bytes, data[0]);
    const QVector<monitor::Frame> frames = read(file);
    const QVector<monitor::Frame> first = read(file.left(file.size() * data[1] / 256));
    if (first.size() > frames.size() ||
        !std::equal(first.cbegin(), first.cend(), frames.cbegin(), areEqual))
        std::abort();
    return 0;
}
