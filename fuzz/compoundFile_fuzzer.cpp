// The compound file engine on arbitrary bytes: opens them in every way, walks the tree, reads streams in order and here and
// there, and looks every element up again by its name.
#include "platform/compoundfile/checker.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using kvdm::ComPtr;

constexpr DWORD openModes[] = {STGM_TRANSACTED | STGM_SHARE_DENY_NONE | STGM_NOSNAPSHOT, STGM_SHARE_EXCLUSIVE,
                               STGM_TRANSACTED | STGM_SHARE_DENY_WRITE | STGM_READWRITE};
constexpr int deepest = 40;
constexpr std::size_t mostElements = 3000;
constexpr std::size_t mostBytes = 8 << 20;

[[noreturn]] void fail()
{
    std::abort();
}

ComPtr<ILockBytes> bytesOf(const std::uint8_t* data, std::size_t size)
{
    ComPtr<ILockBytes> bytes;
    ULONG written = 0;
    if (FAILED(CreateILockBytesOnHGlobal(nullptr, 1, bytes.put())) || FAILED(bytes->WriteAt({}, data, static_cast<ULONG>(size), &written)))
        fail();
    return bytes;
}

class Walker
{
public:
    void walk(IStorage& storage, int depth)
    {
        ComPtr<IEnumSTATSTG> elements;
        if (FAILED(storage.EnumElements(0, nullptr, 0, elements.put())))
            return;
        STATSTG element{};
        for (ULONG fetched = 0; elementsSeen < mostElements && elements->Next(1, &element, &fetched) == S_OK && fetched == 1;) {
            ++elementsSeen;
            if (element.type == STGTY_STORAGE) {
                ComPtr<IStorage> child;
                if (depth < deepest && SUCCEEDED(storage.OpenStorage(element.pwcsName, nullptr, STGM_SHARE_EXCLUSIVE, nullptr, 0, child.put())))
                    walk(*child, depth + 1);
            } else {
                ComPtr<IStream> stream;
                if (SUCCEEDED(storage.OpenStream(element.pwcsName, nullptr, STGM_SHARE_EXCLUSIVE, 0, stream.put())))
                    read(*stream);
            }
            CoTaskMemFree(element.pwcsName);
        }
    }

private:
    // A damaged directory may hold a name twice, so that the size is that of the stream, not of the listing.
    void read(IStream& stream)
    {
        STATSTG statistics{};
        if (FAILED(stream.Stat(&statistics, STATFLAG_NONAME)))
            fail();
        std::vector<std::uint8_t> piece(5000);
        std::vector<std::uint8_t> whole;
        ULONG got = 0;
        while (whole.size() < mostBytes && SUCCEEDED(stream.Read(piece.data(), static_cast<ULONG>(piece.size()), &got)) && got > 0) {
            if (got > piece.size())
                fail();
            whole.insert(whole.end(), piece.begin(), piece.begin() + got);
        }
        if (whole.size() > statistics.cbSize.QuadPart)
            fail(); // more than the stream says that it has
        // Any place gives the same bytes as the way through.
        ComPtr<IStream> clone;
        if (FAILED(stream.Clone(clone.put())))
            return;
        for (std::size_t at = whole.size(); at > 0; at = at * 2 / 3) {
            LARGE_INTEGER place;
            place.QuadPart = static_cast<LONGLONG>(at - 1);
            std::uint8_t byte = 0;
            if (FAILED(clone->Seek(place, STREAM_SEEK_SET, nullptr)) || FAILED(clone->Read(&byte, 1, &got)) || got != 1 || byte != whole[at - 1])
                fail();
        }
    }

    std::size_t elementsSeen = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    for (const DWORD mode : openModes) {
        const ComPtr<ILockBytes> bytes = bytesOf(data, size);
        ComPtr<IStorage> root;
        (void)kvdm::checkCompoundFile(*bytes.get());
        if (StgIsStorageILockBytes(bytes.get()) != S_OK)
            return 0;
        if (FAILED(StgOpenStorageOnILockBytes(bytes.get(), nullptr, mode, nullptr, 0, root.put())))
            continue;
        Walker().walk(*root, 0);
    }
    return 0;
}
