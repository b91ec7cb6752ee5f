#include "descriptionCheck.h"
#include "textLines.h"

#include <catalogue/eds/EdsReader.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr quint8 node = 5;
    monitor::Problems problems(QStringLiteral("fuzzed.eds"));
    monitor::EdsFile file;
    qint64 number = 0;
    for (const QByteArray& line : textLines(data, size))
        file.readLine(++number, line, problems);
    checkDescriptions(
        monitor::readTransmitPdos(monitor::EdsDictionary(std::move(file)), node, problems));
    return 0;
}
