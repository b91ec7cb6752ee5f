#include "textLines.h"
#include "waysOfReading.h"

#include <sources/recording/lines/Asc.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::AscReader reader;
    QVector<monitor::Frame> frames;
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        const monitor::LineKind kind = reader.readLine(monitor::viewOf(line), frame);
        checkFrame(kind, frame);
        if (kind == monitor::LineKind::Frame)
            frames.append(frame);
    }
    monitor::TextRecording source(bufferOf(data, size), QString(),
                                  std::make_unique<monitor::AscReader>());
    checkFrames(source, frames, true);
    return 0;
}
