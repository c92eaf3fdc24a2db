// The property streams of a document. The first three bytes choose: the document version (16 bits), and bit 0: a version
// marker beside the stream that tells the newest release, bit 1: the same bytes as invisible properties, bit 2: as summary.
//
// Whatever comes is listed and told as text, changed, written and read again. A set that was read whole, written and read
// comes to rest: from some writing on the stream stays the same. Aliases are left out, since each reading may give a
// name to another property.
#include "properties/suDocumentProperties_c.h"
#include "properties/suSummaryInformation_c.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstdlib>
#include <string>

namespace {

using namespace kvdm;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

ComPtr<IStream> memoryStream(std::string_view bytes)
{
    ComPtr<IStream> stream;
    require(SUCCEEDED(CreateStreamOnHGlobal(nullptr, 1, stream.put())));
    ULONG written = 0;
    require(bytes.empty() || SUCCEEDED(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written)));
    require(SUCCEEDED(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr)));
    return stream;
}

ComPtr<IStorage> memoryStorage()
{
    ComPtr<ILockBytes> bytes;
    ComPtr<IStorage> storage;
    require(SUCCEEDED(CreateILockBytesOnHGlobal(nullptr, 1, bytes.put())));
    require(SUCCEEDED(StgCreateDocfileOnILockBytes(bytes.get(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, storage.put())));
    return storage;
}

void addStream(IStorage& storage, const std::u16string& name, std::string_view bytes)
{
    ComPtr<IStream> stream;
    require(SUCCEEDED(storage.CreateStream(name.c_str(), STGM_CREATE | STGM_READWRITE | STGM_SHARE_EXCLUSIVE, 0, 0, stream.put())));
    ULONG written = 0;
    require(bytes.empty() || SUCCEEDED(stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written)));
}

std::string writtenBytes(suOlePropertySet& set)
{
    const ComPtr<IStream> stream = memoryStream({});
    require(set.Write(*stream));
    require(SUCCEEDED(stream->Seek(LARGE_INTEGER{}, STREAM_SEEK_SET, nullptr)));
    std::string bytes(1 << 16, '\0');
    std::string all;
    for (ULONG got = 1; got > 0;) {
        got = 0;
        require(SUCCEEDED(stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &got)));
        all.append(bytes, 0, got);
    }
    return all;
}

bool hasAliases(const suOlePropertySet& set)
{
    bool found = false;
    for (const suOlePropertySection& section : set.getSections())
        section.getNames().forEach([&](const suPropertyNames::Entry& entry) {
            found = found || (entry.name.starts_with(u"KV-") && entry.name.find(u'(') != std::u16string::npos);
        });
    return found;
}

void checkRest(std::string_view bytes, int version)
{
    std::string before;
    for (int pass = 0; pass < 6; ++pass) {
        suOlePropertySet set(userPropertiesFormat);
        const bool whole = set.Read(*memoryStream(pass == 0 ? bytes : std::string_view(before)), version, version);
        require(whole || pass == 0);
        if (set.isLeftAlone() || hasAliases(set))
            return;
        std::string now = writtenBytes(set);
        require(now == writtenBytes(set)); // a second writing changes nothing
        if (now == before)
            return;
        before = std::move(now);
    }
    std::abort();
}

void use(suPropertyStore_c& store)
{
    const auto all = store.GetAllCustomPropertyNamesAndValues();
    require(all.size() == store.GetCustomPropertyCount() && all.size() == store.GetCustomPropertyNames().size());
    for (const suCustomProperty& property : all) {
        std::uint32_t type = 0;
        std::u16string text;
        require(store.GetCustomProperty(property.name, type, text));
    }
    for (const suOleProperty& property : store.getUserSection().getProperties())
        (void)store.getUserSection().GetPropertyValue(property.id);
    if (store.AddCustomProperty(u"Fuzz", VT_LPSTR, u"added")) {
        std::uint32_t type = 0;
        std::u16string text;
        require(store.SetCustomProperty(u"fuzz", u"set"));
        require(store.GetCustomProperty(u"FUZZ", type, text) && type == VT_LPSTR && text == u"set");
        require(store.GetCustomPropertyCount() == all.size() + 1);
        require(store.DeleteCustomProperty(u"fuzz"));
        require(store.GetCustomPropertyCount() == all.size());
    }
    if (!all.empty())
        require(store.DeleteCustomProperty(all.front().name));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const int version = (data[0] | data[1] << 8) % 3802;
    const std::string_view bytes(reinterpret_cast<const char*>(data) + 3, size - 3);
    checkRest(bytes, version);

    const ComPtr<IStorage> storage = memoryStorage();
    addStream(*storage, std::u16string(visiblePropertiesStream), bytes);
    if (data[2] & 1)
        addStream(*storage, u"DocumentSummaryInformation_V", std::string_view("\xD8\x0E\0\0", 4));
    if (data[2] & 2)
        addStream(*storage, std::u16string(invisiblePropertiesStream), bytes);
    suDocumentProperties_c document;
    document.Read(*storage, version);
    std::vector<std::u16string> links;
    std::vector<std::u16string> wanted;
    document.GetLinkLists(links, &wanted);
    (void)document.ReplaceLinkName(u"a", u"b");
    use(document.getStore(true));
    use(document.getStore(false));
    require(document.Write(*storage));
    suDocumentProperties_c again;
    again.Read(*storage, version);

    if (data[2] & 4) {
        addStream(*storage, std::u16string(summaryStream), bytes);
        suSummaryInformation_c summary;
        summary.Read(*storage, version);
        for (int field = 0; field < 8; ++field)
            (void)summary.getField(static_cast<SummaryField>(field));
        (void)summary.setField(SummaryField::title, u"title");
        summary.stampSave();
        require(summary.Write(*storage));
    }
    return 0;
}
