#include "descriptionCheck.h"
#include "textLines.h"

#include <catalogue/dbc/DbcReader.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    monitor::Problems problems(QStringLiteral("fuzzed.dbc"));
    monitor::DbcReader reader(problems);
    qint64 number = 0;
    for (const QByteArray& line : textLines(data, size))
        reader.readLine(++number, line);
    checkDescriptions(reader.finish());
    return 0;
}
