#include "frameCheck.h"
#include "textLines.h"

#include <sources/recording/lines/Csv.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::CsvReader reader;
    for (const QByteArray& line : textLines(data, size)) {
        monitor::Frame frame;
        checkFrame(reader.readLine(monitor::viewOf(line), frame), frame);
    }
    return 0;
}
