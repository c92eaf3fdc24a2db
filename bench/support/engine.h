// Streams read and written through the published storage interfaces.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

#include <cstdint>
#include <string>

namespace kvdm::bench::engine {

// Read-only, and against writers. Throws when the file does not open.
ComPtr<IStorage> open(const std::string& path);

// Reads the one stream of the root from end to end by blocks of that size; the bytes read.
std::uint64_t readByBlocks(IStorage& storage, const char16_t* stream, std::size_t block);

// Lists the root and reads every stream in it; the bytes read.
std::uint64_t readEveryStream(IStorage& storage);

// A new file in place of the old one, with one stream of that size written by blocks, committed.
void writeByBlocks(const std::string& path, const char16_t* stream, std::uint64_t size, std::size_t block);

// A new file in place of the old one, with so many streams of up to a few hundred bytes, committed; the bytes of all.
std::uint64_t writeManyStreams(const std::string& path, std::size_t count);

} // namespace kvdm::bench::engine
