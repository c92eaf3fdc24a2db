#include "support/StorageTools.h"

#include <string_view>

namespace kvdm::test {

ULARGE_INTEGER wide(std::uint64_t value)
{
    ULARGE_INTEGER result;
    result.QuadPart = value;
    return result;
}

LARGE_INTEGER distance(std::int64_t value)
{
    LARGE_INTEGER result;
    result.QuadPart = value;
    return result;
}

ComPtr<ILockBytes> lockBytesOf(const Bytes& bytes)
{
    ComPtr<ILockBytes> result;
    ULONG written = 0;
    if (SUCCEEDED(CreateILockBytesOnHGlobal(nullptr, 1, result.put())) && !bytes.empty())
        result->WriteAt(wide(0), bytes.data(), static_cast<ULONG>(bytes.size()), &written);
    return result;
}

Bytes bytesOf(ILockBytes& lockBytes)
{
    STATSTG statistics{};
    lockBytes.Stat(&statistics, STATFLAG_NONAME);
    Bytes bytes(statistics.cbSize.QuadPart);
    ULONG read = 0;
    if (!bytes.empty())
        lockBytes.ReadAt(wide(0), bytes.data(), static_cast<ULONG>(bytes.size()), &read);
    bytes.resize(read);
    return bytes;
}

ComPtr<IStorage> openStorageOf(const Bytes& bytes)
{
    ComPtr<IStorage> storage;
    StgOpenStorageOnILockBytes(lockBytesOf(bytes).get(), nullptr, readElement, nullptr, 0, storage.put());
    return storage;
}

std::optional<Bytes> readAll(IStream& stream)
{
    if (FAILED(stream.Seek(distance(0), STREAM_SEEK_SET, nullptr)))
        return std::nullopt;
    Bytes bytes;
    for (;;) {
        std::uint8_t block[5000]; // neither a sector nor a page
        ULONG got = 0;
        if (FAILED(stream.Read(block, sizeof block, &got)))
            return std::nullopt;
        if (got == 0)
            return bytes;
        bytes.insert(bytes.end(), block, block + got);
    }
}

std::optional<Bytes> readStream(IStorage& storage, const std::u16string& name)
{
    ComPtr<IStream> stream;
    if (FAILED(storage.OpenStream(name.c_str(), nullptr, readElement, 0, stream.put())))
        return std::nullopt;
    return readAll(*stream);
}

bool writeStream(IStorage& storage, const std::u16string& name, const Bytes& bytes)
{
    ComPtr<IStream> stream;
    ULONG written = 0;
    return SUCCEEDED(storage.CreateStream(name.c_str(), writeElement | STGM_CREATE, 0, 0, stream.put())) &&
           SUCCEEDED(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written)) && written == bytes.size();
}

Tree readTree(IStorage& storage, const std::u16string& prefix)
{
    static constexpr std::string_view mark = "unreadable";
    const Bytes unreadable(mark.begin(), mark.end());
    Tree tree;
    ComPtr<IEnumSTATSTG> elements;
    STATSTG element;
    if (FAILED(storage.EnumElements(0, nullptr, 0, elements.put())))
        return {{prefix, unreadable}};
    while (elements->Next(1, &element, nullptr) == S_OK) {
        const std::u16string name(element.pwcsName);
        CoTaskMemFree(element.pwcsName);
        if (element.type == STGTY_STREAM) {
            tree[prefix + name] = readStream(storage, name).value_or(unreadable);
            continue;
        }
        ComPtr<IStorage> child;
        if (FAILED(storage.OpenStorage(name.c_str(), nullptr, readElement, nullptr, 0, child.put()))) {
            tree[prefix + name + u"/"] = unreadable;
            continue;
        }
        tree[prefix + name + u"/"] = {};
        tree.merge(readTree(*child, prefix + name + u"/"));
    }
    return tree;
}

std::string differences(const Tree& found, const Tree& expected)
{
    std::string text;
    const auto tell = [&](const char* what, const std::u16string& path) {
        text += what;
        for (const char16_t unit : path)
            text += unit >= 0x20 && unit < 0x7F ? static_cast<char>(unit) : '?';
        text += '\n';
    };
    for (const auto& [path, bytes] : expected) {
        const auto other = found.find(path);
        if (other == found.end())
            tell("missing: ", path);
        else if (other->second != bytes)
            tell(other->second.size() == bytes.size() ? "other bytes: " : "other size: ", path);
    }
    for (const auto& [path, bytes] : found) {
        if (!expected.contains(path))
            tell("unexpected: ", path);
    }
    return text;
}

Tree treeOf(const BuilderNode& node, const std::u16string& prefix)
{
    Tree tree;
    for (const BuilderNode& child : node.children) {
        if (!child.isStorage) {
            tree[prefix + child.name] = child.bytes.empty() ? Bytes(child.fillSize, child.fillByte) : child.bytes;
            continue;
        }
        tree[prefix + child.name + u"/"] = {};
        tree.merge(treeOf(child, prefix + child.name + u"/"));
    }
    return tree;
}

} // namespace kvdm::test
