#include "descriptionCheck.h"

#include <catalogue/dbc/DbcReader.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QByteArray content(reinterpret_cast<const char*>(data), static_cast<int>(size));
    checkDescriptions(
        monitor::parseDbc(content, {QStringLiteral("fuzzed.dbc"), std::nullopt, std::nullopt})
            .messages);
    return 0;
}
