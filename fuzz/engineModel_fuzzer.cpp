// Operations on a compound file, chosen by the input, beside the same operations on a plain tree. The first byte chooses the
// version of the format.
#include "faults/EngineModel.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0 || size > 4096)
        return 0;
    const std::string fault = kvdm::test::runEngineModel({data + 1, size - 1}, data[0] % 2 == 0 ? 3 : 4);
    if (!fault.empty()) {
        std::fprintf(stderr, "%s\n", fault.c_str());
        std::abort();
    }
    return 0;
}
