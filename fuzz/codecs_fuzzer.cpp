// Every form of a compressed stream, and Huffman coding. The first three bytes choose: the way (below), how long the pieces
// are in which the rest is given and taken, and how much of it is read before a stream is closed.
//
// The ways to one content must agree: blocks through a writer, the pipe with its worker, the pipe that reads all first. What
// is written must read back.
#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/CPRawCodec.h"
#include "storage/codecs/decompressBlocks.h"
#include "storage/codecs/deferredCompression.h"
#include "storage/codecs/explode.h"
#include "storage/codecs/suCompressedArchiveData_c.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/codecs/suHuffmanProc_c.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace kvdm;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t mostOutput = 1u << 20; // chunks of zeros give thousands of bytes a byte: enough is enough
constexpr int imploded = 2, anyForm = 4;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

struct Source
{
    const Bytes& bytes;
    std::size_t piece;
    std::size_t position = 0;

    static std::uint32_t read(void* context, const std::uint8_t** out)
    {
        auto& self = *static_cast<Source*>(context);
        const std::size_t count = std::min(self.piece, self.bytes.size() - self.position);
        *out = self.bytes.data() + self.position;
        self.position += count;
        return static_cast<std::uint32_t>(count);
    }
};

struct Sink
{
    Bytes bytes;

    static int write(void* context, const std::uint8_t* bytes, std::uint32_t length)
    {
        auto& self = *static_cast<Sink*>(context);
        self.bytes.insert(self.bytes.end(), bytes, bytes + length);
        return self.bytes.size() >= mostOutput;
    }
};

// Reads at most this many bytes; atEnd tells whether the end was met.
Bytes readFrom(suFile& file, std::size_t most, std::size_t callSize, bool& atEnd)
{
    Bytes all;
    Bytes part(callSize);
    atEnd = false;
    most = std::min(most, mostOutput);
    while (all.size() < most && !atEnd) {
        const std::size_t asked = std::min(callSize, most - all.size());
        const std::size_t got = file.Read(part.data(), asked);
        all.insert(all.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(got));
        atEnd = got < asked;
    }
    return all;
}

int closeResult(suFile& file)
{
    try {
        file.Close();
    } catch (const suCompressedStreamException& failure) {
        return failure.decodeResult;
    }
    return explodeDone;
}

Bytes decompressed(const Bytes& input, std::size_t piece)
{
    Source source{input, piece};
    Sink sink;
    require(decompressBlocks(CPRawCodecZLib(), &Source::read, &source, &Sink::write, &sink, static_cast<std::uint32_t>(piece)) == 0);
    return sink.bytes;
}

Bytes exploded(const Bytes& input, std::size_t piece, int& result)
{
    Source source{input, piece};
    Sink sink;
    result = explode(&Source::read, &source, &Sink::write, &sink);
    Source checkSource{input, 2048};
    const int checked = checkImploded(&Source::read, &checkSource);
    require(result == checked || (result == explodeWriterFailed && sink.bytes.size() >= mostOutput));
    return sink.bytes;
}

// The pipe gives what the codec gives; Close tells of damage exactly when all bytes were taken.
void readPipe(const Bytes& input, std::size_t piece, std::size_t wanted, int type)
{
    int result = explodeDone;
    const Bytes expected = type == imploded ? exploded(input, piece, result) : decompressed(input, 2048);
    for (const std::size_t most : {SIZE_MAX, wanted}) {
        bool atEnd = false;
        suMemoryFile node(input);
        suCompressedFile_c file(node, false, type);
        const Bytes got = readFrom(file, most, piece, atEnd);
        require(got.size() == std::min({expected.size(), most, mostOutput}) && std::equal(got.begin(), got.end(), expected.begin()));
        const int closed = closeResult(file);
        if (expected.size() < mostOutput)
            require(closed == (got.size() == expected.size() ? result : explodeDone));
    }
}

// Inside an archive, with a length that need not be right.
void readArchiveData(const Bytes& input, std::size_t piece, std::size_t wanted)
{
    suMemoryFile file(input);
    su_CArchive archive(&file, su_CArchive::load, 128);
    try {
        suCompressedArchiveData_c data(archive, false, anyForm);
        bool atEnd = false;
        readFrom(data, wanted, piece, atEnd);
        data.Close();
        archive.read<std::uint8_t>();
    } catch (const suException&) {
        // the end of the file is where it may be
    }
}

void writeAndReadBack(const Bytes& input, std::size_t piece)
{
    suMemoryFile node;
    suCompressedFile_c writing(node, true, 3);
    for (std::size_t at = 0; at < input.size(); at += piece)
        writing.Write(input.data() + at, std::min(piece, input.size() - at));
    writing.Close();
    node.Seek(0, suFile::Origin::begin);
    suCompressedFile_c reading(node, false, anyForm);
    bool atEnd = false;
    require(readFrom(reading, SIZE_MAX, piece, atEnd) == input);
    reading.Close();
}

void codeHuffman(const Bytes& input)
{
    suMemoryFile source(input), packed, back;
    suHuffmanProc_c(source, packed, true).compress();
    packed.Seek(0, suFile::Origin::begin);
    require(suHuffmanProc_c(packed, back, false).decompress(0) == 1 && back.content() == source.content());
}

void readHuffman(const Bytes& input)
{
    suMemoryFile source(input), target;
    suHuffmanProc_c(source, target, false).decompress(0);
    const bool isOneValue = input.size() > 4 && input[4] == 1;
    require(target.content().size() <= (isOneValue ? suHuffmanProc_c::singleValueLimit : 8 * input.size()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const std::size_t piece = 1 + data[1] * std::size_t{17};
    const std::size_t wanted = data[2] * std::size_t{data[2]};
    const Bytes input(data + 3, data + size);
    int result = explodeDone;
    switch (data[0] % 8) {
    case 0:
        require(decompressed(input, piece) == decompressed(input, 2048));
        break;
    case 1:
        exploded(input, piece, result);
        break;
    case 2:
        readHuffman(input);
        break;
    case 3:
        readPipe(input, piece, wanted, anyForm);
        break;
    case 4:
        readPipe(input, piece, wanted, imploded);
        break;
    case 5: {
        const DeferredCompressionScope scope;
        readPipe(input, piece, wanted, data[0] & 8 ? imploded : anyForm);
        break;
    }
    case 6:
        readArchiveData(input, piece, wanted);
        break;
    default:
        writeAndReadBack(input, piece);
        codeHuffman(input);
    }
    return 0;
}
