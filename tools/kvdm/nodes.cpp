#include "nodes.h"

#include "client.h"
#include "platform/compoundfile/exactNames.h"
#include "storage/codecs/suCompressedFile_c.h"
#include "storage/elements.h"
#include "storage/suStreamFile.h"

#include <fmt/format.h>

#include <algorithm>

namespace kvdm::tool {

namespace {

constexpr std::size_t deepestStorage = 256; // each level is a call
constexpr std::size_t pieceSize = 1 << 20;
constexpr std::u16string_view zlibSuffix = u"__ZLB";
constexpr std::u16string_view zipSuffix = u"__Zip";

bool isEmpty(IStorage& storage)
{
    return suElementBatch(1).fetch(*enumerateElements(storage)) == 0;
}

bool walkInto(IStorage& storage, std::vector<std::u16string>& path, const std::function<void(const Node&, IStorage&)>& visit)
{
    const ComPtr<IEnumSTATSTG> enumerator = enumerateElements(storage);
    const ComPtr<IExactListing> listing = queryAs<IExactListing>(enumerator.get());
    suElementBatch batch(64);
    bool whole = true;
    do {
        const std::size_t count = batch.fetch(*enumerator);
        for (std::size_t i = 0; i < count; ++i) {
            const bool isStorage = batch[i].type == STGTY_STORAGE;
            const std::u16string* exact = listing ? listing->nameBefore(count - i) : nullptr;
            path.emplace_back(exact ? std::u16string_view(*exact) : batch.name(i));
            visit({path, isStorage, isStorage ? 0 : batch[i].cbSize.QuadPart}, storage);
            if (const ComPtr<IStorage> child = isStorage ? openStorage(storage, path.back()) : nullptr)
                whole = (path.size() < deepestStorage ? walkInto(*child, path, visit) : isEmpty(*child)) && whole;
            path.pop_back();
        }
    } while (batch.isFull());
    return whole;
}

} // namespace

ComPtr<IStorage> openCompoundFile(const std::string& nativePath)
{
    const std::u16string path = fromUtf8(nativePath, IllFormed::keep);
    const OwnedBstr name(path);
    ComPtr<IStorage> root;
    const HRESULT status = StgOpenStorage(name.get(), nullptr, STGM_SHARE_DENY_NONE | STGM_TRANSACTED, nullptr, 0, root.put());
    if (SUCCEEDED(status))
        return root;
    (void)root.detach();
    switch (status) {
    case STG_E_FILEALREADYEXISTS: // the status of a file of another kind
    case STG_E_INVALIDHEADER:
    case STG_E_OLDFORMAT:
        throw Failure(nativePath + ": not a compound file");
    case STG_E_DOCFILECORRUPT:
        throw Failure(nativePath + ": damaged");
    default:
        throw openingFailure(nativePath, status);
    }
}

ComPtr<IStorage> openStorage(IStorage& parent, const std::u16string& name)
{
    const ComPtr<IExactStorage> exact = queryAs<IExactStorage>(&parent);
    ComPtr<IStorage> child;
    if (FAILED(exact ? exact->openStorageExactly(name, STGM_SHARE_EXCLUSIVE, child.put())
                     : parent.OpenStorage(OwnedBstr(name).get(), nullptr, STGM_SHARE_EXCLUSIVE, nullptr, 0, child.put())))
        (void)child.detach();
    return child;
}

bool walk(IStorage& root, const std::function<void(const Node&, IStorage&)>& visit)
{
    std::vector<std::u16string> path;
    return walkInto(root, path, visit);
}

std::string formOf(const Node& node)
{
    if (!node.isStorage && node.path.back().ends_with(zlibSuffix))
        return "ZLB";
    if (!node.isStorage && node.path.back().ends_with(zipSuffix))
        return "Zip";
    return "plain";
}

bool readStream(IStorage& parent, const std::u16string& name, bool decoded, const std::function<void(const void*, std::size_t)>& take)
{
    const ComPtr<IExactStorage> exact = queryAs<IExactStorage>(&parent);
    ComPtr<IStream> opened;
    if (FAILED(exact ? exact->openStreamExactly(name, STGM_SHARE_EXCLUSIVE, opened.put())
                     : parent.OpenStream(OwnedBstr(name).get(), nullptr, STGM_SHARE_EXCLUSIVE, 0, opened.put()))) {
        (void)opened.detach();
        return false;
    }
    suStreamFile stream;
    stream.attach(std::move(opened));
    const bool zlib = name.ends_with(zlibSuffix);
    std::vector<std::uint8_t> piece(pieceSize);
    const auto copy = [&](suFile& file) {
        for (std::size_t read = 0; (read = file.Read(piece.data(), piece.size())) > 0;)
            take(piece.data(), read);
        file.Close();
    };
    try {
        if (decoded && (zlib || name.ends_with(zipSuffix))) {
            suCompressedFile_c pipe(stream, false, zlib ? 4 : 2);
            copy(pipe);
        } else {
            copy(stream);
        }
    } catch (const suException&) {
        throw Failure("the stream cannot be read to its end");
    }
    return true;
}

} // namespace kvdm::tool
