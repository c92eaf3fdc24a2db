// The same work done with libgsf, the compound file library of the GNOME desktop.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace kvdm::bench::gsf {

enum class Access
{
    stdio,
    mapped
};

// Once, before any other call here: quiet, and with its types made.
void initialise();

// Opens the file and reads one stream of the root whole; its size. Throws when that fails.
std::size_t readStream(const std::string& path, const char* stream, Access access);

// Opens the file and reads those streams of the root; their bytes, in that order. Throws when one fails.
std::vector<std::vector<std::uint8_t>> readStreams(const std::string& path, const std::vector<const char*>& streams);

// Opens a document, finds its version marker, and reads and parses the property sets that it has; how many values came out.
std::size_t readDocument(const std::string& path);

// Reads the one stream from end to end by blocks of that size.
std::uint64_t readByBlocks(const std::string& path, const char* stream, std::size_t block);

// Lists the root and reads every stream in it; the bytes read.
std::uint64_t readEveryStream(const std::string& path);

// A new file with one stream of that size, written by blocks.
void writeByBlocks(const std::string& path, const char* stream, std::uint64_t size, std::size_t block);

// A new file with so many streams, of the names and sizes that the engine's peer function writes.
void writeManyStreams(const std::string& path, std::size_t count);

} // namespace kvdm::bench::gsf
