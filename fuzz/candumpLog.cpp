#include "textLines.h"
#include "waysOfReading.h"

#include <sources/recording/lines/Candump.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::CandumpReader reader;
    QVector<monitor::Frame> frames;
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        const qint64 lostBefore = reader.lost();
        const monitor::LineKind kind = reader.readLine(monitor::viewOf(line), frame);
        checkFrame(kind, frame);
        if ((reader.lost() > lostBefore) != (kind == monitor::LineKind::Lost))
            std::abort();
        if (kind == monitor::LineKind::Frame)
            frames.append(frame);
    }
    const auto source = monitor::openCandump(bufferOf(data, size), QString());
    checkFrames(*source, frames, !reader.areTimesDifferences());
    return 0;
}
