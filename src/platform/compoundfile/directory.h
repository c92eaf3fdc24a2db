// The directory of one compound file: entries by their number, and the tree of names that each storage has.
#pragma once

#include "platform/compoundfile/format.h"
#include "platform/compoundfile/pagedChain.h"

#include <optional>
#include <set>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace kvdm {

// Names are found by walking the storage's red-black tree. Other writers, and damage, leave trees in another order: when a
// name is not found, the whole tree of that storage is looked through once, and if its order is not sound its elements are
// kept as a sorted list that serves instead. Every entry belongs to the storage that reached it first: an entry that a second
// storage or its own descendants lead to is not there for them, so walks over storages end.
class Directory
{
public:
    Directory(BlockFile& blockFile, AllocationTable& allocation) : pages(blockFile, allocation) {}

    void start(std::uint32_t startSector, bool wideSizes);

    // Throws STG_E_DOCFILECORRUPT when there is no such entry.
    EntryView entry(std::uint32_t id);
    std::uint64_t sizeOf(std::uint32_t id) { return entry(id).size(wide); }

    // A name without zero units finds an element whose name goes on behind one, too.
    std::optional<std::uint32_t> find(std::uint32_t storage, std::u16string_view name);
    // All elements in name order.
    std::vector<std::uint32_t> children(std::uint32_t storage);

    // ---- for writing (directoryTree.cpp) ----
    EntryEditor edit(std::uint32_t id);
    // A new entry under that name, of type and times to be set by the caller. The name must not be there.
    std::uint32_t insert(std::uint32_t storage, std::u16string_view name);
    // Takes the element out of its storage's tree; the entry stays, unlinked.
    void unlink(std::uint32_t storage, std::uint32_t id);
    // Puts an unlinked entry into a tree under a name.
    void link(std::uint32_t storage, std::uint32_t id, std::u16string_view name);
    // Gives an unlinked entry back.
    void release(std::uint32_t id);
    // Drops pages at the end that hold no entry.
    void trim();

    PagedChain& table() noexcept { return pages; }
    bool isChanged() const noexcept { return pages.isChanged(); }
    // A structure that was left half changed by exhausted memory: nothing of it may be committed.
    bool isTorn() const noexcept { return torn; }

private:
    // More than a balanced tree of all entries that a file can have needs; a deeper one is slower than a sorted list.
    static constexpr unsigned deepestWalk = 64;
    struct Tree
    {
        bool sound = true;               // else `list` serves
        std::vector<std::uint32_t> list; // in name order; of a sound tree only from when it was listed until it changes
        std::size_t next = 0;            // of the list, for a client that goes through it
    };
    class Change;

    bool iClaim(std::uint32_t storage, std::uint32_t id);
    Tree& iTree(std::uint32_t storage);
    std::optional<std::uint32_t> iFindNext(Tree& tree, std::u16string_view name);
    std::optional<std::uint32_t> iFindInTree(std::uint32_t storage, std::u16string_view name);
    std::vector<std::uint32_t> iWalk(std::uint32_t storage, bool& sound);
    std::uint32_t iTakeFree();
    void iMakeSound(std::uint32_t storage);
    void iRebuild(std::uint32_t storage, const std::vector<std::uint32_t>& sorted);
    bool iUnlinkBalanced(std::uint32_t storage, std::uint32_t id);
    bool iIsRed(std::uint32_t id);
    std::uint32_t iRotate(std::uint32_t top, bool leftComesUp);
    void iSetChild(std::uint32_t storage, const std::vector<std::uint32_t>& path, std::size_t depth, std::uint32_t from, std::uint32_t to);
    std::uint32_t iBalanced(const std::vector<std::uint32_t>& sorted, std::size_t from, std::size_t to, unsigned level, unsigned redLevel);

    PagedChain pages;
    bool wide = false;
    std::unordered_map<std::uint32_t, Tree> trees;           // of storages whose whole tree was looked through
    std::unordered_map<std::uint32_t, std::uint32_t> owners; // element, storage
    std::optional<std::set<std::uint32_t>> freeEntries;      // once a new one was asked for
    bool torn = false;
};

} // namespace kvdm
