#include "recordReader.h"

#include <vantrel/values/J1939Value.h>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    RecordReader<J1939Value>(data, size).readAll();
    return 0;
}
