// Sources and sinks that the codec tests share, and a writer of imploded bits.
#pragma once

#include "storage/codecs/codecCallbacks.h"
#include "storage/suFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <zlib.h>

namespace kvdm::test {

using Bytes = std::vector<std::uint8_t>;

inline Bytes corpusBytes(const std::string& name)
{
    std::ifstream file(KVDM_TEST_CORPUS "/codecs/" + name, std::ios::binary);
    if (!file)
        throw std::runtime_error("no corpus file " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}
inline Bytes bytesOf(std::string_view text)
{
    return {text.begin(), text.end()};
}
inline std::string textOf(const Bytes& bytes)
{
    return {bytes.begin(), bytes.end()};
}
inline Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
inline Bytes little(std::uint32_t value, int size)
{
    Bytes bytes;
    for (int i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return bytes;
}
// Not compressible by much, and the same on every run.
inline Bytes noise(std::size_t size)
{
    Bytes bytes(size);
    std::uint32_t state = 2463534242;
    for (std::uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(state >> 27);
    }
    return bytes;
}
inline Bytes zlibOf(const Bytes& clear)
{
    uLongf length = compressBound(clear.size());
    Bytes packed(length);
    compress2(packed.data(), &length, clear.data(), clear.size(), 9);
    packed.resize(length);
    return packed;
}
inline Bytes magic()
{
    return {0x23, 0x1D, 0xD5, 0x71, 0xDA, 0x81, 0x48, 0xA2, 0xA8, 0x58, 0x98, 0xB2, 0x1B, 0x89, 0xEF, 0x99};
}
inline Bytes block(const Bytes& clear)
{
    const Bytes packed = zlibOf(clear);
    return little(static_cast<std::uint32_t>(clear.size()), 4) + little(static_cast<std::uint32_t>(packed.size()), 4) + packed;
}
inline Bytes blockForm(const std::vector<Bytes>& blocks)
{
    Bytes stream = magic();
    for (const Bytes& clear : blocks)
        stream = stream + block(clear);
    return stream + Bytes(8);
}

// A reader callback over bytes, in pieces.
struct PieceReader
{
    Bytes bytes;
    std::size_t piece = 2048;
    std::size_t position = 0;
    int calls = 0;

    static std::uint32_t read(void* context, const std::uint8_t** out)
    {
        auto& self = *static_cast<PieceReader*>(context);
        ++self.calls;
        const std::size_t count = std::min(self.piece, self.bytes.size() - self.position);
        *out = self.bytes.data() + self.position;
        self.position += count;
        return static_cast<std::uint32_t>(count);
    }
};

struct CollectingWriter
{
    Bytes bytes;
    std::vector<std::uint32_t> pieces;
    std::size_t refuseFrom = SIZE_MAX; // the piece that is refused

    static int write(void* context, const std::uint8_t* bytes, std::uint32_t length)
    {
        auto& self = *static_cast<CollectingWriter*>(context);
        if (self.pieces.size() >= self.refuseFrom)
            return 1;
        self.bytes.insert(self.bytes.end(), bytes, bytes + length);
        self.pieces.push_back(length);
        return 0;
    }
};

// Puts bits as imploded data has them, lowest first.
class ImplodedBits
{
public:
    explicit ImplodedBits(Bytes head) : bytes(std::move(head)) {}

    ImplodedBits& put(std::uint32_t value, unsigned count)
    {
        for (unsigned i = 0; i < count; ++i) {
            if (used == 0)
                bytes.push_back(0);
            bytes.back() = static_cast<std::uint8_t>(bytes.back() | (value >> i & 1) << used);
            used = (used + 1) % 8;
        }
        return *this;
    }
    ImplodedBits& literal(std::uint8_t value) { return put(0, 1).put(value, 8); }
    // A pair of the greatest length, 518, and a distance of at most 64 whose code is the shortest; 6 dictionary bits.
    ImplodedBits& longestPair(std::uint32_t distance) { return put(1, 1).put(0, 7).put(254, 8).put(3, 2).put(distance - 1, 6); }
    ImplodedBits& end() { return put(1, 1).put(0, 7).put(255, 8); }

    Bytes bytes;

private:
    unsigned used = 0;
};

// A file object whose reads and writes can be made to fail, and which remembers who used it.
class ScriptedFile final : public suFile
{
public:
    explicit ScriptedFile(Bytes content = {}) : bytes(std::move(content)) {}

    std::size_t Read(void* buffer, std::size_t count) override
    {
        iUsed();
        if (position + count > failReadAt)
            failure();
        const std::size_t run = std::min(count, bytes.size() - position);
        std::memcpy(buffer, bytes.data() + position, run);
        position += run;
        ++reads;
        return run;
    }
    void Write(const void* buffer, std::size_t count) override
    {
        iUsed();
        if (bytes.size() + count > failWriteAt)
            failure();
        const auto* from = static_cast<const std::uint8_t*>(buffer);
        bytes.insert(bytes.end(), from, from + count);
        longestWrite = std::max(longestWrite, count);
    }
    std::uint64_t Seek(std::int64_t offset, Origin) override { return position = static_cast<std::size_t>(offset); }
    std::uint64_t GetPosition() override { return position; }
    std::uint64_t GetLength() override { return bytes.size(); }
    void SetLength(std::uint64_t) override {}
    void Flush() override {}
    void Close() override
    {
        ++closed;
        if (failClose)
            failure();
    }

    Bytes bytes;
    std::size_t position = 0;
    std::size_t failReadAt = SIZE_MAX;
    std::size_t failWriteAt = SIZE_MAX;
    bool failClose = false;
    std::function<void()> failure;
    int closed = 0;
    int reads = 0;
    std::size_t longestWrite = 0;
    std::set<std::thread::id> users;

private:
    void iUsed()
    {
        EXPECT_EQ(closed, 0) << "used after it was closed";
        users.insert(std::this_thread::get_id());
    }
};

} // namespace kvdm::test
