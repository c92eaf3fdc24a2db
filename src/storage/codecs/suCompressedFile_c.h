// Compressed bytes that live in a file object, mostly the stream of a node.
#pragma once

#include "storage/codecs/suCompressedStream_c.h"

#include <mutex>

namespace kvdm {

// The file object is lent: it is used until Close, which closes it, and outlives this object.
class suCompressedFile_c : public suCompressedStream_c
{
public:
    // Starts the worker at once. Throws std::bad_alloc when there is no thread to be had.
    suCompressedFile_c(suFile& stream, bool isStoring, int compressionType);
    ~suCompressedFile_c() override;

    // Of the compressed bytes, as they stand now.
    std::uint64_t GetPosition() override;
    std::uint64_t GetLength() override;
    std::u16string GetFileName() const override;

    // Whether compressing waits for runDeferred.
    virtual bool defers() const noexcept { return false; }
    virtual void runDeferred() {}

protected:
    struct NotStarted
    {
    };
    suCompressedFile_c(NotStarted, suFile& stream, bool isStoring, int compressionType);

    void writeCompressed(const std::uint8_t* bytes, std::size_t count) override;
    std::size_t readCompressed(std::uint8_t* bytes, std::size_t count) override;
    void closeUnderlying() override;

private:
    suFile& underlying;
    mutable std::mutex underlyingGuard; // the client may ask for length and position while the worker reads or writes
};

// For deferred compression: what is written is kept in memory and compressed on the client's thread, with the writing of the
// stream, when runDeferred is called (or at Close, when it was not: nothing written is ever dropped). Reads as its base does.
class suCompressedFile2_c final : public suCompressedFile_c
{
public:
    suCompressedFile2_c(suFile& stream, bool isStoring, int compressionType);
    ~suCompressedFile2_c() override;

    // Not after runDeferred: the compressed stream has its end by then.
    void Write(const void* source, std::size_t count) override;
    void Close() override;
    bool defers() const noexcept override { return true; }
    void runDeferred() override;

private:
    bool deferred = false;
};

} // namespace kvdm
