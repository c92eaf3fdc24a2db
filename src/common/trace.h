// The trace routine: operations of the storage layer pass it a line on entry. It discards the line; a program that links the
// rooms (tests do, clients of the shared libraries cannot) may put a sink here, and only then is the line made.
#pragma once

#include <concepts>
#include <string>

namespace kvdm {

using TraceSink = void (*)(const std::string& line);
inline TraceSink traceSink = nullptr;

template <std::invocable MakeLine> void trace(MakeLine&& makeLine)
{
    if (traceSink)
        traceSink(makeLine());
}
inline void trace(const char* line)
{
    if (traceSink)
        traceSink(line);
}

} // namespace kvdm
