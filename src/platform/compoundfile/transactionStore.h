// A nested transaction: what has become different below one storage, over the elements of the transaction around it.
#pragma once

#include "platform/compoundfile/elementStore.h"
#include "platform/compoundfile/names.h"

#include <map>
#include <unordered_map>
#include <vector>

namespace kvdm {

// Elements are taken over from the store below when they are first asked for; streams that are opened get a fork of their
// content. Nothing below changes before commit(), which applies the differences one by one. When that is cut short, by
// exhausted memory or a full medium, what was applied is known and a second commit goes on from there.
class TransactionStore final : public ElementStore
{
public:
    static constexpr ElementId rootId = 0;

    TransactionStore(std::shared_ptr<ElementStore> storeBelow, ElementId storage);

    std::optional<ElementId> find(ElementId storage, std::u16string_view name) override;
    ElementInfo info(ElementId element) override;
    std::vector<ElementId> children(ElementId storage) override;
    std::shared_ptr<StreamContent> content(ElementId stream, bool toWrite) override;
    std::shared_ptr<StreamContent> emptyContent() override { return base->emptyContent(); }
    ElementId create(ElementId storage, std::u16string_view name, bool isStorage) override;
    void destroy(ElementId storage, ElementId element) override;
    void rename(ElementId storage, ElementId element, std::u16string_view name) override;
    void change(ElementId element, const ElementChange& change) override;

    void commit();
    // Gives back what the transaction holds. `forget` starts it anew from the state below.
    void discard() noexcept;
    void forget();

private:
    struct Node
    {
        std::optional<ElementId> below; // none: made in this transaction
        ElementInfo info;
        ElementChange changes;
        bool renamed = false;
        bool childrenKnown = false;
        std::map<std::u16string, ElementId, NameBefore> children;
        std::vector<ElementId> removed; // of the store below
        std::shared_ptr<StreamContent> content;
    };

    Node& iNode(ElementId element) { return nodes.at(element); }
    ElementId iAdd(Node node);
    void iKnowChildren(Node& storage);
    void iDrop(ElementId element);
    void iApply(ElementId element);
    void iApplyNames(Node& storage);

    std::shared_ptr<ElementStore> base;
    ElementId baseStorage;
    std::unordered_map<ElementId, Node> nodes; // references stay good while others are added
    ElementId nextId = rootId;
};

} // namespace kvdm
