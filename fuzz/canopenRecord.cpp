#include "recordReader.h"

#include <vantrel/values/CANopenObjectValue.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RecordReader<CANopenObjectValue>(data, size).readAll();
    return 0;
}
