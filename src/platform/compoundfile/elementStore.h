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
    std::u16string name; // as it is stored: odd files have zero units in it, which end it on its way over the interfaces
    bool isStorage = false;
    CLSID clsid{};
    DWORD stateBits = 0;
    FILETIME created{};
    FILETIME modified{};
    std::uint64_t size = 0;
};

// What is to become different about an element.
struct ElementChange
{
    std::optional<CLSID> clsid;
    std::optional<DWORD> stateBits;
    std::optional<FILETIME> created;
    std::optional<FILETIME> modified;
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
    // The same object for as long as anybody holds it. One that is to be written stays until it is part of the state below.
    virtual std::shared_ptr<StreamContent> content(ElementId stream, bool toWrite) = 0;
    virtual std::shared_ptr<StreamContent> emptyContent() = 0; // of a stream that the store does not know yet

    // The name must not be there yet.
    virtual ElementId create(ElementId storage, std::u16string_view name, bool isStorage) = 0;
    virtual void destroy(ElementId storage, ElementId element) = 0; // with all that is below it
    virtual void rename(ElementId storage, ElementId element, std::u16string_view name) = 0;
    virtual void change(ElementId element, const ElementChange& change) = 0;
};

} // namespace kvdm
