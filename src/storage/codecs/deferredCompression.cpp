#include "storage/codecs/deferredCompression.h"

#include <atomic>

namespace kvdm {

namespace {

constinit std::atomic<int> deferredCompressionCounter{0};

} // namespace

void incrementDeferredCompression() noexcept
{
    ++deferredCompressionCounter;
}

void decrementDeferredCompression() noexcept
{
    --deferredCompressionCounter;
}

bool deferredCompressionIsOn() noexcept
{
    return deferredCompressionCounter > 0;
}

} // namespace kvdm
