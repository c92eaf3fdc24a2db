// A file as a decoder gives its output: in small pieces, to an unknown end.
#pragma once

#include "storage/archive/suMemoryFile.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace kvdm::fuzz {

class PiecewiseFile final : public suFile
{
public:
    PiecewiseFile(std::vector<std::uint8_t> bytes, std::size_t largestRead) : inner(std::move(bytes)), most(largestRead) {}

    std::size_t Read(void* buffer, std::size_t count) override { return inner.Read(buffer, std::min(count, most)); }
    void Write(const void* buffer, std::size_t count) override { inner.Write(buffer, count); }
    std::uint64_t Seek(std::int64_t offset, Origin origin) override { return inner.Seek(offset, origin); }
    std::uint64_t GetPosition() override { return inner.GetPosition(); }
    std::uint64_t GetLength() override { return inner.GetLength(); }
    void SetLength(std::uint64_t bytes) override { inner.SetLength(bytes); }
    void Flush() override {}
    void Close() override {}

private:
    suMemoryFile inner;
    std::size_t most;
};

} // namespace kvdm::fuzz
