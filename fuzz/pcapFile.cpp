#include "frameCheck.h"

#include <sources/recording/bytes/Pcap.h>

#include <QtCore/QBuffer>

#include <cstdint>

namespace
{

void checkFrames(const QByteArray& content,
                 std::unique_ptr<monitor::FrameSource> (*open)(std::unique_ptr<QIODevice> device,
                                                               const QString& name))
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(content);
    buffer->open(QIODevice::ReadOnly);
    const auto source = open(std::move(buffer), QString());
    for (monitor::Frame frame; source->next(frame);) {
        checkFrame(monitor::LineKind::Frame, frame);
        if (frame.bus >= source->buses().size())
            std::abort();
        frame = monitor::Frame();
    }
    source->notes();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    checkFrames(content, monitor::findPcap(content) == 0 ? monitor::openPcap : monitor::openPcapng);
    return 0;
}
