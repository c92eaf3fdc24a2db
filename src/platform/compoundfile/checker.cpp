#include "platform/compoundfile/checker.h"

#include "platform/compoundfile/names.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <utility>

namespace kvdm {
namespace {

constexpr std::size_t mostFaults = 1000; // of a file that is not worth more
constexpr std::uint32_t lastNumber = 0xFFFFFFFA;

struct ReadFailure : std::runtime_error
{
    using std::runtime_error::runtime_error;
};

enum class Use : std::uint8_t
{
    none,
    table,
    index,
    directory,
    miniTable,
    miniStream,
    stream,
    lock
};

class Checker
{
public:
    explicit Checker(ILockBytes& array) : bytes(array) {}

    std::vector<std::string> run();

private:
    void iHeader();
    void iIndex();
    void iTable();
    void iDirectory();
    void iMiniTable();
    void iEntries();
    void iTree(std::uint32_t storage, std::vector<std::uint32_t>& storages);
    void iEntry(std::uint32_t id);
    void iStreams();
    void iUnused();

    void iFault(const std::string& text);
    std::vector<std::uint8_t> iRead(std::uint64_t offset, std::size_t count);
    std::vector<std::uint8_t> iSector(std::uint32_t sector) { return iRead((std::uint64_t{sector} + 1) * sectorBytes, sectorBytes); }
    std::vector<std::uint32_t> iChain(std::uint32_t start, Use use, const std::string& what, std::uint64_t expected);
    EntryView iView(std::uint32_t id) const { return EntryView(directory.data() + std::size_t{id} * 128); }
    std::uint32_t iEntryCount() const { return static_cast<std::uint32_t>(directory.size() / 128); }
    std::string iName(std::uint32_t id) const;

    ILockBytes& bytes;
    std::vector<std::string> faults;
    std::uint64_t size = 0;
    std::uint32_t sectorBytes = 512;
    std::uint32_t sectors = 0; // that the file has
    bool wide = false;
    std::vector<std::uint8_t> header;
    std::vector<std::uint32_t> tablePlaces, fat, miniFat;
    std::vector<Use> uses;
    std::vector<bool> miniUsed;
    std::vector<std::uint8_t> directory;
    std::vector<bool> reached; // entries
};

std::string number(std::uint64_t value)
{
    return std::to_string(value);
}

void Checker::iFault(const std::string& text)
{
    if (faults.size() < mostFaults)
        faults.push_back(text);
}

std::vector<std::uint8_t> Checker::iRead(std::uint64_t offset, std::size_t count)
{
    std::vector<std::uint8_t> result(count);
    std::size_t done = 0;
    while (done < count && offset + done < size) {
        ULARGE_INTEGER at;
        at.QuadPart = offset + done;
        ULONG got = 0;
        const auto wanted = static_cast<ULONG>(std::min<std::uint64_t>(count - done, size - offset - done));
        const HRESULT status = bytes.ReadAt(at, result.data() + done, wanted, &got);
        if (FAILED(status) || got == 0 || got > wanted)
            throw ReadFailure("cannot be read at offset " + number(offset + done));
        done += got;
    }
    return result;
}

std::string Checker::iName(std::uint32_t id) const
{
    std::string text = "entry " + number(id) + " (";
    for (const char16_t unit : iView(id).name())
        text += unit >= 0x20 && unit < 0x7F ? std::string(1, static_cast<char>(unit)) : "\\u" + number(unit);
    return text + ")";
}

void Checker::iHeader()
{
    header = iRead(0, 512);
    const std::uint8_t* at = header.data();
    if (size < 512 || !hasSignature(header))
        throw ReadFailure("is not a compound file");
    const std::uint16_t major = readLe16(at + 26), shift = readLe16(at + 30);
    if (readLe16(at + 28) != 0xFFFE)
        iFault("header: the byte order mark is wrong");
    if (!(major == 3 && shift == 9) && !(major == 4 && shift == 12))
        iFault("header: version " + number(major) + " with sectors of 2^" + number(shift) + " bytes");
    if (shift != 9 && shift != 12)
        throw ReadFailure("has a sector size that no version has");
    if (readLe16(at + 24) != 0x3E && readLe16(at + 24) != 0x3B)
        iFault("header: the minor version is " + number(readLe16(at + 24)));
    if (readLe16(at + 32) != 6)
        iFault("header: the mini sector shift is " + number(readLe16(at + 32)));
    if (std::any_of(at + 8, at + 24, [](std::uint8_t b) { return b != 0; }) || std::any_of(at + 34, at + 40, [](std::uint8_t b) { return b != 0; }))
        iFault("header: reserved bytes are not zero");
    if (readLe32(at + 56) != 4096)
        iFault("header: the mini stream cutoff is " + number(readLe32(at + 56)));
    wide = major >= 4;
    sectorBytes = 1u << shift;
    sectors = static_cast<std::uint32_t>(std::min<std::uint64_t>(size <= sectorBytes ? 0 : (size - 1) / sectorBytes, lastNumber));
    uses.assign(sectors, Use::none);
    if (!wide && readLe32(at + 40) != 0)
        iFault("header: version 3 counts no directory sectors");
    if (sectorBytes > 512) {
        const std::vector<std::uint8_t> rest = iRead(512, sectorBytes - 512);
        if (std::any_of(rest.begin(), rest.end(), [](std::uint8_t b) { return b != 0; }))
            iFault("header: the rest of its sector is not zero");
    }
}

// The index: slots of the header, then sectors that lead to each other.
void Checker::iIndex()
{
    bool ended = false;
    std::uint32_t indexSectors = 0;
    const auto slot = [&](std::uint32_t place) {
        if (place == freeSector) {
            ended = true;
            return;
        }
        if (ended)
            iFault("index: a table sector behind a free slot");
        if (place >= sectors)
            return iFault("index: table sector " + number(tablePlaces.size()) + " lies at " + number(place) + ", behind the end of the file");
        if (uses[place] != Use::none)
            return iFault("index: sector " + number(place) + " is named twice");
        uses[place] = Use::table;
        tablePlaces.push_back(place);
    };
    for (std::uint32_t i = 0; i < 109; ++i)
        slot(readLe32(header.data() + 76 + 4 * i));
    std::uint32_t next = readLe32(header.data() + 68);
    while (next != endOfChain) {
        if (next >= sectors || uses[next] != Use::none) {
            iFault("index: sector " + number(next) + " is not there or used already");
            break;
        }
        uses[next] = Use::index;
        ++indexSectors;
        const std::vector<std::uint8_t> sector = iSector(next);
        for (std::uint32_t i = 0; i + 1 < sectorBytes / 4; ++i)
            slot(readLe32(sector.data() + 4 * i));
        next = readLe32(sector.data() + sectorBytes - 4);
    }
    if (readLe32(header.data() + 72) != indexSectors)
        iFault("header: " + number(readLe32(header.data() + 72)) + " index sectors told, " + number(indexSectors) + " found");
    if (readLe32(header.data() + 44) != tablePlaces.size())
        iFault("header: " + number(readLe32(header.data() + 44)) + " table sectors told, " + number(tablePlaces.size()) + " found");
}

void Checker::iTable()
{
    for (const std::uint32_t place : tablePlaces) {
        const std::vector<std::uint8_t> sector = iSector(place);
        for (std::uint32_t i = 0; i < sectorBytes / 4; ++i)
            fat.push_back(readLe32(sector.data() + 4 * i));
    }
    for (std::size_t i = sectors; i < fat.size(); ++i) {
        if (fat[i] != freeSector) {
            iFault("table: sector " + number(i) + " behind the end of the file is not free");
            break;
        }
    }
    fat.resize(sectors, freeSector);
    const std::uint64_t lock = lockRegionOffset / sectorBytes - 1;
    if (lock < sectors) {
        uses[lock] = Use::lock;
        if (fat[lock] != endOfChain)
            iFault("table: the sector of the lock region is not kept out of use");
    }
    for (std::uint32_t i = 0; i < sectors; ++i) {
        if ((fat[i] == fatSectorMark) != (uses[i] == Use::table))
            iFault("table: sector " + number(i) +
                   (uses[i] == Use::table ? " is a table sector but not marked as one" : " is marked as a table sector"));
        if ((fat[i] == difatSectorMark) != (uses[i] == Use::index))
            iFault("table: sector " + number(i) +
                   (uses[i] == Use::index ? " is an index sector but not marked as one" : " is marked as an index sector"));
    }
}

// Follows a chain and marks its sectors. `expected`: how many it must have; ~0 when that is not known.
std::vector<std::uint32_t> Checker::iChain(std::uint32_t start, Use use, const std::string& what, std::uint64_t expected)
{
    std::vector<std::uint32_t> chain;
    std::uint32_t at = start;
    while (at != endOfChain) {
        if (at >= sectors) {
            iFault(what + ": the chain leads to sector " + number(at) + ", which is not there");
            break;
        }
        if (uses[at] != Use::none) {
            iFault(what + ": sector " + number(at) + " of the chain belongs to something else as well");
            break;
        }
        uses[at] = use;
        chain.push_back(at);
        at = fat[at];
    }
    if (expected != ~std::uint64_t{0} && chain.size() != expected)
        iFault(what + ": " + number(chain.size()) + " sectors in the chain, " + number(expected) + " needed");
    return chain;
}

void Checker::iDirectory()
{
    const std::vector<std::uint32_t> chain = iChain(readLe32(header.data() + 48), Use::directory, "directory", ~std::uint64_t{0});
    if (wide && readLe32(header.data() + 40) != chain.size())
        iFault("header: " + number(readLe32(header.data() + 40)) + " directory sectors told, " + number(chain.size()) + " found");
    for (const std::uint32_t sector : chain) {
        const std::vector<std::uint8_t> content = iSector(sector);
        directory.insert(directory.end(), content.begin(), content.end());
    }
    if (directory.empty())
        throw ReadFailure("has no directory");
    reached.assign(iEntryCount(), false);
}

void Checker::iMiniTable()
{
    const std::uint32_t told = readLe32(header.data() + 64);
    const std::vector<std::uint32_t> chain = iChain(readLe32(header.data() + 60), Use::miniTable, "mini table", told);
    for (const std::uint32_t sector : chain) {
        const std::vector<std::uint8_t> content = iSector(sector);
        for (std::uint32_t i = 0; i < sectorBytes / 4; ++i)
            miniFat.push_back(readLe32(content.data() + 4 * i));
    }
    const EntryView root = iView(0);
    const std::uint64_t bytesOfStream = root.size(wide);
    iChain(bytesOfStream == 0 ? endOfChain : root.start(), Use::miniStream, "mini stream", (bytesOfStream + sectorBytes - 1) / sectorBytes);
    const std::uint64_t count = (bytesOfStream + 63) / 64;
    if (bytesOfStream % 64 != 0)
        iFault("mini stream: its size is no multiple of 64");
    if (count > miniFat.size())
        iFault("mini table: it does not reach the end of the mini stream");
    for (std::size_t i = static_cast<std::size_t>(count); i < miniFat.size(); ++i) {
        if (miniFat[i] != freeSector) {
            iFault("mini table: sector " + number(i) + " behind the end of the mini stream is not free");
            break;
        }
    }
    miniFat.resize(static_cast<std::size_t>(std::min<std::uint64_t>(count, miniFat.size())), freeSector);
    miniUsed.assign(miniFat.size(), false);
}

// The tree below one storage, without recursion: in order, no entry twice, no red one below a red one.
void Checker::iTree(std::uint32_t storage, std::vector<std::uint32_t>& storages)
{
    struct Step
    {
        std::uint32_t id;
        bool parentRed;
    };
    std::vector<Step> stack;
    std::u16string before;
    bool first = true;
    const auto usable = [&](std::uint32_t id) {
        if (id == noEntry)
            return false;
        if (id >= iEntryCount() || !iView(id).isElement()) {
            iFault(iName(storage) + ": its tree leads to entry " + number(id) + ", which is no element");
            return false;
        }
        if (reached[id]) {
            iFault(iName(id) + ": more than one link leads to it");
            return false;
        }
        reached[id] = true;
        if (iView(id).type() == EntryType::storage)
            storages.push_back(id);
        return true;
    };
    const std::uint32_t top = iView(storage).child();
    Step next{top, false};
    if (top < iEntryCount() && !iView(top).isBlack())
        iFault(iName(storage) + ": the top of its tree is red");
    for (;;) {
        while (usable(next.id)) {
            const EntryView node = iView(next.id);
            if (next.parentRed && !node.isBlack())
                iFault(iName(next.id) + ": a red entry below a red one");
            stack.push_back(next);
            next = {node.left(), !node.isBlack()};
        }
        if (stack.empty())
            break;
        const Step step = stack.back();
        stack.pop_back();
        const std::u16string name = iView(step.id).name();
        if (!first && compareNames(before, name) >= 0)
            iFault(iName(step.id) + ": it is not behind the entry before it in name order");
        first = false;
        before = name;
        next = {iView(step.id).right(), !iView(step.id).isBlack()};
    }
}

void Checker::iEntry(std::uint32_t id)
{
    const std::uint8_t* entry = directory.data() + std::size_t{id} * 128;
    const EntryView view(entry);
    const std::string name = iName(id);
    const std::uint32_t units = readLe16(entry + 64);
    if (units < 4 || units > 64 || units % 2 != 0 || view.nameUnits() != units / 2 - 1 || readLe16(entry + units - 2) != 0)
        iFault(name + ": its name and the length of it do not agree");
    if (view.name().find_first_of(u"/\\:!") != std::u16string::npos)
        iFault(name + ": its name holds a separator");
    if (entry[67] > 1)
        iFault(name + ": its colour is none");
    const bool isZero = std::all_of(entry + 100, entry + 116, [](std::uint8_t b) { return b == 0; });
    if (view.type() == EntryType::stream) {
        if (view.child() != noEntry)
            iFault(name + ": a stream has children");
        if (view.clsid() != CLSID_NULL || !isZero)
            iFault(name + ": a stream bears a class or times");
    } else if (view.type() == EntryType::storage && (view.start() != 0 || readLe64(entry + 120) != 0))
        iFault(name + ": a storage tells of bytes");
}

void Checker::iEntries()
{
    const EntryView root = iView(0);
    if (root.type() != EntryType::root)
        iFault("entry 0 is not the root");
    if (root.name() != u"Root Entry")
        iFault("the root is not called Root Entry");
    if (root.left() != noEntry || root.right() != noEntry)
        iFault("the root has siblings");
    if (readLe64(directory.data() + 100) != 0)
        iFault("the root bears a time of creation");
    reached[0] = true;
    std::vector<std::uint32_t> storages{0};
    for (std::size_t i = 0; i < storages.size(); ++i)
        iTree(storages[i], storages);
    for (std::uint32_t id = 0; id < iEntryCount(); ++id) {
        const std::uint8_t* entry = directory.data() + std::size_t{id} * 128;
        if (iView(id).type() != EntryType::unused) {
            iEntry(id);
            if (!reached[id])
                iFault(iName(id) + ": no storage leads to it");
            continue;
        }
        const bool clear = std::all_of(entry, entry + 68, [](std::uint8_t b) { return b == 0; }) &&
                           std::all_of(entry + 68, entry + 80, [](std::uint8_t b) { return b == 0xFF; }) &&
                           std::all_of(entry + 80, entry + 128, [](std::uint8_t b) { return b == 0; });
        if (!clear)
            iFault("entry " + number(id) + " is unused but not empty");
    }
}

void Checker::iStreams()
{
    for (std::uint32_t id = 1; id < iEntryCount(); ++id) {
        if (iView(id).type() != EntryType::stream)
            continue;
        const std::uint64_t bytesOfStream = iView(id).size(wide);
        const std::uint32_t start = iView(id).start();
        if (!wide && readLe64(directory.data() + std::size_t{id} * 128 + 120) > 0x80000000u)
            iFault(iName(id) + ": it is larger than version 3 allows");
        if (bytesOfStream >= 4096) {
            iChain(start, Use::stream, iName(id), (bytesOfStream + sectorBytes - 1) / sectorBytes);
            continue;
        }
        std::uint64_t found = 0;
        for (std::uint32_t at = bytesOfStream == 0 ? endOfChain : start; at != endOfChain; at = miniFat[at], ++found) {
            if (at >= miniFat.size() || miniUsed[at]) {
                iFault(iName(id) + ": mini sector " + number(at) + " is not there or used already");
                break;
            }
            miniUsed[at] = true;
        }
        if (found != (bytesOfStream + 63) / 64)
            iFault(iName(id) + ": " + number(found) + " mini sectors in the chain, " + number((bytesOfStream + 63) / 64) + " needed");
    }
}

void Checker::iUnused()
{
    // Behind the last sector that is used, a file may end anywhere: a save that was cut off leaves such ends.
    if (size % sectorBytes != 0 && sectors != 0 && uses[sectors - 1] != Use::none)
        iFault("the file ends inside a sector that is used");
    for (std::uint32_t i = 0; i < sectors; ++i) {
        if (uses[i] == Use::none && fat[i] != freeSector)
            iFault("sector " + number(i) + " is marked as used, but nothing uses it");
        if (uses[i] != Use::none && fat[i] == freeSector)
            iFault("sector " + number(i) + " is used, but marked as free");
    }
    for (std::size_t i = 0; i < miniFat.size(); ++i) {
        if (!miniUsed[i] && miniFat[i] != freeSector)
            iFault("mini sector " + number(i) + " is marked as used, but nothing uses it");
    }
}

std::vector<std::string> Checker::run()
{
    try {
        STATSTG statistics{};
        if (FAILED(bytes.Stat(&statistics, STATFLAG_NONAME)))
            throw ReadFailure("does not tell its size");
        size = statistics.cbSize.QuadPart;
        iHeader();
        iIndex();
        iTable();
        iDirectory();
        iMiniTable();
        iEntries();
        iStreams();
        iUnused();
    } catch (const ReadFailure& failure) {
        faults.push_back(std::string("the file ") + failure.what());
    }
    return std::move(faults);
}

} // namespace

std::vector<std::string> checkCompoundFile(ILockBytes& bytes)
{
    return Checker(bytes).run();
}

} // namespace kvdm
