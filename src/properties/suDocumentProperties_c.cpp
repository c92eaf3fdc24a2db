#include "properties/suDocumentProperties_c.h"

#include "platform/text/casing.h"
#include "storage/suStructuredStorage.h"

namespace kvdm {

namespace {

constexpr std::uint32_t linksChangedId = 22; // of the document summary: hyperlinks were changed

} // namespace

suDocumentProperties_c::suDocumentProperties_c() : visibleStore(true), invisibleStore(std::make_unique<suPropertyStore_c>(false)) {}

void suDocumentProperties_c::Read(IStorage& storage, std::optional<std::int32_t> documentVersion)
{
    const std::int32_t version = documentVersion ? *documentVersion : suStructuredStorage::loadVersion(storage);
    visibleStore.Read(storage, {}, version);
    invisibleStore->Read(storage, invisiblePropertiesStream, version);
}

bool suDocumentProperties_c::Write(IStorage& storage, bool withKeywords)
{
    const bool visibleWritten = visibleStore.Write(storage);
    const bool invisibleWritten = invisibleStore->Write(storage, invisiblePropertiesStream);
    if (withKeywords && keywords)
        keywords->writeToStorage(storage);
    return visibleWritten && invisibleWritten;
}

void suDocumentProperties_c::SetLinkLists(const std::vector<std::u16string>& links, const std::vector<std::u16string>* wanted)
{
    if (wanted && wanted->size() != links.size())
        return;
    visibleStore.SetLinkList(wanted ? *wanted : links, wanted ? &links : nullptr);
    invisibleStore->SetLinkList(links, wanted);
    iSetLinksChanged(wanted != nullptr);
}

bool suDocumentProperties_c::GetLinkLists(std::vector<std::u16string>& links, std::vector<std::u16string>* wanted) const
{
    const std::size_t saved = invisibleStore->GetLinkList(links);
    if (!wanted)
        return saved > 0;
    const std::size_t visible = visibleStore.GetLinkList(*wanted);
    const suOleProperty* changed = visibleStore.getDocSummarySection()->findById(linksChangedId);
    return saved == visible && visible > 0 && changed && changed->type == VT_BOOL && oleNumber<std::int16_t>(changed->payload().data()) != 0;
}

bool suDocumentProperties_c::ReplaceLinkName(std::u16string_view oldName, std::u16string_view newName)
{
    if (equalNoCase(oldName, newName))
        return false;
    std::vector<std::u16string> links;
    std::vector<std::u16string> wanted;
    GetLinkLists(links, &wanted);
    bool found = false;
    for (std::u16string& link : links) {
        if (equalNoCase(link, oldName)) {
            link = newName;
            found = true;
        }
    }
    if (found && links.size() == wanted.size()) {
        visibleStore.SetLinkList(wanted, &links);
        invisibleStore->SetLinkList(links, &wanted);
        iSetLinksChanged(true);
    }
    return found;
}

void suDocumentProperties_c::iSetLinksChanged(bool changed)
{
    visibleStore.getDocSummarySection()->SetProperty(linksChangedId, oleBytes(static_cast<std::int16_t>(changed ? VARIANT_TRUE : VARIANT_FALSE)),
                                                     VT_BOOL);
}

} // namespace kvdm
