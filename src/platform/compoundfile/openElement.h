// An element that is open: one object's place in the tree of open objects.
#pragma once

#include "platform/compoundfile/elementStore.h"

#include <unordered_map>

namespace kvdm {

// An element is open once at most. When a storage goes away or is reverted, or an element is destroyed, everything open below
// it is told and answers STG_E_REVERTED from then on. Guarded by the mutex of the file.
class OpenElement
{
public:
    OpenElement(ElementId element, OpenElement* parentElement) : id(element), parent(parentElement)
    {
        if (parent)
            parent->open.emplace(id, this);
    }
    ~OpenElement()
    {
        revertChildren();
        if (parent)
            parent->open.erase(id);
    }
    OpenElement(const OpenElement&) = delete;
    OpenElement& operator=(const OpenElement&) = delete;

    bool isReverted() const noexcept { return reverted; }
    bool isOpen(ElementId child) const { return open.contains(child); }
    // True for the element itself and all that is open below it.
    bool contains(const OpenElement& other) const noexcept
    {
        const OpenElement* at = &other;
        while (at && at != this)
            at = at->parent;
        return at == this;
    }
    void revertChildren() noexcept
    {
        for (auto& [childId, child] : open)
            child->iRevert();
        open.clear();
    }
    void revertChild(ElementId child) noexcept
    {
        const auto found = open.find(child);
        if (found == open.end())
            return;
        found->second->iRevert();
        open.erase(found);
    }

    const ElementId id;

private:
    void iRevert() noexcept
    {
        reverted = true;
        parent = nullptr;
        revertChildren();
    }

    OpenElement* parent;
    bool reverted = false;
    std::unordered_map<ElementId, OpenElement*> open;
};

} // namespace kvdm
