// The trace routine: operations of the storage layer pass it a line on entry. It discards the line; a program that links the
// rooms (tests do, clients of the shared libraries cannot) may put a sink here, and only then is the line made.
#pragma once

#include <atomic>
#include <concepts>
#include <string>

namespace kvdm {

using TraceSink = void (*)(const std::string& line);
constinit inline std::atomic<TraceSink> traceSink{nullptr};

template <std::invocable MakeLine> void trace(MakeLine&& makeLine)
{
    if (const TraceSink sink = traceSink.load(std::memory_order_relaxed))
        sink(makeLine());
}
inline void trace(const char* line)
{
    if (const TraceSink sink = traceSink.load(std::memory_order_relaxed))
        sink(line);
}

} // namespace kvdm
