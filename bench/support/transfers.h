// What a piece of work read and wrote, counted outside it.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

#include <cstdint>
#include <functional>

namespace kvdm::bench {

struct Transfers
{
    std::uint64_t bytesRead = 0;
    std::uint64_t bytesWritten = 0;
    std::uint64_t readCalls = 0;
    std::uint64_t writeCalls = 0;
};

// Of this process, as the system counts them: every thread, every file. Memory that is mapped does not show here.
Transfers transfersOf(const std::function<void()>& work);

// The bytes of a file behind a counter: what the engine alone asks for. `counts` outlives it.
ComPtr<ILockBytes> countedFile(const char* path, bool writable, Transfers& counts);

} // namespace kvdm::bench
