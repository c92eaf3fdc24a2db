// The deferred compression counter: while it is above 0, no worker touches a stream. A compressed stream that is opened for
// reading then reads its whole input on the client's thread first, and one opened for writing is to be a
// suCompressedFile2_c, which compresses on the client's thread.
#pragma once

namespace kvdm {

void incrementDeferredCompression() noexcept;
void decrementDeferredCompression() noexcept;
bool deferredCompressionIsOn() noexcept;

// Raises the counter for its own lifetime.
class DeferredCompressionScope
{
public:
    DeferredCompressionScope() noexcept { incrementDeferredCompression(); }
    ~DeferredCompressionScope() { decrementDeferredCompression(); }
    DeferredCompressionScope(const DeferredCompressionScope&) = delete;
    DeferredCompressionScope& operator=(const DeferredCompressionScope&) = delete;
};

} // namespace kvdm
