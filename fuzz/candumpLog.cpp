#include "frameCheck.h"
#include "textLines.h"

#include <sources/recording/CandumpLine.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        const monitor::LineKind kind = monitor::readCandumpLine(line, frame);
        checkFrame(kind, frame);
        if ((monitor::droppedFrames(line) > 0) != (kind == monitor::LineKind::Dropped))
            std::abort();
    }
    return 0;
}
