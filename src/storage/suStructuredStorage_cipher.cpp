// Enciphered streams: blocks of 16384 bytes through a pair of hooks, and a trailer with the clear length.
#include "storage/suStructuredStorage.h"

#include "common/exceptions.h"
#include "common/trace.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/lockbytes/suFileLockBytes.h"

#include <kvdocmgr/text.h>

#include <algorithm>
#include <vector>

namespace kvdm {

namespace {

constexpr std::size_t blockSize = 16384;
constexpr std::size_t trailerSize = 4;

// The bytes of the clear length stand in this order of shifts.
constexpr int trailerShifts[trailerSize] = {16, 8, 24, 0};

std::size_t runHook(suCipherHooks::Hook hook, std::span<const std::uint8_t> input, std::span<std::uint8_t> output, std::u16string_view key)
{
    return hook ? std::min(hook(input, output, key), output.size()) : 0;
}

ComPtr<IStream> cloneOf(IStream& stream)
{
    ComPtr<IStream> clone;
    const HRESULT status = stream.Clone(clone.put());
    if (FAILED(status)) {
        (void)clone.detach();
        throw suOleException(status);
    }
    return clone;
}

} // namespace

void suStructuredStorage::iEncryptStream(std::u16string_view key)
{
    archive->Flush();
    streamFile.Flush();
    suStreamFile source;
    suStreamFile target;
    source.attach(cloneOf(*streamFile.getStream()));
    target.attach(cloneOf(*streamFile.getStream()));
    const std::uint64_t clear = source.GetLength();
    source.Seek(0, suFile::Origin::begin);
    target.Seek(0, suFile::Origin::begin);

    std::vector<std::uint8_t> input(blockSize);
    std::vector<std::uint8_t> output(2 * blockSize);
    std::uint64_t total = 0;
    for (std::uint64_t left = clear; left > 0;) {
        const std::size_t read = source.Read(input.data(), blockSize);
        if (read == 0)
            throw suFileException(suFileException::endOfFile);
        left -= std::min<std::uint64_t>(read, left);
        const std::size_t made = runHook(cipherHooks.encipher, {input.data(), read}, output, key);
        total += made;
        if (left == 0)
            target.SetLength(total + trailerSize);
        target.Write(output.data(), made);
    }
    std::uint8_t trailer[trailerSize];
    for (std::size_t i = 0; i < trailerSize; ++i)
        trailer[i] = static_cast<std::uint8_t>(clear >> trailerShifts[i]);
    target.Write(trailer, sizeof trailer);
}

bool suStructuredStorage::encryptAndReleaseStream(std::u16string_view key)
{
    trace("suStructuredStorage::encryptAndReleaseStream()");
    if (compressionType != 0 || onMemoryFile)
        return releaseStream(); // what is not a plain stream has nothing to encipher
    if (!archive)
        return false;
    streamReleased = true;
    iEncryptStream(key);
    archive.reset();
    streamFile.Close();
    return true;
}

bool suStructuredStorage::iDecryptStream(IStream& stream, std::u16string_view key)
{
    suStreamFile source;
    source.attach(cloneOf(stream));
    const std::uint64_t size = source.GetLength();
    if (size < trailerSize)
        return false;
    std::uint8_t trailer[trailerSize];
    source.Seek(-static_cast<std::int64_t>(trailerSize), suFile::Origin::end);
    if (source.Read(trailer, sizeof trailer) != sizeof trailer || !memoryFile.createMemoryStream())
        return false;
    std::uint32_t clear = 0;
    for (std::size_t i = 0; i < trailerSize; ++i)
        clear |= std::uint32_t{trailer[i]} << trailerShifts[i];

    source.Seek(0, suFile::Origin::begin);
    std::vector<std::uint8_t> input(blockSize);
    std::vector<std::uint8_t> output(2 * blockSize);
    for (std::uint64_t left = size - trailerSize; left > 0;) {
        const std::size_t read = source.Read(input.data(), std::min<std::uint64_t>(left, blockSize));
        if (read == 0)
            break;
        left -= read;
        const std::size_t made = std::min({runHook(cipherHooks.decipher, {input.data(), read}, output, key), std::size_t{clear}, blockSize});
        memoryFile.Write(output.data(), made);
        clear -= static_cast<std::uint32_t>(made);
    }
    memoryFile.Seek(0, suFile::Origin::begin);
    return true;
}

bool suStructuredStorage::decryptAndAttachStream(const std::u16string& name, std::u16string_view key)
{
    trace([&] { return "suStructuredStorage::decryptAndAttachStream(), inName : " + toUtf8(name); });
    releaseStream();
    nodeName = name;
    suStreamFile source;
    IStorage* storage = iCurrentStorage();
    if (!storage || !source.openStream(*storage, name, STGM_SHARE_EXCLUSIVE) || !iDecryptStream(*source.getStream(), key))
        return false;
    iBuildArchive(memoryFile, false);
    onMemoryFile = true;
    archive->m_strFileName = nodeName;
    return true;
}

} // namespace kvdm
