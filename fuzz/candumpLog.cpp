#include "frameCheck.h"
#include "textLines.h"

#include <sources/recording/Candump.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        const monitor::LineKind kind = monitor::readCandumpLine(line, frame);
        checkFrame(kind, frame);
        if ((monitor::lostFrames(line) > 0) != (kind == monitor::LineKind::Lost))
            std::abort();
    }
    return 0;
}
