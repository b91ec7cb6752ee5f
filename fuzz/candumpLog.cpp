#include "frameCheck.h"
#include "textLines.h"

#include <sources/recording/lines/Candump.h>

#include <QtCore/QBuffer>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::CandumpReader reader;
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        const qint64 lostBefore = reader.lost();
        const monitor::LineKind kind = reader.readLine(monitor::viewOf(line), frame);
        checkFrame(kind, frame);
        if ((reader.lost() > lostBefore) != (kind == monitor::LineKind::Lost))
            std::abort();
    }
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(reinterpret_cast<const char*>(data), static_cast<int>(size));
    buffer->open(QIODevice::ReadOnly);
    const auto source = monitor::openCandump(std::move(buffer), QString());
    for (monitor::Frame frame; source->next(frame);)
        checkFrame(monitor::LineKind::Frame, frame);
    return 0;
}
