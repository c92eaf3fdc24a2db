// A save of a file of arbitrary bytes: it succeeds and holds what was written, or it fails and the file is what it was. In a
// sound file it succeeds, and the file stays sound.
#include "platform/compoundfile/checker.h"
#include "support/StorageTools.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

using namespace std::string_literals;
using kvdm::ComPtr;
using kvdm::test::Bytes;

void demand(bool good, const char* what)
{
    if (good)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

// A few elements of the root, so that the work is bounded whatever the file tells.
std::vector<std::pair<std::u16string, DWORD>> someElements(IStorage& root)
{
    std::vector<std::pair<std::u16string, DWORD>> list;
    ComPtr<IEnumSTATSTG> elements;
    STATSTG element{};
    if (FAILED(root.EnumElements(0, nullptr, 0, elements.put())))
        return list;
    while (list.size() < 12 && elements->Next(1, &element, nullptr) == S_OK) {
        list.emplace_back(element.pwcsName, element.type);
        CoTaskMemFree(element.pwcsName);
    }
    return list;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size > 1 << 20)
        return 0;
    const auto array = kvdm::test::lockBytesOf(Bytes(data, data + size));
    const bool sound = kvdm::checkCompoundFile(*array.get()).empty();
    ComPtr<IStorage> root;
    if (FAILED(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put())))
        return 0;
    const Bytes small = kvdm::test::patternBytes(700), large = kvdm::test::patternBytes(20000);
    std::size_t turn = 0;
    for (const auto& [name, type] : someElements(*root)) {
        switch (turn++ % 4) {
        case 0:
            root->DestroyElement(name.c_str());
            break;
        case 1:
            root->RenameElement(name.c_str(), (u"renamed "s + static_cast<char16_t>(u'a' + turn)).c_str());
            break;
        case 2:
            if (ComPtr<IStream> stream; SUCCEEDED(root->OpenStream(name.c_str(), nullptr, 0x12, 0, stream.put()))) {
                ULONG written = 0;
                stream->Seek(kvdm::test::distance(1000), STREAM_SEEK_SET, nullptr);
                stream->Write(large.data(), 9000, &written);
                stream->SetSize(kvdm::test::wide(turn * 700));
            }
            break;
        default:
            kvdm::test::writeStream(*root, name, small);
        }
    }
    const bool smallWritten = kvdm::test::writeStream(*root, u"fuzzed small", small);
    const bool largeWritten = kvdm::test::writeStream(*root, u"fuzzed large", large);
    const HRESULT status = root->Commit(STGC_DEFAULT);
    root.reset();
    demand(!sound || SUCCEEDED(status), "a sound file was not saved");
    demand(!sound || kvdm::checkCompoundFile(*array.get()).empty(), "a sound file is not sound after the save");
    demand(SUCCEEDED(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10040, nullptr, 0, root.put())), "the file does not open after the save");
    if (FAILED(status))
        return 0;
    demand(!smallWritten || kvdm::test::readStream(*root, u"fuzzed small") == small, "a small stream is not what was written");
    demand(!largeWritten || kvdm::test::readStream(*root, u"fuzzed large") == large, "a large stream is not what was written");
    return 0;
}
