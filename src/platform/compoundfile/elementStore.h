// The tree of storages and streams as one transaction sees it: the file's working state, or a nested transaction over it.
#pragma once

#include "platform/compoundfile/streamContent.h"

#include <kvdocmgr/oletypes.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

using ElementId = std::uint32_t;

struct ElementInfo
{
    std::u16string name;
    bool isStorage = false;
    CLSID clsid{};
    DWORD stateBits = 0;
    FILETIME created{};
    FILETIME modified{};
    std::uint64_t size = 0;
};

// Names are taken as they are: who calls has checked them. Operations throw suOleException and std::bad_alloc; an element that
// a caller holds a number of exists.
class ElementStore
{
public:
    virtual ~ElementStore() = default;

    virtual std::optional<ElementId> find(ElementId storage, std::u16string_view name) = 0;
    virtual ElementInfo info(ElementId element) = 0;
    virtual std::vector<ElementId> children(ElementId storage) = 0; // in name order
    // The same object for as long as anybody holds it.
    virtual std::shared_ptr<StreamContent> content(ElementId stream) = 0;
};

} // namespace kvdm
