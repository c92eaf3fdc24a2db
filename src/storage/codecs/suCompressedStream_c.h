// A file object that compresses what is written to it, or decompresses what is read from it: a pipe with a worker thread on
// its far side, which runs the codec. The derived class says where the compressed bytes live.
#pragma once

#include "common/exceptions.h"
#include "storage/codecs/decompressBlocks.h"
#include "storage/codecs/handOverSignals.h"
#include "storage/suFile.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <thread>
#include <vector>

namespace kvdm {

// A compressed node that was read to its end and did not decode. decodeResult is that of explode, or 4 for a failed file.
class suCompressedStreamException final : public suFileException
{
public:
    explicit suCompressedStreamException(int result) : suFileException(generic), decodeResult(result) {}

    static constexpr int fileFailed = 4;
    int decodeResult;
};

// One client thread and one worker an object. Bytes are handed over in turn: the worker lends the client the memory that it
// has decoded into, or that it will compress from, and touches it no more until it is given back; one hand-over moves up to a
// whole block. The far side is touched by the worker alone between construction and Close, and not at all once Close is done.
// A small input that decodes to one hand-over has no worker: starting one would cost more than the decoding. The constructor
// decodes it, and the client meets bytes and failures where a worker's would come.
//
// What fails in the worker is thrown at the client's next Read, Write or Close. Writing, a failure shows when 4096 bytes are
// together that have to go to the worker, or at Close. Reading, it shows when the bytes before it are used up. Whether Close
// throws on a stream that was read depends on one thing: a client that has taken all the bytes there are has reached the end
// and is told; one that gave up earlier is not.
class suCompressedStream_c : public suFile
{
public:
    // Derived classes end the pipe in their own destructor (iEndQuietly), since the worker calls into them.
    ~suCompressedStream_c() override;
    suCompressedStream_c(const suCompressedStream_c&) = delete;
    suCompressedStream_c& operator=(const suCompressedStream_c&) = delete;

    std::size_t Read(void* target, std::size_t count) override;
    void Write(const void* source, std::size_t count) override;
    std::uint64_t Seek(std::int64_t offset, Origin origin) override;
    std::uint64_t GetPosition() override;
    std::uint64_t GetLength() override;
    void SetLength(std::uint64_t bytes) override;
    // Nothing: what is written is compressed in blocks, and the last one at Close.
    void Flush() override {}
    void Close() override;

protected:
    // A type of 2 reads imploded data and nothing else; any other recognises all forms. Storing ignores it.
    suCompressedStream_c(bool isStoring, int compressionType);

    // To be called by the class that is complete, for its virtual operations are used at once. With deferred compression on, a
    // reader's whole input is read here; a small one in any case, and decoded too. Throws std::bad_alloc when there is no thread to be had.
    void iStart();
    void iEndQuietly() noexcept;
    // Compresses everything that iKeep() was given, on this thread.
    void iCompressKept();
    void iKeep(const void* source, std::size_t count);
    bool iIsOpen() const noexcept { return isOpen; }

    // The far side; after iStart both are called on the worker's thread. Fewer bytes than asked mean the end.
    virtual void writeCompressed(const std::uint8_t* bytes, std::size_t count) = 0;
    virtual std::size_t readCompressed(std::uint8_t* bytes, std::size_t count) = 0;
    // The last use of the far side, on the client's thread, when the worker has ended. Not called a second time.
    virtual void closeUnderlying() = 0;

    const bool isStoring;

private:
    class Decoded;
    class DecodedAtOnce;

    void iReadFirst(std::size_t most);
    bool iDecodeAtOnce();
    void iRunWorker() noexcept;
    void iCompress() noexcept;
    void iDecode(suDecodedOutput& output) noexcept;
    void iRequireOpen(bool forStoring) const;
    void iThrowStored();
    void iTakeBlock();
    void iGiveBlock(bool isLast);
    bool iTakePiece();
    void iFinishStoring();
    bool iFinishReading();

    // worker's callbacks
    static std::uint32_t iReadBlock(std::uint8_t* block, std::uint32_t* length, void* context);
    static int iWriteBlock(const std::uint8_t* bytes, std::uint32_t length, void* context);
    static std::uint32_t iPull(void* context, const std::uint8_t** bytes);

    const int compressionType;
    bool isOpen = true;

    // the client's own
    static constexpr std::size_t bufferSize = 4096;
    std::uint8_t buffer[bufferSize]; // storing: what waits for the worker's next block
    std::size_t bufferFilled = 0;
    bool bufferHeld = false; // memory of the worker's is with the client
    bool endWasMet = false;
    bool exceptionWasThrown = false;

    // handed to and fro, owned by who was signalled last
    std::uint8_t* bufferPos = nullptr;
    std::size_t bufferCount = 0; // reading: bytes to be taken; storing: bytes that were put
    std::size_t bufferFree = 0;  // storing: room behind them
    bool inputEnded = false;

    HandOverSignals signals;
    std::atomic<bool> workerDone{false}; // also set by a client that gives up: nobody waits for the other any more

    // the worker's own until it has finished
    std::exception_ptr workerException;
    int decodeResult = 0;
    struct Room
    {
        std::uint8_t* require(std::size_t count);

        std::unique_ptr<std::uint8_t[]> bytes;
        std::size_t size = 0;
    };
    Room rooms[2]; // one is decoded into while the other is with the client
    unsigned currentRoom = 0;
    bool roomIsOut = false;
    std::uint8_t pulled[2048];

    // what was read first, or with deferred compression what waits to be compressed
    bool isFromMemory = false; // and this is all
    std::vector<std::uint8_t> kept;
    std::size_t keptTaken = 0;
    std::exception_ptr keptFailure;

    std::thread workerThread;
};

} // namespace kvdm
