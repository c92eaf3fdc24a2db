// The writing side of the directory: entries come and go, and the trees of names stay balanced.
//
// The trees are red-black, as the format asks. They have no links upwards, so a change walks down first and keeps the path.
// Trees of other writers may be unbalanced, coloured at will or out of order: what is found to be out of order is rebuilt
// before it is changed, and so is what turns out not to be a red-black tree while it is being changed.
#include "common/exceptions.h"
#include "platform/compoundfile/directory.h"
#include "platform/compoundfile/names.h"

#include <algorithm>

namespace kvdm {

// While one lives the trees are in pieces; when it dies before done() they stay so, and nothing may be committed.
class Directory::Change
{
public:
    explicit Change(Directory& changed) noexcept : directory(changed), before(changed.torn) { directory.torn = true; }
    ~Change() = default;
    Change(const Change&) = delete;
    Change& operator=(const Change&) = delete;
    void done() noexcept { directory.torn = before; }

private:
    Directory& directory;
    bool before;
};

std::uint32_t Directory::iTakeFree()
{
    const std::uint32_t perPage = pages.pageBytes() / entryBytes;
    if (!freeEntries) {
        std::set<std::uint32_t> found;
        const std::uint32_t count = pages.count();
        for (std::uint32_t page = 0; page < count; ++page) {
            for (std::uint32_t i = 0; i < perPage; ++i) {
                const std::uint32_t id = page * perPage + i;
                if (id != 0 && entry(id).type() == EntryType::unused)
                    found.insert(id);
            }
        }
        freeEntries = std::move(found);
    }
    if (freeEntries->empty()) {
        const std::uint32_t page = pages.append(0);
        for (std::uint32_t i = 0; i < perPage; ++i) {
            edit(page * perPage + i).clear();
            freeEntries->insert(page * perPage + i);
        }
    }
    const std::uint32_t id = *freeEntries->begin();
    freeEntries->erase(freeEntries->begin());
    return id;
}

std::uint32_t Directory::insert(std::uint32_t storage, std::u16string_view name)
{
    iMakeSound(storage);
    Change change(*this);
    const std::uint32_t id = iTakeFree();
    edit(id).clear();
    link(storage, id, name);
    change.done();
    return id;
}

void Directory::release(std::uint32_t id)
{
    Change change(*this);
    edit(id).clear();
    owners.erase(id);
    trees.erase(id);
    if (freeEntries)
        freeEntries->insert(id);
    change.done();
}

void Directory::trim()
{
    const std::uint32_t perPage = pages.pageBytes() / entryBytes;
    if (!freeEntries || freeEntries->empty())
        return;
    for (std::uint32_t last = pages.count() - 1; last > 0; --last) {
        for (std::uint32_t i = 0; i < perPage; ++i) {
            if (!freeEntries->contains(last * perPage + i))
                return;
        }
        for (std::uint32_t i = 0; i < perPage; ++i)
            freeEntries->erase(last * perPage + i);
        pages.removeLast();
    }
}

// Before every change of a tree.
void Directory::iMakeSound(std::uint32_t storage)
{
    Tree& tree = iTree(storage);
    if (tree.sound) {
        tree.list.clear();
        return;
    }
    Change change(*this);
    iRebuild(storage, std::vector<std::uint32_t>(tree.list));
    change.done();
}

void Directory::iRebuild(std::uint32_t storage, const std::vector<std::uint32_t>& sorted)
{
    unsigned full = 0; // levels that are full; what is below them is red
    while ((std::size_t{2} << full) - 1 <= sorted.size())
        ++full;
    const std::uint32_t top = iBalanced(sorted, 0, sorted.size(), 0, full);
    edit(storage).setChild(top);
    trees.insert_or_assign(storage, Tree{});
}

std::uint32_t Directory::iBalanced(const std::vector<std::uint32_t>& sorted, std::size_t from, std::size_t to, unsigned level, unsigned redLevel)
{
    if (from == to)
        return noEntry;
    const std::size_t middle = from + (to - from) / 2;
    const std::uint32_t left = iBalanced(sorted, from, middle, level + 1, redLevel);
    const std::uint32_t right = iBalanced(sorted, middle + 1, to, level + 1, redLevel);
    EntryEditor node = edit(sorted[middle]);
    node.setBlack(level == 0 || level != redLevel);
    node.setLeft(left);
    node.setRight(right);
    return sorted[middle];
}

bool Directory::iIsRed(std::uint32_t id)
{
    return id != noEntry && !entry(id).isBlack();
}

void Directory::iSetChild(std::uint32_t storage, const std::vector<std::uint32_t>& path, std::size_t depth, std::uint32_t from, std::uint32_t to)
{
    if (depth == 0) {
        edit(storage).setChild(to);
        return;
    }
    const std::uint32_t parent = path[depth - 1];
    if (entry(parent).left() == from)
        edit(parent).setLeft(to);
    else
        edit(parent).setRight(to);
}

// Turns the tree at `top` so that its left or right child comes up; gives that child.
std::uint32_t Directory::iRotate(std::uint32_t top, bool leftComesUp)
{
    const EntryView node = entry(top);
    const std::uint32_t up = leftComesUp ? node.left() : node.right();
    if (leftComesUp) {
        edit(top).setLeft(entry(up).right());
        edit(up).setRight(top);
    } else {
        edit(top).setRight(entry(up).left());
        edit(up).setLeft(top);
    }
    return up;
}

void Directory::link(std::uint32_t storage, std::uint32_t id, std::u16string_view name)
{
    iMakeSound(storage);
    Change change(*this);
    std::vector<std::uint32_t> path;
    bool left = false;
    for (std::uint32_t at = entry(storage).child(); at != noEntry;) {
        if (path.size() >= deepestWalk) { // in order, but no tree that a search should walk
            bool sound;
            const std::vector<std::uint32_t> sorted = iWalk(storage, sound);
            iRebuild(storage, sorted);
            path.clear();
            at = entry(storage).child();
            continue;
        }
        const EntryView node = entry(at);
        left = compareNames(name, node) < 0;
        path.push_back(at);
        at = left ? node.left() : node.right();
    }
    EntryEditor node = edit(id);
    node.setName(name);
    node.setLeft(noEntry);
    node.setRight(noEntry);
    node.setBlack(path.empty());
    if (path.empty())
        edit(storage).setChild(id);
    else if (left)
        edit(path.back()).setLeft(id);
    else
        edit(path.back()).setRight(id);
    owners.insert_or_assign(id, storage);

    path.push_back(id);
    std::size_t at = path.size() - 1; // the red node whose parent may be red
    while (at >= 2 && iIsRed(path[at - 1])) {
        const std::uint32_t parent = path[at - 1], top = path[at - 2];
        const bool parentIsLeft = entry(top).left() == parent;
        const std::uint32_t uncle = parentIsLeft ? entry(top).right() : entry(top).left();
        if (iIsRed(uncle)) {
            edit(parent).setBlack(true);
            edit(uncle).setBlack(true);
            edit(top).setBlack(false);
            at -= 2;
            continue;
        }
        if ((entry(parent).left() == path[at]) != parentIsLeft) { // the inner grandchild comes up twice
            const std::uint32_t up = iRotate(parent, !parentIsLeft);
            if (parentIsLeft)
                edit(top).setLeft(up);
            else
                edit(top).setRight(up);
        }
        const std::uint32_t up = iRotate(top, parentIsLeft);
        iSetChild(storage, path, at - 2, top, up);
        edit(up).setBlack(true);
        edit(top).setBlack(false);
        break;
    }
    const std::uint32_t first = entry(storage).child();
    if (iIsRed(first))
        edit(first).setBlack(true);
    change.done();
}

void Directory::unlink(std::uint32_t storage, std::uint32_t id)
{
    if (trees.contains(storage))
        iMakeSound(storage);
    Change change(*this);
    if (!iUnlinkBalanced(storage, id)) {
        // No red-black tree, or the entry is not where its name belongs: the others make up a new one.
        bool sound;
        std::vector<std::uint32_t> sorted = iWalk(storage, sound);
        std::erase(sorted, id);
        iRebuild(storage, sorted);
    }
    owners.erase(id);
    change.done();
}

// False when the tree is not what it must be for this; its links may be changed then, but all entries are still reached.
bool Directory::iUnlinkBalanced(std::uint32_t storage, std::uint32_t id)
{
    const std::u16string name = entry(id).name();
    std::vector<std::uint32_t> path;
    for (std::uint32_t at = entry(storage).child(); at != id;) {
        if (at == noEntry || path.size() >= deepestWalk)
            return false;
        const EntryView node = entry(at);
        const int order = compareNames(name, node);
        if (order == 0)
            return false;
        path.push_back(at);
        at = order < 0 ? node.left() : node.right();
    }
    path.push_back(id);
    std::size_t depth = path.size() - 1;
    if (entry(id).left() != noEntry && entry(id).right() != noEntry) {
        // The next entry in order takes the place, links and colour of the one that goes; numbers stay with their entries.
        std::uint32_t next = entry(id).right();
        path.push_back(next);
        while (entry(next).left() != noEntry) {
            if (path.size() >= 2 * deepestWalk)
                return false;
            next = entry(next).left();
            path.push_back(next);
        }
        const bool idBlack = entry(id).isBlack(), nextBlack = entry(next).isBlack();
        const std::uint32_t nextRight = entry(next).right(), idLeft = entry(id).left(), idRight = entry(id).right();
        const std::size_t nextDepth = path.size() - 1;
        iSetChild(storage, path, depth, id, next);
        edit(next).setLeft(idLeft);
        if (nextDepth == depth + 1)
            edit(next).setRight(id);
        else {
            edit(next).setRight(idRight);
            edit(path[nextDepth - 1]).setLeft(id);
        }
        edit(id).setLeft(noEntry);
        edit(id).setRight(nextRight);
        edit(next).setBlack(idBlack);
        edit(id).setBlack(nextBlack);
        path[depth] = next;
        path[nextDepth] = id;
        depth = nextDepth;
    }
    const EntryView node = entry(id);
    const std::uint32_t child = node.left() != noEntry ? node.left() : node.right();
    const bool wasBlack = node.isBlack();
    // Which side of its parent it leaves must be known before: both sides may be empty afterwards.
    bool lacksLeft = depth > 0 && entry(path[depth - 1]).left() == id;
    iSetChild(storage, path, depth, id, child);
    path.pop_back();
    if (!wasBlack)
        return true;
    if (iIsRed(child)) {
        edit(child).setBlack(true);
        return true;
    }
    // One side of path.back() lacks a black entry now.
    while (!path.empty()) {
        const std::size_t at = path.size() - 1;
        const std::uint32_t parent = path[at];
        std::uint32_t sibling = lacksLeft ? entry(parent).right() : entry(parent).left();
        if (sibling == noEntry)
            return true; // not a red-black tree: another writer's; it is in order and that is enough
        if (iIsRed(sibling)) {
            const std::uint32_t up = iRotate(parent, !lacksLeft);
            iSetChild(storage, path, at, parent, up);
            edit(up).setBlack(true);
            edit(parent).setBlack(false);
            path.insert(path.end() - 1, up);
            sibling = lacksLeft ? entry(parent).right() : entry(parent).left();
            if (sibling == noEntry)
                return true;
        }
        const std::size_t place = path.size() - 1;
        std::uint32_t outer = lacksLeft ? entry(sibling).right() : entry(sibling).left();
        const std::uint32_t inner = lacksLeft ? entry(sibling).left() : entry(sibling).right();
        if (!iIsRed(outer) && !iIsRed(inner)) {
            edit(sibling).setBlack(false);
            if (iIsRed(parent)) {
                edit(parent).setBlack(true);
                return true;
            }
            path.pop_back();
            if (!path.empty())
                lacksLeft = entry(path.back()).left() == parent;
            continue;
        }
        if (!iIsRed(outer)) {
            const std::uint32_t up = iRotate(sibling, lacksLeft);
            edit(up).setBlack(true);
            edit(sibling).setBlack(false);
            if (lacksLeft)
                edit(parent).setRight(up);
            else
                edit(parent).setLeft(up);
            outer = sibling;
            sibling = up;
        }
        const bool parentBlack = entry(parent).isBlack();
        const std::uint32_t up = iRotate(parent, !lacksLeft);
        iSetChild(storage, path, place, parent, up);
        edit(up).setBlack(parentBlack);
        edit(parent).setBlack(true);
        edit(outer).setBlack(true);
        return true;
    }
    return true;
}

} // namespace kvdm
