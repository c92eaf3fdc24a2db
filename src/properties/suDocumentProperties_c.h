// The property streams of a document: its visible and its invisible custom properties.
#pragma once

#include "properties/suPropertyStore_c.h"

#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

// The keyword store, which stands in a higher room, as far as saving needs it.
class suKeywordStore
{
public:
    virtual ~suKeywordStore() = default;
    virtual bool writeToStorage(IStorage& storage) = 0;
};

// Made by the document core at the first demand for properties and kept until the document closes. The summary stream is
// none of its business: the core has an object of its own for it, reads it at first need and writes it after these streams.
class suDocumentProperties_c final : public su_CObject
{
public:
    suDocumentProperties_c();

    // Missing streams leave empty stores.
    void Read(IStorage& storage, std::optional<std::int32_t> documentVersion = std::nullopt);
    // False when one of the streams could be neither opened nor made; the other is written all the same. Throws a file
    // exception when writing fails.
    bool Write(IStorage& storage, bool withKeywords = false);

    suPropertyStore_c& getStore(bool visible) noexcept { return visible ? visibleStore : *invisibleStore; }
    const suPropertyStore_c& getStore(bool visible) const noexcept { return visible ? visibleStore : *invisibleStore; }
    void setKeywordStore(std::unique_ptr<suKeywordStore> store) noexcept { keywords = std::move(store); }

    // ---- links: the invisible store has them as they were saved, the visible one as they are wanted ----

    // Nothing is done with a second list of another length. With it the links count as changed.
    void SetLinkLists(const std::vector<std::u16string>& links, const std::vector<std::u16string>* wanted);
    // Appends to both lists. True when the links are marked as changed and both lists have the same length, not 0.
    bool GetLinkLists(std::vector<std::u16string>& links, std::vector<std::u16string>* wanted) const;
    // True when a link equal to the old name, case aside, was there.
    bool ReplaceLinkName(std::u16string_view oldName, std::u16string_view newName);

private:
    void iSetLinksChanged(bool changed);

    suPropertyStore_c visibleStore;
    std::unique_ptr<suPropertyStore_c> invisibleStore;
    std::unique_ptr<suKeywordStore> keywords;
};

} // namespace kvdm
