#include "properties/suPropertyStore_c.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "properties/propertyStreams.h"
#include "storage/suStructuredStorage.h"

namespace kvdm {

namespace {

// The stream that tells which release wrote the texts. Only releases around a change of code pages left it; since then
// every save removes it.
std::u16string markerNameOf(std::u16string_view name)
{
    return std::u16string(name.empty() ? u"DocumentSummaryInformation" : name).append(u"_V");
}

std::int32_t readMarker(IStorage& storage, std::u16string_view name, std::int32_t otherwise)
{
    bool missing = false;
    const ComPtr<IStream> stream = openPropertyStream(storage, markerNameOf(name), missing);
    std::int32_t version = 0;
    ULONG got = 0;
    return stream && SUCCEEDED(stream->Read(&version, sizeof version, &got)) && got == sizeof version ? version : otherwise;
}

} // namespace

suPropertyStore_c::suPropertyStore_c(bool withSummarySection) : hasSummarySection(withSummarySection), set(documentSummaryFormat)
{
    iBind();
}

// The summary section comes first where both are new.
void suPropertyStore_c::iBind()
{
    docSummarySection = hasSummarySection ? &set.requireSection(documentSummaryFormat) : nullptr;
    userSection = &set.requireSection(userPropertiesFormat);
}

bool suPropertyStore_c::Read(IStorage& storage, std::u16string_view name, std::optional<std::int32_t> documentVersion)
{
    constexpr std::int32_t firstWithoutMarker = 3321;
    const std::int32_t version = documentVersion ? *documentVersion : suStructuredStorage::loadVersion(storage);
    const std::int32_t writtenVersion = version < firstWithoutMarker ? readMarker(storage, name, version) : version;

    bool missing = false;
    bool outcome = false;
    const ComPtr<IStream> stream = openPropertyStream(storage, name.empty() ? visiblePropertiesStream : name, missing);
    if (stream) {
        docSummarySection = userSection = nullptr;
        outcome = set.Read(*stream, version, writtenVersion);
    } else if (!missing) {
        set.setUnread();
    }
    iBind();
    return outcome;
}

bool suPropertyStore_c::Write(IStorage& storage, std::u16string_view name)
{
    if (set.isLeftAlone())
        return true;
    const std::string bytes = set.makeStream(); // before anything in the storage changes
    if (bytes.empty())
        throw suFileException(suFileException::generic);
    storage.DestroyElement(toOle(markerNameOf(name)));

    const std::u16string streamName(name.empty() ? visiblePropertiesStream : name);
    constexpr DWORD mode = STGM_READWRITE | STGM_SHARE_EXCLUSIVE;
    ComPtr<IStream> stream;
    if (FAILED(storage.OpenStream(toOle(streamName), nullptr, mode, 0, stream.put()))) {
        (void)stream.detach(); // a failed call may leave anything behind
        if (FAILED(storage.CreateStream(toOle(streamName), STGM_CREATE | mode, 0, 0, stream.put()))) {
            (void)stream.detach();
            return false;
        }
    } else if (stream && FAILED(stream->SetSize(ULARGE_INTEGER{}))) {
        throw suFileException(suFileException::generic);
    }
    if (!stream)
        return false;
    if (!writeWholeStream(*stream, bytes))
        throw suFileException(suFileException::generic);
    return true;
}

} // namespace kvdm
