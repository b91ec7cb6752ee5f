#include "descriptionCheck.h"
#include "textLines.h"

#include <catalogue/eds/EdsReader.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr quint8 node = 5;
    QString text;
    QTextStream stream(&text);
    monitor::LineWarnings warnings(stream, QStringLiteral("fuzzed.eds"));
    monitor::EdsFile file;
    qint64 number = 0;
    for (const QByteArray& line : textLines(data, size))
        file.readLine(++number, line, warnings);
    checkDescriptions(
        monitor::readTransmitPdos(monitor::EdsDictionary(std::move(file)), node, warnings));
    return 0;
}
