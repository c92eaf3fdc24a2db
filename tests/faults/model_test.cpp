// Random sequences of engine operations beside a plain model; KVDM_TEST_FULL=1 makes it many.
#include "faults/EngineModel.h"
#include "support/CompoundFileBuilder.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace kvdm::test {
namespace {

TEST(EngineModel, RandomOperationsAgreeWithAPlainTree)
{
    const std::uint32_t rounds = std::getenv("KVDM_TEST_FULL") ? 4000 : 60;
    for (std::uint32_t round = 1; round <= rounds; ++round) {
        const Bytes choices = patternBytes(200 + round % 7 * 300, round * 7919);
        const std::string fault = runEngineModel(choices, round % 3 == 0 ? 4 : 3);
        ASSERT_EQ(fault, "") << "round " << round;
    }
}

} // namespace
} // namespace kvdm::test
