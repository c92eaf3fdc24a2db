// A whole conversion from one file object to another.
#pragma once

#include "storage/suFile.h"

#include <cstdint>

namespace kvdm {

// Works from the source's position to its end, and on the destination at its position. Both stay the caller's.
class suCompressProc_c
{
public:
    static constexpr std::uint32_t failed = 0xFFFFFFFF;

    suCompressProc_c(suFile& source, suFile& destination, bool isCompressing) : source(source), destination(destination), isCompressing(isCompressing)
    {}
    virtual ~suCompressProc_c() = default;
    suCompressProc_c(const suCompressProc_c&) = delete;
    suCompressProc_c& operator=(const suCompressProc_c&) = delete;

    // Per cent of the source's length that the result takes, or failed.
    virtual std::uint32_t compress() = 0;
    // True (1) when done. The version is a hint that the data may overrule.
    virtual int decompress(int version) = 0;

protected:
    suFile& source;
    suFile& destination;
    bool isCompressing;
};

} // namespace kvdm
