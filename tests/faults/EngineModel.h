// Random operations on a compound file beside the same operations on a plain tree in memory. The bytes that decide what is done
// come from outside, so that a test can use random numbers and a fuzzer its input.
#pragma once

#include "platform/compoundfile/checker.h"
#include "support/StorageTools.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvdm::test {
namespace model {

struct CaseBlind
{
    bool operator()(const std::u16string& a, const std::u16string& b) const
    {
        const auto fold = [](char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; };
        return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [&](char16_t x, char16_t y) { return fold(x) < fold(y); });
    }
};

struct Plain
{
    bool isStorage = true;
    Bytes bytes;
    DWORD stateBits = 0;
    std::map<std::u16string, Plain, CaseBlind> children;
};

inline void list(const Plain& node, const std::u16string& prefix, Tree& out)
{
    for (const auto& [name, child] : node.children) {
        if (child.isStorage) {
            out[prefix + name + u"/"] = {};
            list(child, prefix + name + u"/", out);
        } else
            out[prefix + name] = child.bytes;
    }
}

struct Failure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

inline void expect(bool good, const std::string& what)
{
    if (!good)
        throw Failure(what);
}

inline void expectStatus(HRESULT found, HRESULT wanted, const char* what)
{
    if (found != wanted)
        throw Failure(std::string(what) + ": status " + std::to_string(static_cast<std::uint32_t>(found)) + " instead of " +
                      std::to_string(static_cast<std::uint32_t>(wanted)));
}

class Model
{
public:
    Model(std::span<const std::uint8_t> given, unsigned version) : choices(given)
    {
        CompoundFileBuilder builder(version);
        array = lockBytesOf(builder.build());
        iOpen();
    }

    void run()
    {
        while (at < choices.size())
            iStep();
        iCompare();
        iCommit();
        iReopen();
    }

private:
    std::uint8_t iByte() { return at < choices.size() ? choices[at++] : 0; }

    std::u16string iName()
    {
        static constexpr const char16_t* stems[] = {u"a", u"B", u"node", u"Node", u"\u0005Info", u"a name of twenty-six uni"};
        const std::uint8_t choice = iByte();
        std::u16string name = stems[choice % 6];
        if (const unsigned number = choice / 6; number > 8)
            name += static_cast<char16_t>(u'0' + number % 10);
        if (choice > 200)
            name += static_cast<char16_t>(0x4E00 + iByte() % 40);
        return name;
    }

    std::size_t iSize()
    {
        static constexpr std::array<std::size_t, 20> sizes{0,    1,    63,   64,   65,   511,  512,  513,   1000,  2000,
                                                           4000, 4095, 4096, 4097, 5000, 8192, 9000, 20000, 70000, 300000};
        const std::uint8_t choice = iByte();
        return sizes[choice % sizes.size()] + (choice >= 200 ? choice : 0);
    }

    void iOpen() { expectStatus(StgOpenStorageOnILockBytes(array.get(), nullptr, 0x10022, nullptr, 0, root.put()), S_OK, "open"); }

    void iCompare()
    {
        Tree plain;
        list(working, u"", plain);
        held.reset();
        const std::string difference = differences(readTree(*root), plain);
        expect(difference.empty(), difference);
    }

    void iCheck()
    {
        const std::vector<std::string> faults = checkCompoundFile(*array);
        expect(faults.empty(), faults.empty() ? "" : "checker: " + faults.front());
    }

    void iCommit()
    {
        expectStatus(root->Commit(iByte() % 2 != 0 ? STGC_ONLYIFCURRENT : STGC_DEFAULT), S_OK, "commit");
        committed = working;
        isNew = false;
        iCheck();
    }

    void iReopen()
    {
        held.reset();
        root.reset();
        iOpen();
        working = committed;
        isNew = false;
        iCheck();
        iCompare();
    }

    // A new file over the one that is there, which stays until the commit.
    void iReplace()
    {
        held.reset();
        root.reset();
        expectStatus(StgCreateDocfileOnILockBytes(array.get(), 0x11022, 0, root.put()), S_OK, "create over a file");
        working = Plain();
        isNew = true;
        iCheck();
    }

    // Any one of the children, when there is one of the kind.
    const std::u16string* iPick(const Plain& node, bool storages, bool streams)
    {
        std::vector<const std::u16string*> fit;
        for (const auto& [name, child] : node.children) {
            if (child.isStorage ? storages : streams)
                fit.push_back(&name);
        }
        const std::uint8_t choice = iByte();
        return fit.empty() ? nullptr : fit[choice % fit.size()];
    }

    void iStep()
    {
        const std::uint8_t choice = iByte() % 32;
        if (choice == 0)
            return iCommit();
        if (choice == 1) {
            expectStatus(root->Revert(), S_OK, "revert");
            if (held) {
                ULONG read = 0;
                expectStatus(held->Read(&read, 1, &read), STG_E_REVERTED, "a stream open over a revert");
                held.reset();
            }
            working = isNew ? Plain() : committed;
            return;
        }
        if (choice == 2)
            return iByte() % 8 == 0 ? iReplace() : iReopen();
        if (choice == 3)
            return iCompare();
        if (choice == 4)
            return iHold();
        if (choice == 5 && held)
            return iWrite(*held, working.children.at(heldName));
        iInside(*root, working, 0);
    }

    // One operation in a storage or somewhere below it.
    void iInside(IStorage& storage, Plain& node, int depth)
    {
        const std::uint8_t choice = iByte();
        if (depth < 4 && choice % 4 == 0) {
            if (const std::u16string* name = iPick(node, true, false)) {
                const bool nested = choice % 32 == 0;
                ComPtr<IStorage> child;
                const std::u16string chosen = *name;
                expectStatus(storage.OpenStorage(chosen.c_str(), nullptr, writeElement | (nested ? STGM_TRANSACTED : 0), nullptr, 0, child.put()),
                             S_OK, "open a storage");
                Plain& inner = node.children.at(chosen);
                if (!nested)
                    return iInside(*child, inner, depth + 1);
                const Plain before = inner;
                Plain kept = before;
                for (int count = iByte() % 8; count >= 0; --count) {
                    iInside(*child, inner, depth + 1);
                    if (const std::uint8_t end = iByte() % 8; end == 0) {
                        expectStatus(child->Commit(STGC_ONLYIFCURRENT), S_OK, "commit a nested transaction");
                        kept = inner;
                    } else if (end == 1) {
                        expectStatus(child->Revert(), S_OK, "revert a nested transaction");
                        inner = kept;
                    }
                }
                inner = kept; // what was not committed goes with the object
                return;
            }
        }
        iOperation(storage, node, iByte() % 10);
    }

    void iOperation(IStorage& storage, Plain& node, unsigned kind)
    {
        const bool atRoot = &node == &working;
        if (atRoot)
            held.reset(); // one stream is held, and its name may be met below
        switch (kind) {
        case 0:
        case 1:
        case 2:
            return iCreateStream(storage, node);
        case 3:
            return iCreateStorage(storage, node);
        case 4:
            return iRename(storage, node);
        case 5: {
            const std::u16string name = iName();
            const bool there = node.children.erase(name) != 0;
            return expectStatus(storage.DestroyElement(name.c_str()), there ? S_OK : STG_E_FILENOTFOUND, "destroy");
        }
        case 6:
            return iMove(storage, node);
        case 7: {
            node.stateBits = iByte();
            return expectStatus(storage.SetStateBits(node.stateBits, 0xFF), S_OK, "state bits");
        }
        default:
            if (const std::u16string* name = iPick(node, false, true)) {
                ComPtr<IStream> stream;
                expectStatus(storage.OpenStream(name->c_str(), nullptr, writeElement, 0, stream.put()), S_OK, "open a stream");
                iWrite(*stream, node.children.at(*name));
            }
        }
    }

    void iCreateStream(IStorage& storage, Plain& node)
    {
        const std::u16string name = iName();
        const bool replace = iByte() % 2 == 0;
        const bool there = node.children.contains(name);
        ComPtr<IStream> stream;
        expectStatus(storage.CreateStream(name.c_str(), writeElement | (replace ? STGM_CREATE : 0), 0, 0, stream.put()),
                     there && !replace ? STG_E_FILEALREADYEXISTS : S_OK, "create a stream");
        if (there && !replace)
            return;
        node.children.erase(name);
        Plain& made = node.children[name];
        made.isStorage = false;
        iWrite(*stream, made);
    }

    void iCreateStorage(IStorage& storage, Plain& node)
    {
        const std::u16string name = iName();
        const bool there = node.children.contains(name);
        ComPtr<IStorage> child;
        expectStatus(storage.CreateStorage(name.c_str(), writeElement, 0, 0, child.put()), there ? STG_E_FILEALREADYEXISTS : S_OK,
                     "create a storage");
        node.children[name];
    }

    void iRename(IStorage& storage, Plain& node)
    {
        const std::u16string from = iName(), to = iName();
        const auto entry = node.children.find(from);
        const auto goal = node.children.find(to);
        const HRESULT wanted = entry == node.children.end()                   ? STG_E_FILENOTFOUND
                               : goal != node.children.end() && goal != entry ? STG_E_FILEALREADYEXISTS
                                                                              : S_OK;
        expectStatus(storage.RenameElement(from.c_str(), to.c_str()), wanted, "rename");
        if (wanted != S_OK)
            return;
        Plain moved = std::move(entry->second);
        node.children.erase(entry);
        node.children.emplace(to, std::move(moved));
    }

    // To a storage beside it, or as a copy under another name.
    void iMove(IStorage& storage, Plain& node)
    {
        const std::u16string* picked = iPick(node, true, true);
        const std::u16string* into = iPick(node, true, false);
        const bool copies = iByte() % 2 == 0;
        const std::u16string goal = iName();
        if (!picked || !into || *picked == *into)
            return;
        const std::u16string name = *picked;
        ComPtr<IStorage> target;
        expectStatus(storage.OpenStorage(into->c_str(), nullptr, writeElement, nullptr, 0, target.put()), S_OK, "open a target");
        Plain& place = node.children.at(*into);
        if (node.children.at(name).isStorage && iByte() % 4 == 0) {
            ComPtr<IStorage> source;
            expectStatus(storage.OpenStorage(name.c_str(), nullptr, readElement, nullptr, 0, source.put()), S_OK, "open a source");
            return iMerge(*source, node.children.at(name), *target, place);
        }
        const bool there = place.children.contains(goal);
        expectStatus(storage.MoveElementTo(name.c_str(), target.get(), goal.c_str(), copies ? STGMOVE_COPY : STGMOVE_MOVE),
                     there ? STG_E_FILEALREADYEXISTS : S_OK, "move");
        if (there)
            return;
        place.children[goal] = node.children.at(name);
        if (!copies)
            node.children.erase(name);
    }

    void iMerge(IStorage& source, const Plain& from, IStorage& target, Plain& to)
    {
        expectStatus(source.CopyTo(0, nullptr, nullptr, &target), S_OK, "copy a storage");
        const auto merge = [](const auto& self, const Plain& a, Plain& b) -> void {
            b.stateBits = a.stateBits;
            for (const auto& [name, child] : a.children) {
                const auto place = b.children.find(name);
                if (place != b.children.end() && child.isStorage && place->second.isStorage) {
                    self(self, child, place->second);
                    continue;
                }
                b.children.erase(name); // the case of the name is the copy's
                b.children.emplace(name, child);
            }
        };
        merge(merge, from, to);
    }

    // Holds a stream of the root open over other operations.
    void iHold()
    {
        held.reset();
        if (const std::u16string* name = iPick(working, false, true)) {
            heldName = *name;
            expectStatus(root->OpenStream(heldName.c_str(), nullptr, writeElement, 0, held.put()), S_OK, "hold a stream");
        }
    }

    void iWrite(IStream& stream, Plain& node)
    {
        for (int count = 1 + iByte() % 3; count > 0; --count) {
            const std::size_t size = iSize();
            if (iByte() % 4 == 0) {
                expectStatus(stream.SetSize(wide(size)), S_OK, "resize");
                node.bytes.resize(size);
                continue;
            }
            const std::size_t position =
                node.bytes.empty() ? 0 : std::min<std::size_t>(node.bytes.size() + iByte() % 2 * 700, iByte() * node.bytes.size() / 200);
            const Bytes content = patternBytes(size, ++seed);
            ULONG written = 0;
            expectStatus(stream.Seek(distance(static_cast<std::int64_t>(position)), STREAM_SEEK_SET, nullptr), S_OK, "seek");
            expectStatus(stream.Write(content.data(), static_cast<ULONG>(size), &written), S_OK, "write");
            expect(written == size, "write: short");
            if (size == 0)
                continue;
            node.bytes.resize(std::max(node.bytes.size(), position + size));
            std::copy(content.begin(), content.end(), node.bytes.begin() + static_cast<std::ptrdiff_t>(position));
        }
        const std::optional<Bytes> found = readAll(stream);
        expect(found && *found == node.bytes, "a stream does not read as it was written");
    }

    std::span<const std::uint8_t> choices;
    std::size_t at = 0;
    std::uint32_t seed = 0;
    ComPtr<ILockBytes> array;
    ComPtr<IStorage> root;
    ComPtr<IStream> held;
    std::u16string heldName;
    Plain working, committed;
    bool isNew = false; // made over another file and not committed yet
};

} // namespace model

// Creates, writes, resizes, renames, destroys, moves, copies, opens nested transactions, commits, reverts, opens anew and makes
// a new file over the old one, in a file of version 3 or 4. Gives what went wrong, in words; empty when the file was at all times what the plain tree
// is, every committed state passed the structural checker, and every status was the right one.
inline std::string runEngineModel(std::span<const std::uint8_t> choices, unsigned version)
{
    try {
        model::Model(choices, version).run();
        return {};
    } catch (const model::Failure& failure) {
        return failure.what();
    }
}

} // namespace kvdm::test
