#include "frameCheck.h"

#include <sources/recording/mf4/Mf4.h>

#include <QtCore/QBuffer>

/// The input is a file.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    buffer->open(QIODevice::ReadOnly);
    const std::unique_ptr<monitor::FrameSource> source =
        monitor::openMf4(std::move(buffer), QStringLiteral("x.mf4"));
    for (monitor::Frame frame; source->next(frame); frame = monitor::Frame()) {
        checkFrame(monitor::LineKind::Frame, frame);
        if (frame.bus >= source->buses().size())
            std::abort();
    }
    const monitor::SourceProgress progress = source->progress();
    if (progress.done > progress.total || progress.total != static_cast<qint64>(size))
        std::abort();
    source->notes();
    return 0;
}
