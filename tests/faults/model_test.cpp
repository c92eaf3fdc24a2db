// Random sequences of engine operations beside a plain model; KVDM_TEST_FULL=1 makes it many, a larger
// number so many times more.
#include "faults/EngineModel.h"
#include "support/CompoundFileBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace kvdm::test {
namespace {

TEST(EngineModel, RandomOperationsAgreeWithAPlainTree)
{
    const char* full = std::getenv("KVDM_TEST_FULL");
    const std::uint32_t rounds = full ? 4000 * std::max(1u, static_cast<unsigned>(std::strtoul(full, nullptr, 10))) : 60;
    for (std::uint32_t round = 1; round <= rounds; ++round) {
        const Bytes choices = patternBytes(200 + round % 7 * 300, round * 7919);
        const std::string fault = runEngineModel(choices, round % 3 == 0 ? 4 : 3);
        ASSERT_EQ(fault, "") << "round " << round;
    }
}

} // namespace
} // namespace kvdm::test
