#include "platform/compoundfile/transactionStore.h"

namespace kvdm {

TransactionStore::TransactionStore(std::shared_ptr<ElementStore> storeBelow, ElementId storage) : base(std::move(storeBelow)), baseStorage(storage)
{
    forget();
}

void TransactionStore::discard() noexcept
{
    for (auto& [id, node] : nodes) {
        if (!node.content)
            continue;
        try {
            node.content->discard();
        } catch (...) {
            // Its sectors stay out of use until the file is opened anew.
        }
    }
}

void TransactionStore::forget()
{
    discard();
    nodes.clear();
    nextId = rootId;
    Node root;
    root.below = baseStorage;
    root.info = base->info(baseStorage);
    iAdd(std::move(root));
}

ElementId TransactionStore::iAdd(Node node)
{
    const ElementId id = nextId;
    nodes.emplace(id, std::move(node));
    ++nextId;
    return id;
}

void TransactionStore::iKnowChildren(Node& storage)
{
    if (storage.childrenKnown)
        return;
    if (storage.below) {
        for (const ElementId id : base->children(*storage.below)) {
            Node child;
            child.below = id;
            child.info = base->info(id);
            const std::u16string name = child.info.name;
            const ElementId own = iAdd(std::move(child));
            storage.children.emplace(name, own);
        }
    }
    storage.childrenKnown = true;
}

std::optional<ElementId> TransactionStore::find(ElementId storage, std::u16string_view name)
{
    Node& node = iNode(storage);
    iKnowChildren(node);
    if (const auto child = node.children.find(std::u16string(name)); child != node.children.end())
        return child->second;
    for (const auto& [stored, id] : node.children) { // odd names go on behind a zero
        if (const std::size_t zero = stored.find(u'\0'); zero != stored.npos && compareNames(name, stored.substr(0, zero)) == 0)
            return id;
    }
    return std::nullopt;
}

ElementInfo TransactionStore::info(ElementId element)
{
    const Node& node = iNode(element);
    ElementInfo result = node.info;
    if (node.content)
        result.size = node.content->size();
    return result;
}

std::vector<ElementId> TransactionStore::children(ElementId storage)
{
    Node& node = iNode(storage);
    iKnowChildren(node);
    std::vector<ElementId> list;
    for (const auto& [name, id] : node.children)
        list.push_back(id);
    return list;
}

std::shared_ptr<StreamContent> TransactionStore::content(ElementId stream, bool)
{
    Node& node = iNode(stream);
    if (!node.content)
        node.content = base->content(*node.below, false)->fork();
    return node.content;
}

ElementId TransactionStore::create(ElementId storage, std::u16string_view name, bool isStorage)
{
    iKnowChildren(iNode(storage));
    Node child;
    child.info.name = name;
    child.info.isStorage = isStorage;
    child.childrenKnown = true;
    if (isStorage) {
        CoFileTimeNow(&child.info.created);
        child.info.modified = child.info.created;
    } else
        child.content = emptyContent();
    const ElementId id = iAdd(std::move(child));
    iNode(storage).children.emplace(name, id);
    return id;
}

// What an element that goes away holds itself; the store below keeps its own until the commit.
void TransactionStore::iDrop(ElementId element)
{
    std::vector<ElementId> all{element};
    for (std::size_t i = 0; i < all.size(); ++i) {
        Node& node = iNode(all[i]);
        if (node.content)
            node.content->discard();
        for (const auto& [name, id] : node.children)
            all.push_back(id);
    }
    for (const ElementId id : all)
        nodes.erase(id);
}

void TransactionStore::destroy(ElementId storage, ElementId element)
{
    Node& parent = iNode(storage);
    const Node& node = iNode(element);
    if (node.below)
        parent.removed.push_back(*node.below);
    parent.children.erase(node.info.name);
    iDrop(element);
}

void TransactionStore::rename(ElementId storage, ElementId element, std::u16string_view name)
{
    Node& parent = iNode(storage);
    Node& node = iNode(element);
    std::u16string after(name);
    auto entry = parent.children.extract(node.info.name);
    entry.key() = after;
    parent.children.insert(std::move(entry));
    node.info.name = std::move(after);
    node.renamed = node.below.has_value();
}

void TransactionStore::change(ElementId element, const ElementChange& change)
{
    Node& node = iNode(element);
    if (change.clsid)
        node.info.clsid = *(node.changes.clsid = change.clsid);
    if (change.stateBits)
        node.info.stateBits = *(node.changes.stateBits = change.stateBits);
    if (change.created)
        node.info.created = *(node.changes.created = change.created);
    if (change.modified)
        node.info.modified = *(node.changes.modified = change.modified);
}

void TransactionStore::commit()
{
    std::vector<ElementId> all{rootId};
    for (std::size_t i = 0; i < all.size(); ++i) {
        iApply(all[i]);
        for (const auto& [name, id] : iNode(all[i]).children)
            all.push_back(id);
    }
}

// What is different about one element and, for a storage, which children it has and how they are called. They exist below
// afterwards, so that they can be applied in their turn.
void TransactionStore::iApply(ElementId element)
{
    Node& node = iNode(element);
    if (!node.info.isStorage) {
        if (node.content && node.content->isChanged())
            base->content(*node.below, true)->absorb(*node.content);
        return;
    }
    while (!node.removed.empty()) {
        base->destroy(*node.below, node.removed.back());
        node.removed.pop_back();
    }
    iApplyNames(node);
    for (const auto& [name, id] : node.children) {
        Node& child = iNode(id);
        if (child.below)
            continue;
        child.below = base->create(*node.below, name, child.info.isStorage);
        if (child.info.isStorage)
            child.changes = {child.info.clsid, child.info.stateBits, child.info.created, child.info.modified};
    }
    if (node.changes.clsid || node.changes.stateBits || node.changes.created || node.changes.modified) {
        base->change(*node.below, node.changes);
        node.changes = {};
    }
}

// Names may go round in a circle: where the new name is still another's, that one steps aside first.
void TransactionStore::iApplyNames(Node& storage)
{
    for (const auto& [name, id] : storage.children) {
        Node& child = iNode(id);
        if (!child.renamed)
            continue;
        const auto holder = base->find(*storage.below, name);
        if (holder && *holder != *child.below) {
            std::u16string aside(longestName, u'\u0001');
            for (char16_t turn = 1; base->find(*storage.below, aside); ++turn)
                aside.back() = static_cast<char16_t>(0xE000 + turn);
            base->rename(*storage.below, *holder, aside);
        }
        base->rename(*storage.below, *child.below, name);
        child.renamed = false;
    }
}

} // namespace kvdm
