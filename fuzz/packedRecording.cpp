#include "refusal.h"

#include <sources/recording/formats.h>

#include <QtCore/QBuffer>

#include <cstddef>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    buffer->open(QIODevice::ReadOnly);
    const monitor::OpenedRecording opened = monitor::openRecording(std::move(buffer), "x");
    inputRefused = opened.source == nullptr;
    if (inputRefused == opened.error.isEmpty())
        std::abort();
    if (inputRefused)
        return 0;
    constexpr int maxFrames = 20000; // a small input may unpack to millions of frames
    monitor::Frame frame;
    for (int frames = 0; frames < maxFrames && opened.source->next(frame); ++frames) {
        const quint32 lastId = frame.extended ? monitor::lastExtendedId : monitor::lastStandardId;
        if (frame.id > lastId || frame.length > frame.data.size() ||
            frame.bus >= opened.source->buses().size() || frame.nanoseconds.value_or(0) < 0)
            std::abort();
    }
    const monitor::SourceProgress progress = opened.source->progress();
    if (progress.done > progress.total)
        std::abort();
    return 0;
}
