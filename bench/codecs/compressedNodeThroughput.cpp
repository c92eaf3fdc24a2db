// How fast a compressed node is read and written through its pipe, beside plain zlib on the same blocks in the same run.
//
//     compressedNodeThroughput [blocks] [rounds]
//
// Every line gives megabytes of clear data a second (the median of the rounds) and the ratio of ours to zlib's.
#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/compressBlocks.h"
#include "storage/codecs/suCompressedFile_c.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <zlib.h>

namespace {

using Bytes = std::vector<std::uint8_t>;
constexpr std::size_t blockSize = kvdm::blockUncompressedLimit;
constexpr std::size_t callSize = 0x10000;

std::uint32_t nextRandom(std::uint32_t& state)
{
    state ^= state << 13;
    state ^= state >> 17;
    state ^= state << 5;
    return state;
}

// Like the XML tables of a document.
Bytes makeTables(std::size_t size)
{
    Bytes bytes;
    bytes.reserve(size + 128);
    std::uint32_t state = 2463534242;
    while (bytes.size() < size) {
        char row[128];
        const int length = std::snprintf(row, sizeof row, "<kvCell kvRow=\"%u\" kvColumn=\"%u\"><kvText>M%u x %u</kvText></kvCell>\r\n",
                                         nextRandom(state) % 900, nextRandom(state) % 12, nextRandom(state) % 40, nextRandom(state) % 9999);
        bytes.insert(bytes.end(), row, row + length);
    }
    bytes.resize(size);
    return bytes;
}

// Like object streams: small numbers, some doubles.
Bytes makeObjects(std::size_t size)
{
    Bytes bytes(size);
    std::uint32_t state = 88675123;
    for (std::size_t i = 0; i < size; ++i) {
        const std::uint32_t random = nextRandom(state);
        bytes[i] = i % 8 < 3 ? static_cast<std::uint8_t>(random) : i % 8 < 5 ? static_cast<std::uint8_t>(random % 7) : 0;
    }
    return bytes;
}

double megabytesASecond(std::size_t bytes, std::chrono::steady_clock::duration time)
{
    return static_cast<double>(bytes) / 1e6 / std::chrono::duration<double>(time).count();
}

template <class Work> double measure(std::size_t bytes, Work&& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return megabytesASecond(bytes, std::chrono::steady_clock::now() - start);
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

[[noreturn]] void fail(const char* what)
{
    std::fprintf(stderr, "compressedNodeThroughput: %s\n", what);
    std::exit(1);
}

std::uint32_t sizeAt(const Bytes& stream, std::size_t position)
{
    std::uint32_t size = 0;
    std::memcpy(&size, stream.data() + position, 4);
    return size;
}

void decodeWithZlib(const Bytes& stream, Bytes& block)
{
    for (std::size_t position = 16; sizeAt(stream, position) != 0;) {
        const std::uint32_t compressed = sizeAt(stream, position + 4);
        uLongf produced = sizeAt(stream, position);
        if (uncompress(block.data(), &produced, stream.data() + position + 8, compressed) != Z_OK)
            fail("zlib cannot read a block");
        position += 8 + compressed;
    }
}

void decodeThroughPipe(const Bytes& stream, std::size_t size, Bytes& buffer)
{
    kvdm::suMemoryFile file(stream);
    kvdm::suCompressedFile_c pipe(file, false, 4);
    std::size_t total = 0;
    while (const std::size_t got = pipe.Read(buffer.data(), callSize))
        total += got;
    pipe.Close();
    if (total != size)
        fail("the pipe lost bytes");
}

void encodeWithZlib(const Bytes& clear, Bytes& block)
{
    for (std::size_t position = 0; position < clear.size(); position += blockSize) {
        uLongf produced = block.size();
        if (compress2(block.data(), &produced, clear.data() + position, std::min(blockSize, clear.size() - position), 1) != Z_OK)
            fail("zlib cannot write a block");
    }
}

Bytes encodeThroughPipe(const Bytes& clear)
{
    kvdm::suMemoryFile file;
    kvdm::suCompressedFile_c pipe(file, true, 3);
    for (std::size_t position = 0; position < clear.size(); position += callSize)
        pipe.Write(clear.data() + position, std::min(callSize, clear.size() - position));
    pipe.Close();
    return file.content();
}

void compare(const char* name, const Bytes& clear, int rounds)
{
    const Bytes stream = encodeThroughPipe(clear);
    Bytes buffer(2 * blockSize);
    std::vector<double> zlibReads, pipeReads, zlibWrites, pipeWrites;
    for (int round = 0; round < rounds; ++round) {
        zlibReads.push_back(measure(clear.size(), [&] { decodeWithZlib(stream, buffer); }));
        pipeReads.push_back(measure(clear.size(), [&] { decodeThroughPipe(stream, clear.size(), buffer); }));
        zlibWrites.push_back(measure(clear.size(), [&] { encodeWithZlib(clear, buffer); }));
        pipeWrites.push_back(measure(clear.size(), [&] { encodeThroughPipe(clear); }));
    }
    std::printf("%-8s read  zlib %7.0f MB/s   pipe %7.0f MB/s   ratio %.2f\n", name, median(zlibReads), median(pipeReads),
                median(pipeReads) / median(zlibReads));
    std::printf("%-8s write zlib %7.0f MB/s   pipe %7.0f MB/s   ratio %.2f\n", name, median(zlibWrites), median(pipeWrites),
                median(pipeWrites) / median(zlibWrites));
}

// Small nodes cost what a worker costs; zlib has none.
void compareSmall(int rounds)
{
    constexpr int nodes = 500;
    const Bytes clear = makeTables(2000);
    const Bytes stream = encodeThroughPipe(clear);
    Bytes buffer(blockSize);
    std::vector<double> zlibTimes, pipeTimes;
    for (int round = 0; round < rounds; ++round) {
        zlibTimes.push_back(1e6 / measure(nodes * 1000000UL, [&] {
                                for (int i = 0; i < nodes; ++i)
                                    decodeWithZlib(stream, buffer);
                            }));
        pipeTimes.push_back(1e6 / measure(nodes * 1000000UL, [&] {
                                for (int i = 0; i < nodes; ++i)
                                    decodeThroughPipe(stream, clear.size(), buffer);
                            }));
    }
    std::printf("2000-byte node: zlib %.1f us, pipe %.1f us\n", median(zlibTimes), median(pipeTimes));
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t blocks = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 32;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 9;
    if (blocks == 0 || rounds <= 0)
        fail("usage: compressedNodeThroughput [blocks] [rounds]");
    compare("tables", makeTables(blocks * blockSize), rounds);
    compare("objects", makeObjects(blocks * blockSize), rounds);
    compare("blanks", Bytes(blocks * blockSize, ' '), rounds);
    compareSmall(rounds);
}
