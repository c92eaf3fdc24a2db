#include "storage/codecs/decompressBlocks.h"

#include "storage/codecs/compressBlocks.h"
#include "storage/codecs/CPRawCodec.h"
#include "storage/codecs/explode.h"
#include "storage/codecs/readAheadBuffer.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <zlib.h>

namespace kvdm {

namespace {

constexpr std::uint32_t batchSize = 0x20000; // holds any two chunks

std::uint32_t get16(const std::uint8_t* bytes)
{
    return bytes[0] | bytes[1] << 8;
}
std::uint32_t get32(const std::uint8_t* bytes)
{
    return get16(bytes) | get16(bytes + 2) << 16;
}

// A block that fails still hands on what the codec reports as produced: the next header decides how it goes on.
void decodeBlockForm(const CPRawCodec& codec, ReadAheadBuffer& input, suDecodedOutput& output)
{
    for (;;) {
        const auto header = input.take(8);
        if (header.size() < 8)
            return;
        std::uint32_t produced = get32(header.data());
        const std::uint32_t compressedSize = get32(header.data() + 4);
        if (produced == 0 || produced > blockUncompressedLimit || compressedSize == 0 || compressedSize > blockCompressedLimit)
            return;
        const auto compressed = input.take(compressedSize);
        std::uint8_t* block = output.room(produced);
        const int result = codec.decompressBlock(block, produced, compressed.data(), static_cast<std::uint32_t>(compressed.size()));
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc();
        if (produced != 0 && !output.deliver(produced))
            return;
    }
}

// A chunk that fails leaves its room as zeros behind what came out, and is the last.
void decodeChunkForm(const CPRawCodec& codec, const std::vector<std::uint8_t>& input, suDecodedOutput& output)
{
    std::size_t position = 0;
    std::uint32_t used = 0;
    std::uint8_t* batch = output.room(batchSize);
    bool good = true;
    while (good && input.size() - position >= 4) {
        const std::uint32_t size = get16(&input[position]);
        const std::uint32_t compressedSize = get16(&input[position + 2]);
        position += 4;
        if ((size == 0 && compressedSize == 0) || compressedSize > input.size() - position)
            break;
        if (used + size > batchSize) {
            if (!output.deliver(used))
                return;
            batch = output.room(batchSize);
            used = 0;
        }
        std::memset(batch + used, 0, size);
        std::uint32_t produced = size;
        const int result = codec.decompressBlock(batch + used, produced, input.data() + position, compressedSize);
        if (result == Z_MEM_ERROR)
            throw std::bad_alloc();
        good = result == Z_OK;
        used += size;
        position += compressedSize;
    }
    if (used != 0)
        output.deliver(used);
}

// The whole input as a reader for explode, until no more is wanted.
struct MemoryInput
{
    const std::vector<std::uint8_t>& bytes;
    const suDecodedOutput& output;
    std::size_t given = 0;

    static std::uint32_t read(void* context, const std::uint8_t** bytes)
    {
        constexpr std::size_t portion = 0x10000;
        auto& self = *static_cast<MemoryInput*>(context);
        if (!self.output.isWanted())
            return 0;
        const std::size_t count = std::min(portion, self.bytes.size() - self.given);
        *bytes = self.bytes.data() + self.given;
        self.given += count;
        return static_cast<std::uint32_t>(count);
    }
};

// Gathers the small windows of explode.
class ExplodeBatch
{
public:
    explicit ExplodeBatch(suDecodedOutput& output) : output(output) {}

    static int write(void* context, const std::uint8_t* bytes, std::uint32_t length)
    {
        auto& self = *static_cast<ExplodeBatch*>(context);
        if (self.used + length > batchSize && !self.flush())
            return 1;
        std::memcpy(self.output.room(batchSize) + self.used, bytes, length);
        self.used += length;
        return 0;
    }
    bool flush()
    {
        const std::uint32_t count = std::exchange(used, 0);
        return count == 0 || output.deliver(count);
    }

private:
    suDecodedOutput& output;
    std::uint32_t used = 0;
};

// Hands decoded bytes to a writer in pieces.
class WriterOutput final : public suDecodedOutput
{
public:
    WriterOutput(suWriter writer, void* context) : writer(writer), context(context) {}

    std::uint8_t* room(std::uint32_t count) override
    {
        if (capacity < count) {
            bytes = std::make_unique_for_overwrite<std::uint8_t[]>(count);
            capacity = count;
        }
        return bytes.get();
    }
    bool deliver(std::uint32_t count) override
    {
        for (std::uint32_t done = 0; done < count; done += longestPiece) {
            if (writer(context, bytes.get() + done, std::min(count - done, longestPiece)) != 0)
                return false;
        }
        return true;
    }

private:
    suWriter writer;
    void* context;
    std::unique_ptr<std::uint8_t[]> bytes;
    std::uint32_t capacity = 0;
};

} // namespace

int explodeStream(suReader reader, void* readerContext, suDecodedOutput& output)
{
    ExplodeBatch batch(output);
    try {
        const int result = explode(reader, readerContext, &ExplodeBatch::write, &batch);
        return batch.flush() || result != explodeDone ? result : explodeWriterFailed;
    } catch (...) {
        batch.flush(); // the failure of a reader comes behind the bytes before it
        throw;
    }
}

void decodeStream(const CPRawCodec& codec, suReader reader, void* readerContext, suDecodedOutput& output, std::uint32_t readSize)
{
    ReadAheadBuffer input(reader, readerContext, readSize);
    const auto head = input.take(blockFormMagic.size());
    if (std::equal(head.begin(), head.end(), blockFormMagic.begin(), blockFormMagic.end())) {
        decodeBlockForm(codec, input, output);
        return;
    }
    const std::vector<std::uint8_t> whole = input.takeAllSince(head);
    MemoryInput toCheck{whole, output};
    if (checkImploded(&MemoryInput::read, &toCheck) == explodeDone) {
        MemoryInput source{whole, output};
        explodeStream(&MemoryInput::read, &source, output);
    } else if (output.isWanted()) {
        decodeChunkForm(codec, whole, output);
    }
}

int decompressBlocks(const CPRawCodec& codec, suReader reader, void* readerContext, suWriter writer, void* writerContext,
                     std::uint32_t readSize) noexcept
{
    try {
        WriterOutput output(writer, writerContext);
        decodeStream(codec, reader, readerContext, output, readSize);
    } catch (...) {
        // what was handed on before stays handed on
    }
    return 0;
}

} // namespace kvdm
