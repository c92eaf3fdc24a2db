// A file object over bytes in memory.
#pragma once

#include "storage/suFile.h"

#include <cstdint>
#include <vector>

namespace kvdm {

// Grows as it is written. A position behind the end is filled with zeros by the next write, and refused before the start.
class suMemoryFile final : public suFile
{
public:
    suMemoryFile() = default;
    explicit suMemoryFile(std::vector<std::uint8_t> content) : bytes(std::move(content)) {}

    const std::vector<std::uint8_t>& content() const noexcept { return bytes; }

    std::size_t Read(void* buffer, std::size_t count) override;
    void Write(const void* buffer, std::size_t count) override;
    std::uint64_t Seek(std::int64_t offset, Origin origin) override;
    std::uint64_t GetPosition() override { return position; }
    std::uint64_t GetLength() override { return bytes.size(); }
    void SetLength(std::uint64_t length) override;
    void Flush() override {}
    void Close() override {}
    std::uint64_t bytesLeft() override { return position < bytes.size() ? bytes.size() - position : 0; }

private:
    std::vector<std::uint8_t> bytes;
    std::size_t position = 0;
};

} // namespace kvdm
