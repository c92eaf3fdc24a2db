#include "platform/compoundfile/directory.h"

#include "common/exceptions.h"
#include "platform/compoundfile/names.h"

#include <algorithm>
#include <unordered_set>

namespace kvdm {

void Directory::start(std::uint32_t startSector, bool wideSizes)
{
    pages.start(startSector);
    wide = wideSizes;
    trees.clear();
    owners.clear();
    freeEntries.reset();
    torn = false;
}

EntryView Directory::entry(std::uint32_t id)
{
    const std::uint32_t perPage = pages.pageBytes() / entryBytes;
    const std::uint8_t* page = pages.page(id / perPage);
    if (!page)
        throw suOleException(STG_E_DOCFILECORRUPT);
    return EntryView(page + id % perPage * entryBytes);
}

EntryEditor Directory::edit(std::uint32_t id)
{
    const std::uint32_t perPage = pages.pageBytes() / entryBytes;
    return EntryEditor(pages.edit(id / perPage) + id % perPage * entryBytes);
}

bool Directory::iClaim(std::uint32_t storage, std::uint32_t id)
{
    return id != 0 && owners.try_emplace(id, storage).first->second == storage;
}

// The elements that hang on a storage, sorted, and whether a search may walk the tree to find them. Links that lead nowhere,
// to the root or to entries already seen are passed over.
std::vector<std::uint32_t> Directory::iWalk(std::uint32_t storage, bool& sound)
{
    struct Step
    {
        std::uint32_t id;
        unsigned depth;
    };
    sound = true;
    std::vector<std::uint32_t> found;
    std::vector<Step> stack;
    std::unordered_set<std::uint32_t> seen;
    const auto enter = [&](std::uint32_t id) -> std::optional<EntryView> {
        if (id == noEntry)
            return std::nullopt;
        try {
            // Not below what another storage has reached: many storages that lead into one tree must not cost its size each.
            if (seen.insert(id).second && iClaim(storage, id))
                return entry(id);
        } catch (const suOleException&) {
        }
        sound = false;
        return std::nullopt;
    };
    Step next{entry(storage).child(), 1};
    for (;;) {
        while (const auto node = enter(next.id)) { // down the left side
            stack.push_back(next);
            next = {node->left(), next.depth + 1};
        }
        if (stack.empty())
            break;
        const Step step = stack.back();
        stack.pop_back();
        const EntryView node = entry(step.id);
        if (node.isElement()) {
            sound = sound && step.depth <= deepestWalk && (found.empty() || compareNames(entry(found.back()).name(), node) < 0);
            found.push_back(step.id);
        } else
            sound = false;
        next = {node.right(), step.depth + 1};
    }
    if (!sound)
        std::stable_sort(found.begin(), found.end(),
                         [this](std::uint32_t a, std::uint32_t b) { return compareNames(entry(a).name(), entry(b)) < 0; });
    return found;
}

Directory::Tree& Directory::iTree(std::uint32_t storage)
{
    const auto known = trees.find(storage);
    if (known != trees.end())
        return known->second;
    Tree tree;
    tree.list = iWalk(storage, tree.sound);
    if (tree.sound)
        tree.list = {};
    return trees.emplace(storage, std::move(tree)).first->second;
}

std::optional<std::uint32_t> Directory::iFindInTree(std::uint32_t storage, std::u16string_view name)
{
    std::uint32_t id = entry(storage).child();
    for (unsigned depth = 0; depth < deepestWalk && id != noEntry && id != 0; ++depth) {
        const EntryView node = entry(id);
        const int order = compareNames(name, node);
        if (order == 0)
            return node.isElement() && iClaim(storage, id) ? std::optional(id) : std::nullopt;
        id = order < 0 ? node.left() : node.right();
    }
    return std::nullopt;
}

// Who lists a storage opens its elements one after another: then nothing need be searched for.
std::optional<std::uint32_t> Directory::iFindNext(Tree& tree, std::u16string_view name)
{
    if (tree.next >= tree.list.size() || compareNames(name, entry(tree.list[tree.next])) != 0)
        return std::nullopt;
    if (tree.next > 0 && compareNames(name, entry(tree.list[tree.next - 1])) == 0)
        return std::nullopt; // of several elements of one name the first is meant
    return tree.list[tree.next++];
}

std::optional<std::uint32_t> Directory::find(std::uint32_t storage, std::u16string_view name)
{
    if (name.find(u'\0') != name.npos) { // no interface but the exact one carries such a name
        for (const std::uint32_t id : children(storage)) {
            if (compareNames(name, entry(id).storedName()) == 0)
                return id;
        }
        return std::nullopt;
    }
    const auto known = trees.find(storage);
    const bool wasKnown = known != trees.end();
    if (wasKnown) {
        if (const auto id = iFindNext(known->second, name))
            return id;
    } else {
        try {
            if (const auto id = iFindInTree(storage, name))
                return id;
        } catch (const suOleException&) {
            (void)entry(storage); // a link that leads nowhere is the tree's fault, not the caller's
        }
    }
    const Tree& tree = iTree(storage);
    if (tree.sound)
        return wasKnown ? iFindInTree(storage, name) : std::nullopt;
    const auto place = std::lower_bound(tree.list.begin(), tree.list.end(), name,
                                        [this](std::uint32_t id, std::u16string_view wanted) { return compareNames(wanted, entry(id)) > 0; });
    if (place != tree.list.end() && compareNames(name, entry(*place)) == 0)
        return *place;
    return std::nullopt;
}

std::vector<std::uint32_t> Directory::children(std::uint32_t storage)
{
    const auto known = trees.find(storage);
    if (known != trees.end() && (!known->second.sound || !known->second.list.empty())) {
        known->second.next = 0;
        return known->second.list;
    }
    Tree tree;
    tree.list = iWalk(storage, tree.sound);
    return trees.insert_or_assign(storage, std::move(tree)).first->second.list;
}

} // namespace kvdm
