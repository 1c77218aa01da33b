// Where libFuzzer hands over what it made up. Compiled once for each target, which HALVORIX_FUZZ_TARGET names.

#include "tests/fuzz/Targets.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    HALVORIX_FUZZ_TARGET(std::string(data, data + size));
    return 0;
}
