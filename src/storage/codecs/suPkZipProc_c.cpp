#include "storage/codecs/suPkZipProc_c.h"

#include "common/decimalNumber.h"
#include "platform/ui/messageHook.h"
#include "storage/codecs/compressBlocks.h"
#include "storage/codecs/conversionFolder.h"
#include "storage/codecs/CPRawCodec.h"
#include "storage/codecs/decompressBlocks.h"
#include "storage/codecs/explode.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <zlib.h>

namespace kvdm {

namespace {

constexpr std::size_t copyPortion = 0x10000;
constexpr int blockFormVersion = 2995;
constexpr int implodedVersion = 2994;
constexpr std::uint32_t compressSizeFactor = 1;
constexpr std::uint32_t decompressSizeFactor = 5;

std::u16string kilobytes(std::uint64_t bytes)
{
    return decimalText(static_cast<std::int64_t>((bytes + 1023) / 1024));
}

} // namespace

suPkZipProc_c::suPkZipProc_c(suFile& source, suFile& destination, bool isCompressing) : suCompressProc_c(source, destination, isCompressing) {}

suPkZipProc_c::~suPkZipProc_c() = default;

std::uint32_t suPkZipProc_c::compress()
{
    std::uint32_t ratio = failed;
    try {
        if (iPrepare(compressSizeFactor)) {
            compressBlocks(CPRawCodecZLib(), &iReadForCompress, &iWriteForCompress, this);
            runningCrc = ~runningCrc;
            iFinish();
            const double exact = std::floor(static_cast<double>(outputLength) * 100.0 / static_cast<double>(inputLength));
            ratio = static_cast<std::uint32_t>(std::min<double>(exact, std::numeric_limits<std::int32_t>::max()));
        }
    } catch (const std::exception&) {
        showMessage(u"Error while compressing");
        ratio = failed;
    }
    input.reset();
    output.reset();
    return ratio;
}

int suPkZipProc_c::decompress(int version)
{
    int done = 0;
    try {
        if (iPrepare(decompressSizeFactor)) {
            version = iVersionOfInput();
            if (version >= blockFormVersion)
                decompressBlocks(CPRawCodecZLib(), &iReadForDecompress, this, &iWriteForDecompress, this, sizeof portion);
            else
                explode(&iReadForDecompress, this, &iWriteForDecompress, this);
            if (fileFailure)
                std::rethrow_exception(std::exchange(fileFailure, nullptr));
            runningCrc = ~runningCrc;
            iFinish();
            done = 1;
        }
    } catch (const std::exception&) {
        showMessage(u"Error in Decompression");
    }
    input.reset();
    output.reset();
    return done;
}

// The source's bytes in the input file, which stands at its beginning. False when a file cannot be had or the disk is too full.
bool suPkZipProc_c::iPrepare(std::uint32_t sizeFactor)
{
    try {
        input = std::make_unique<ConversionFile>(u"temp0097pin");
        output = std::make_unique<ConversionFile>(u"temp0097pout");
    } catch (const std::exception&) {
        return false;
    }
    runningCrc = 0xFFFFFFFF;
    outputLength = 0;
    inputLength = source.GetLength();
    if (inputLength == 0)
        inputLength = 100;
    const std::uint64_t needed = inputLength * sizeFactor;
    if (const std::optional<std::uint64_t> free = freeDiskSpace(output->path()); free && *free < needed) {
        showMessage(u"There is too little space on the disk for temporary files: " + kilobytes(needed) + u" KB are needed, " + kilobytes(*free) +
                    u" KB are free.");
        return false;
    }
    std::vector<std::uint8_t> buffer(copyPortion);
    while (const std::size_t got = source.Read(buffer.data(), buffer.size()))
        input->write(buffer.data(), got);
    input->rewind();
    return true;
}

void suPkZipProc_c::iFinish()
{
    outputLength = output->length();
    output->rewind();
    std::vector<std::uint8_t> buffer(copyPortion);
    while (const std::size_t got = output->read(buffer.data(), buffer.size()))
        destination.Write(buffer.data(), got);
    destination.Seek(0, suFile::Origin::begin);
}

int suPkZipProc_c::iVersionOfInput()
{
    std::uint8_t head[blockFormMagic.size()];
    const std::size_t got = input->read(head, sizeof head);
    input->rewind();
    if (got < sizeof head)
        return 0;
    return std::equal(blockFormMagic.begin(), blockFormMagic.end(), head) ? blockFormVersion : implodedVersion;
}

std::uint32_t suPkZipProc_c::iReadForCompress(std::uint8_t* buffer, std::uint32_t* length, void* context)
{
    auto& self = *static_cast<suPkZipProc_c*>(context);
    *length = static_cast<std::uint32_t>(self.input->read(buffer, std::min<std::size_t>(*length, sizeof self.portion)));
    self.runningCrc = static_cast<std::uint32_t>(crc32(self.runningCrc, buffer, *length));
    return *length;
}

int suPkZipProc_c::iWriteForCompress(const std::uint8_t* bytes, std::uint32_t length, void* context)
{
    static_cast<suPkZipProc_c*>(context)->output->write(bytes, length);
    return 0;
}

std::uint32_t suPkZipProc_c::iReadForDecompress(void* context, const std::uint8_t** bytes)
{
    auto& self = *static_cast<suPkZipProc_c*>(context);
    try {
        *bytes = self.portion;
        return static_cast<std::uint32_t>(self.input->read(self.portion, sizeof self.portion));
    } catch (const std::exception&) {
        self.fileFailure = std::current_exception();
        throw;
    }
}

int suPkZipProc_c::iWriteForDecompress(void* context, const std::uint8_t* bytes, std::uint32_t length)
{
    auto& self = *static_cast<suPkZipProc_c*>(context);
    try {
        self.output->write(bytes, length);
        self.runningCrc = static_cast<std::uint32_t>(crc32(self.runningCrc, bytes, length));
        return 0;
    } catch (const std::exception&) {
        self.fileFailure = std::current_exception();
        throw;
    }
}

} // namespace kvdm
