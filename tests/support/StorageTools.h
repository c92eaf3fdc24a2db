// Small helpers for tests that look at structured storage through its public interfaces.
#pragma once

#include "support/CompoundFileBuilder.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <map>
#include <optional>
#include <string>

namespace kvdm::test {

constexpr DWORD readElement = STGM_READ | STGM_SHARE_EXCLUSIVE;
constexpr DWORD writeElement = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;

// A byte array in memory with these bytes, and back.
ComPtr<ILockBytes> lockBytesOf(const Bytes& bytes);
Bytes bytesOf(ILockBytes& lockBytes);

// The storage in those bytes, opened for reading by its opener alone; null when it does not open.
ComPtr<IStorage> openStorageOf(const Bytes& bytes);

// A stream's bytes from its start to its end; none when a read fails.
std::optional<Bytes> readAll(IStream& stream);
std::optional<Bytes> readStream(IStorage& storage, const std::u16string& name);
bool writeStream(IStorage& storage, const std::u16string& name, const Bytes& bytes); // creates or replaces

// Everything below a storage: streams by their path ("A/B/c") with their bytes, storages by their path with "/" behind it.
// What cannot be read is there with the text "unreadable" as its bytes.
using Tree = std::map<std::u16string, Bytes>;
Tree readTree(IStorage& storage, const std::u16string& prefix = {});

// What differs between two trees, in words; empty when nothing does.
std::string differences(const Tree& found, const Tree& expected);

// The tree that a builder's node stands for.
Tree treeOf(const BuilderNode& node, const std::u16string& prefix = {});

ULARGE_INTEGER wide(std::uint64_t value);
LARGE_INTEGER distance(std::int64_t value);

} // namespace kvdm::test
