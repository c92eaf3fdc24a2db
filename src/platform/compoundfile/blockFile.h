// The bytes under a compound file: an ILockBytes, perhaps a stranger's, read by position through a small cache.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace kvdm {

// Reads that are answered short are repeated until the bytes are there or the end is reached; statuses of the byte array pass
// through as exceptions (suOleException). The cache holds 1 MiB, and 8 MiB once that has been read over and over; it serves
// the small pieces that tables, directories and small streams are made of. Large reads and all writes go straight through.
class BlockFile
{
public:
    static constexpr std::size_t blockBytes = 4096;

    explicit BlockFile(ComPtr<ILockBytes> lockBytes);

    // Asks the byte array for its size; an array that cannot tell is measured by reading. Throws.
    void measure();
    std::uint64_t size() const noexcept { return byteCount; }
    // True when the byte array is shorter now than it was: somebody has taken bytes away.
    bool isCutShort();

    // Reads the first bytes anew, before the size is known, and keeps the block that they are in. Gives as many as are there.
    std::size_t readFirst(void* buffer, std::size_t count);
    // Copies what is there; fewer than asked only at the end.
    std::size_t read(std::uint64_t offset, void* buffer, std::size_t count);
    // The same without the cache, for bytes that another process may have changed.
    std::size_t readFresh(std::uint64_t offset, void* buffer, std::size_t count);
    // Bytes inside one block, good until the next call; what lies behind the end reads as zeros. Throws STG_E_DOCFILECORRUPT
    // when not even the first of them is there.
    const std::uint8_t* view(std::uint64_t offset, std::size_t count);

    void write(std::uint64_t offset, const void* bytes, std::size_t count);
    void flush();
    void setSize(std::uint64_t bytes);
    void forget() noexcept; // drops what is cached
    // For a file that may not be written: from this offset on, behind the end, what is written stays in memory.
    void keepWritesInMemory(std::uint64_t from);

    ILockBytes& lockBytes() const noexcept { return *bytes; }

private:
    static constexpr std::size_t ways = 4, setsAtFirst = 64, setsLater = 512;
    struct Block
    {
        std::uint64_t index = ~std::uint64_t{0};
        std::size_t filled = 0;
        std::unique_ptr<std::uint8_t[]> data;
    };

    using Set = std::array<Block, ways>;

    Set& iSet(std::uint64_t index) noexcept { return cache[index % cache.size()]; }
    Block& iBlock(std::uint64_t index);
    void iGrowCache();
    std::size_t iReadArray(std::uint64_t offset, std::uint8_t* out, std::size_t count);

    ComPtr<ILockBytes> bytes;
    std::uint64_t byteCount = 0;
    std::vector<Set> cache;
    std::size_t displaced = 0; // blocks that made room for others
    std::uint64_t memoryFrom = ~std::uint64_t{0};
    std::vector<std::uint8_t> memory;
};

} // namespace kvdm
