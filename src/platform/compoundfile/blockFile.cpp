#include "platform/compoundfile/blockFile.h"

#include "common/exceptions.h"

#include <algorithm>
#include <cstring>

namespace kvdm {
namespace {

constexpr std::size_t directRead = BlockFile::blockBytes; // as much as that is not worth a detour

ULARGE_INTEGER at(std::uint64_t offset) noexcept
{
    ULARGE_INTEGER value;
    value.QuadPart = offset;
    return value;
}

void check(HRESULT status)
{
    if (FAILED(status))
        throw suOleException(status);
}

} // namespace

BlockFile::BlockFile(ComPtr<ILockBytes> lockBytes) : bytes(std::move(lockBytes)), cache(setsAtFirst) {}

void BlockFile::measure()
{
    STATSTG statistics{};
    const HRESULT status = bytes->Stat(&statistics, STATFLAG_NONAME);
    if (SUCCEEDED(status)) {
        byteCount = statistics.cbSize.QuadPart;
        return;
    }
    if (status != E_NOTIMPL && status != STG_E_INVALIDFUNCTION && status != STG_E_UNIMPLEMENTEDFUNCTION)
        throw suOleException(status);
    std::uint8_t probe;
    std::uint64_t there = 0, missing = 1; // the first `there` bytes exist, byte number `missing` - 1 does not or is not known
    while (missing < (std::uint64_t{1} << 48) && readFresh(missing - 1, &probe, 1) == 1) {
        there = missing;
        missing *= 2;
    }
    while (there + 1 < missing) {
        const std::uint64_t middle = there + (missing - there) / 2;
        (readFresh(middle - 1, &probe, 1) == 1 ? there : missing) = middle;
    }
    byteCount = there;
}

bool BlockFile::isCutShort()
{
    STATSTG statistics{};
    return SUCCEEDED(bytes->Stat(&statistics, STATFLAG_NONAME)) && statistics.cbSize.QuadPart < byteCount;
}

std::size_t BlockFile::readFresh(std::uint64_t offset, void* buffer, std::size_t count)
{
    auto* out = static_cast<std::uint8_t*>(buffer);
    if (memory.empty() || offset + count <= memoryFrom)
        return iReadArray(offset, out, count);
    std::size_t done = 0;
    if (offset < memoryFrom) {
        done = static_cast<std::size_t>(memoryFrom - offset);
        const std::size_t got = iReadArray(offset, out, done);
        std::memset(out + got, 0, done - got);
    }
    const std::uint64_t from = offset + done - memoryFrom;
    const std::size_t piece = from < memory.size() ? std::min<std::size_t>(count - done, memory.size() - static_cast<std::size_t>(from)) : 0;
    std::copy_n(memory.begin() + static_cast<std::ptrdiff_t>(piece != 0 ? from : 0), piece, out + done);
    return done + piece;
}

void BlockFile::keepWritesInMemory(std::uint64_t from)
{
    memoryFrom = from;
    memory.clear();
}

std::size_t BlockFile::iReadArray(std::uint64_t offset, std::uint8_t* out, std::size_t count)
{
    std::size_t done = 0;
    while (done < count) {
        const ULONG wanted = static_cast<ULONG>(std::min<std::size_t>(count - done, 1u << 30));
        ULONG got = 0; // a stranger may leave it alone
        check(bytes->ReadAt(at(offset + done), out + done, wanted, &got));
        if (got == 0)
            break;
        done += std::min(got, wanted);
    }
    return done;
}

// For many small streams that are read in another order than they lie in.
void BlockFile::iGrowCache()
{
    std::vector<Set> larger(setsLater);
    for (Set& set : cache) {
        for (std::size_t i = 0; i < ways; ++i) {
            if (set[i].index != ~std::uint64_t{0})
                larger[set[i].index % setsLater][i] = std::move(set[i]); // what shared a set has places of its own
        }
    }
    cache = std::move(larger);
    ++displaced; // once
}

BlockFile::Block& BlockFile::iBlock(std::uint64_t index)
{
    for (Block& block : iSet(index)) {
        if (block.index == index)
            return block;
    }
    if (displaced == 4 * setsAtFirst * ways)
        iGrowCache();
    Set& set = iSet(index);
    std::rotate(set.begin(), set.end() - 1, set.end()); // the oldest comes to the front
    Block& block = set.front();
    if (block.index != ~std::uint64_t{0})
        ++displaced;
    if (!block.data)
        block.data = std::make_unique<std::uint8_t[]>(blockBytes);
    block.index = ~std::uint64_t{0}; // nothing until it is whole
    const std::uint64_t offset = index * blockBytes;
    const std::size_t wanted = offset >= byteCount ? 0 : static_cast<std::size_t>(std::min<std::uint64_t>(blockBytes, byteCount - offset));
    block.filled = readFresh(offset, block.data.get(), wanted);
    std::memset(block.data.get() + block.filled, 0, blockBytes - block.filled);
    block.index = index;
    return block;
}

std::size_t BlockFile::readFirst(void* buffer, std::size_t count)
{
    forget();
    Block& block = cache[0][0];
    if (!block.data)
        block.data = std::make_unique<std::uint8_t[]>(blockBytes);
    block.filled = readFresh(0, block.data.get(), blockBytes);
    std::memset(block.data.get() + block.filled, 0, blockBytes - block.filled);
    block.index = 0;
    const std::size_t got = std::min(count, block.filled);
    std::memcpy(buffer, block.data.get(), got);
    return got;
}

std::size_t BlockFile::read(std::uint64_t offset, void* buffer, std::size_t count)
{
    if (count >= directRead)
        return readFresh(offset, buffer, count);
    auto* out = static_cast<std::uint8_t*>(buffer);
    std::size_t done = 0;
    while (done < count) {
        const Block& block = iBlock((offset + done) / blockBytes);
        const std::size_t from = static_cast<std::size_t>((offset + done) % blockBytes);
        if (from >= block.filled)
            break;
        const std::size_t piece = std::min(count - done, block.filled - from);
        std::memcpy(out + done, block.data.get() + from, piece);
        done += piece;
        if (from + piece < blockBytes && done < count)
            break;
    }
    return done;
}

const std::uint8_t* BlockFile::view(std::uint64_t offset, std::size_t count)
{
    const Block& block = iBlock(offset / blockBytes);
    const std::size_t from = static_cast<std::size_t>(offset % blockBytes);
    if (from + count > blockBytes || from >= block.filled)
        throw suOleException(STG_E_DOCFILECORRUPT);
    return block.data.get() + from;
}

void BlockFile::write(std::uint64_t offset, const void* source, std::size_t count)
{
    const auto* from = static_cast<const std::uint8_t*>(source);
    // First the cache: a write that fails half way leaves nothing there that the file may not have. A write behind the end
    // also changes the block that was the last.
    for (Block& block : iSet(byteCount / blockBytes)) {
        if (block.index == byteCount / blockBytes)
            block.index = ~std::uint64_t{0};
    }
    for (std::uint64_t index = offset / blockBytes; count != 0 && index <= (offset + count - 1) / blockBytes; ++index) {
        if (count / blockBytes > cache.size() * ways) {
            forget();
            break;
        }
        for (Block& block : iSet(index)) {
            if (block.index == index)
                block.index = ~std::uint64_t{0};
        }
    }
    if (memoryFrom != ~std::uint64_t{0}) {
        if (offset < memoryFrom)
            throw suOleException(STG_E_ACCESSDENIED);
        const auto at = static_cast<std::size_t>(offset - memoryFrom);
        if (memory.size() < at + count)
            memory.resize(at + count);
        std::copy_n(from, count, memory.begin() + static_cast<std::ptrdiff_t>(at));
        byteCount = std::max(byteCount, offset + count);
        return;
    }
    std::size_t done = 0;
    while (done < count) {
        const ULONG wanted = static_cast<ULONG>(std::min<std::size_t>(count - done, 1u << 30));
        ULONG put = 0;
        check(bytes->WriteAt(at(offset + done), from + done, wanted, &put));
        if (put == 0)
            throw suOleException(STG_E_WRITEFAULT);
        done += std::min(put, wanted);
        byteCount = std::max(byteCount, offset + done);
    }
}

void BlockFile::flush()
{
    check(bytes->Flush());
}

void BlockFile::setSize(std::uint64_t size)
{
    check(bytes->SetSize(at(size)));
    forget();
    byteCount = size;
}

void BlockFile::forget() noexcept
{
    for (auto& set : cache) {
        for (Block& block : set)
            block.index = ~std::uint64_t{0};
    }
}

} // namespace kvdm
