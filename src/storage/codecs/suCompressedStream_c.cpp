#include "storage/codecs/suCompressedStream_c.h"

#include "platform/files/files.h"
#include "storage/codecs/compressBlocks.h"
#include "storage/codecs/CPRawCodec.h"
#include "storage/codecs/deferredCompression.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>
#include <utility>

namespace kvdm {

namespace {

constexpr int implodedType = 2;
constexpr std::size_t mostBytesDecodedAtOnce = 16384; // compressed ones; more are worth a worker

} // namespace

// The worker's end of the pipe when reading: two rooms, so that the next bytes are decoded while the client takes the last.
class suCompressedStream_c::Decoded final : public suDecodedOutput
{
public:
    explicit Decoded(suCompressedStream_c& stream) : stream(stream) {}

    std::uint8_t* room(std::uint32_t count) override { return stream.rooms[stream.currentRoom].require(count); }
    bool deliver(std::uint32_t count) override
    {
        if (stream.roomIsOut) {
            stream.signals.waitForFirst(HandOverSignals::spaceReady, HandOverSignals::finished);
            stream.signals.reset(HandOverSignals::spaceReady);
        }
        if (stream.workerDone)
            return false;
        stream.bufferPos = stream.rooms[stream.currentRoom].bytes.get();
        stream.bufferCount = count;
        stream.currentRoom ^= 1;
        stream.roomIsOut = true;
        stream.signals.set(HandOverSignals::dataReady);
        return true;
    }
    bool isWanted() const override { return !stream.workerDone; }

private:
    suCompressedStream_c& stream;
};

suCompressedStream_c::suCompressedStream_c(bool isStoring, int compressionType) : isStoring(isStoring), compressionType(compressionType) {}

suCompressedStream_c::~suCompressedStream_c() = default;

// What the decoder made of a small input on the client's thread, handed to the client as a worker's first bytes would be.
class suCompressedStream_c::DecodedAtOnce final : public suDecodedOutput
{
public:
    explicit DecodedAtOnce(suCompressedStream_c& stream) : stream(stream) {}

    std::uint8_t* room(std::uint32_t count) override { return stream.rooms[isDelivered].require(count); }
    bool deliver(std::uint32_t count) override
    {
        if (std::exchange(isDelivered, true)) {
            isTooMuch = true;
            return false;
        }
        stream.bufferPos = stream.rooms[0].bytes.get();
        stream.bufferCount = count;
        stream.signals.set(HandOverSignals::dataReady);
        return true;
    }
    bool isWanted() const override { return !isTooMuch; }

    bool isTooMuch = false; // a second portion came, for which the client would have to come back first

private:
    suCompressedStream_c& stream;
    bool isDelivered = false;
};

std::uint8_t* suCompressedStream_c::Room::require(std::size_t count)
{
    if (size < count) {
        bytes.reset();
        bytes = std::make_unique_for_overwrite<std::uint8_t[]>(count);
        size = count;
    }
    return bytes.get();
}

void suCompressedStream_c::iStart()
{
    isOpen = false; // a failure here leaves the far side alone
    if (!isStoring) {
        iReadFirst(deferredCompressionIsOn() ? SIZE_MAX : mostBytesDecodedAtOnce);
        if (isFromMemory && kept.size() <= mostBytesDecodedAtOnce && iDecodeAtOnce()) {
            isOpen = true;
            return;
        }
    }
    try {
        workerThread = std::thread([this] { iRunWorker(); });
    } catch (const std::system_error&) {
        throw std::bad_alloc();
    }
    isOpen = true;
}

void suCompressedStream_c::iEndQuietly() noexcept
{
    try {
        Close();
    } catch (...) {
        // who wants to know calls Close
    }
}

// ---- the worker ----

void suCompressedStream_c::iRunWorker() noexcept
{
    if (isStoring)
        iCompress();
    else {
        Decoded output(*this);
        iDecode(output);
    }
    workerDone = true;
    signals.set(HandOverSignals::finished);
}

void suCompressedStream_c::iCompress() noexcept
{
    try {
        compressBlocks(CPRawCodecZLib(), &iReadBlock, &iWriteBlock, this);
    } catch (...) {
        workerException = std::current_exception();
    }
}

void suCompressedStream_c::iDecode(suDecodedOutput& output) noexcept
{
    try {
        if (compressionType == implodedType)
            decodeResult = explodeStream(&iPull, this, output);
        else
            decodeStream(CPRawCodecZLib(), &iPull, this, output, sizeof pulled);
    } catch (const suFileException&) {
        workerException = std::current_exception();
        decodeResult = suCompressedStreamException::fileFailed;
    } catch (...) {
        workerException = std::current_exception();
    }
}

// Does a worker's whole work on this thread, unless it comes to more than the client can be handed at once: false then, and
// nothing has happened.
bool suCompressedStream_c::iDecodeAtOnce()
{
    DecodedAtOnce output(*this);
    iDecode(output);
    if (output.isTooMuch) {
        signals.reset(HandOverSignals::dataReady);
        workerException = nullptr;
        decodeResult = 0;
        keptTaken = 0;
        return false;
    }
    workerDone = true;
    signals.set(HandOverSignals::finished);
    return true;
}

// Lends the block to the client, which fills it, unless it closes, to its end.
std::uint32_t suCompressedStream_c::iReadBlock(std::uint8_t* block, std::uint32_t* length, void* context)
{
    auto& self = *static_cast<suCompressedStream_c*>(context);
    if (self.isFromMemory) {
        *length = static_cast<std::uint32_t>(std::min<std::size_t>(*length, self.kept.size() - self.keptTaken));
        std::copy_n(self.kept.data() + self.keptTaken, *length, block);
        self.keptTaken += *length;
        return *length;
    }
    if (self.inputEnded)
        return *length = 0;
    self.bufferPos = block;
    self.bufferCount = 0;
    self.bufferFree = *length;
    self.signals.set(HandOverSignals::spaceReady);
    self.signals.waitForFirst(HandOverSignals::dataReady, HandOverSignals::finished);
    self.signals.reset(HandOverSignals::dataReady);
    return *length = static_cast<std::uint32_t>(self.bufferCount);
}

int suCompressedStream_c::iWriteBlock(const std::uint8_t* bytes, std::uint32_t length, void* context)
{
    static_cast<suCompressedStream_c*>(context)->writeCompressed(bytes, length);
    return 0;
}

std::uint32_t suCompressedStream_c::iPull(void* context, const std::uint8_t** bytes)
{
    auto& self = *static_cast<suCompressedStream_c*>(context);
    if (self.workerDone)
        return 0;
    const std::size_t count = std::min(sizeof self.pulled, self.kept.size() - self.keptTaken);
    if (count == 0 && self.keptFailure)
        std::rethrow_exception(self.keptFailure);
    if (count == 0 && !self.isFromMemory) {
        *bytes = self.pulled;
        return static_cast<std::uint32_t>(self.readCompressed(self.pulled, sizeof self.pulled));
    }
    *bytes = self.kept.data() + self.keptTaken;
    self.keptTaken += count;
    return static_cast<std::uint32_t>(count);
}

// ---- what is read before a worker is started ----

// A stream that fails is read as far as it goes; the failure comes out where the worker would have met it.
void suCompressedStream_c::iReadFirst(std::size_t most)
{
    try {
        while (!isFromMemory && kept.size() < most) {
            const std::size_t got = readCompressed(pulled, sizeof pulled);
            kept.insert(kept.end(), pulled, pulled + got);
            isFromMemory = got < sizeof pulled;
        }
    } catch (...) {
        keptFailure = std::current_exception();
        isFromMemory = true;
    }
}

// ---- deferred compression ----

void suCompressedStream_c::iKeep(const void* source, std::size_t count)
{
    iRequireOpen(true);
    const auto* bytes = static_cast<const std::uint8_t*>(source);
    kept.insert(kept.end(), bytes, bytes + count);
}

void suCompressedStream_c::iCompressKept()
{
    isFromMemory = true;
    compressBlocks(CPRawCodecZLib(), &iReadBlock, &iWriteBlock, this);
    kept = {};
    keptTaken = 0;
}

// ---- the client ----

void suCompressedStream_c::iRequireOpen(bool forStoring) const
{
    if (!isOpen)
        throw suFileException(suFileException::invalidFile, errorInvalidHandle);
    if (isStoring != forStoring)
        throw suFileException(suFileException::accessDenied, errorAccessDenied);
}

void suCompressedStream_c::iThrowStored()
{
    if (!workerException)
        return;
    exceptionWasThrown = true;
    std::rethrow_exception(workerException);
}

std::size_t suCompressedStream_c::Read(void* target, std::size_t count)
{
    iRequireOpen(false);
    auto* userPos = static_cast<std::uint8_t*>(target);
    std::size_t userLeft = count;
    while (userLeft > 0 && iTakePiece()) {
        const std::size_t run = std::min(userLeft, bufferCount);
        std::memcpy(userPos, bufferPos, run);
        userPos += run;
        userLeft -= run;
        bufferPos += run;
        bufferCount -= run;
        if (bufferCount == 0) {
            bufferHeld = false;
            signals.set(HandOverSignals::spaceReady);
        }
    }
    return count - userLeft;
}

// False at the end, or what the worker met there.
bool suCompressedStream_c::iTakePiece()
{
    if (bufferHeld)
        return true;
    if (endWasMet || !signals.waitForFirst(HandOverSignals::dataReady, HandOverSignals::finished)) {
        endWasMet = true;
        iThrowStored();
        return false;
    }
    signals.reset(HandOverSignals::dataReady);
    bufferHeld = true;
    return true;
}

void suCompressedStream_c::Write(const void* source, std::size_t count)
{
    iRequireOpen(true);
    const auto* userPos = static_cast<const std::uint8_t*>(source);
    while (count > 0) {
        std::size_t run = 0;
        if (bufferHeld) {
            run = std::min(count, bufferFree);
            std::memcpy(bufferPos + bufferCount, userPos, run);
            bufferCount += run;
            bufferFree -= run;
            if (bufferFree == 0)
                iGiveBlock(false);
        } else {
            run = std::min(count, bufferSize - bufferFilled);
            std::memcpy(buffer + bufferFilled, userPos, run);
            bufferFilled += run;
            if (bufferFilled == bufferSize)
                iTakeBlock();
        }
        userPos += run;
        count -= run;
    }
}

// Waits for the worker's next block and puts what is buffered into it. A worker that has finished instead has failed.
void suCompressedStream_c::iTakeBlock()
{
    if (!signals.waitForFirst(HandOverSignals::spaceReady, HandOverSignals::finished)) {
        iThrowStored();
        throw suFileException(suFileException::generic);
    }
    signals.reset(HandOverSignals::spaceReady);
    bufferHeld = true;
    std::memcpy(bufferPos, buffer, bufferFilled); // a block is larger than the buffer
    bufferCount = bufferFilled;
    bufferFree -= bufferFilled;
    bufferFilled = 0;
}

void suCompressedStream_c::iGiveBlock(bool isLast)
{
    inputEnded = isLast;
    bufferHeld = false;
    signals.set(HandOverSignals::dataReady);
}

void suCompressedStream_c::iFinishStoring()
{
    if (!bufferHeld)
        iTakeBlock();
    iGiveBlock(true);
    signals.waitForFirst(HandOverSignals::finished, HandOverSignals::finished);
    iThrowStored();
}

// True when the client has taken all the bytes there are. To know that of a client that was not told yet, this waits until
// the worker has more for it or has finished.
bool suCompressedStream_c::iFinishReading()
{
    const bool atEnd = endWasMet || (!bufferHeld && !signals.waitForFirst(HandOverSignals::dataReady, HandOverSignals::finished));
    if (!atEnd) {
        workerDone = true;
        signals.set(HandOverSignals::spaceReady);
    }
    signals.waitForFirst(HandOverSignals::finished, HandOverSignals::finished);
    return atEnd;
}

void suCompressedStream_c::Close()
{
    if (!isOpen)
        return;
    isOpen = false;
    const bool wasThrown = exceptionWasThrown;
    bool atEnd = true;
    try {
        if (!isStoring)
            atEnd = iFinishReading();
        else if (workerThread.joinable())
            iFinishStoring();
    } catch (...) {
        // stored, and thrown below when all is closed
    }
    if (workerThread.joinable())
        workerThread.join();
    std::exception_ptr closeFailure;
    try {
        closeUnderlying();
    } catch (...) {
        closeFailure = std::current_exception();
    }
    if (atEnd) {
        if (decodeResult != 0 && !(wasThrown && decodeResult == suCompressedStreamException::fileFailed))
            throw suCompressedStreamException(decodeResult);
        if (!wasThrown)
            iThrowStored();
    }
    if (closeFailure)
        std::rethrow_exception(closeFailure);
}

std::uint64_t suCompressedStream_c::Seek(std::int64_t, Origin)
{
    throw suNotSupportedException();
}

std::uint64_t suCompressedStream_c::GetPosition()
{
    throw suNotSupportedException();
}

std::uint64_t suCompressedStream_c::GetLength()
{
    throw suNotSupportedException();
}

void suCompressedStream_c::SetLength(std::uint64_t)
{
    throw suNotSupportedException();
}

} // namespace kvdm
