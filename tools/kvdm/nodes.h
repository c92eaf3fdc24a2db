// The raw nodes of a compound file, for the commands that look below documents. These alone use the storage layer itself.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace kvdm::tool {

// Opens any compound file for reading; throws a Failure that names the file and the cause.
ComPtr<IStorage> openCompoundFile(const std::string& nativePath);

struct Node
{
    std::vector<std::u16string> path; // names from the root
    bool isStorage = false;
    std::uint64_t bytes = 0; // as stored
};

// All nodes in directory order, each storage before its children. Storages that cannot be read have none. False when there are
// more than 256 levels: what lies deeper is not visited.
bool walk(IStorage& root, const std::function<void(const Node& node, IStorage& parent)>& visit);

// A storage in another one, by its whole name; empty when there is none.
ComPtr<IStorage> openStorage(IStorage& parent, const std::u16string& name);

// The form of a stream by its name and first bytes: "plain", "ZLB" or "Zip".
std::string formOf(const Node& node);

// Passes the bytes of a stream of that storage in pieces, decoded or as they lie; false when there is no such stream.
// Throws a Failure when it cannot be read to its end.
bool readStream(IStorage& parent, const std::u16string& name, bool decoded, const std::function<void(const void*, std::size_t)>& take);

} // namespace kvdm::tool
