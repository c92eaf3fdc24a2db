#include "support/CompoundFileBuilder.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>

namespace kvdm::test {
namespace {

constexpr std::uint32_t freeSector = 0xFFFFFFFF;
constexpr std::uint32_t endOfChain = 0xFFFFFFFE;
constexpr std::uint32_t fatSector = 0xFFFFFFFD;
constexpr std::uint32_t difatSector = 0xFFFFFFFC;
constexpr std::uint32_t noEntry = 0xFFFFFFFF;
constexpr std::uint64_t lockByte = 0x7FFFFF00;

// Upper case of the scripts that tests use: enough for names, not a table of Unicode.
char16_t upper(char16_t c)
{
    if ((c >= u'a' && c <= u'z') || (c >= 0xE0 && c <= 0xFE && c != 0xF7) || (c >= 0x3B1 && c <= 0x3C9 && c != 0x3C2) || (c >= 0x430 && c <= 0x44F))
        return static_cast<char16_t>(c - 32);
    if (c == 0xFF)
        return 0x178;
    if (c >= 0x450 && c <= 0x45F)
        return static_cast<char16_t>(c - 80);
    if ((c >= 0x100 && c <= 0x137 && c != 0x131) || (c >= 0x14A && c <= 0x177))
        return static_cast<char16_t>(c & ~1);
    return c;
}

bool nameBefore(const std::u16string& left, const std::u16string& right)
{
    if (left.size() != right.size())
        return left.size() < right.size();
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](char16_t a, char16_t b) { return upper(a) < upper(b); });
}

struct Entry
{
    const BuilderNode* node = nullptr;
    std::uint32_t left = noEntry, right = noEntry, child = noEntry;
    bool black = true;
    std::uint32_t start = endOfChain;
    std::uint64_t size = 0;
    bool mini = false;
};

// A piece of the file: sectors that one chain holds, and where their bytes come from.
struct Chain
{
    std::vector<std::uint32_t> sectors;
    std::uint64_t size = 0;
    std::function<void(std::uint64_t offset, std::uint8_t* out, std::size_t count)> read; // none: zeros
    bool isHole = false;
};

using Sink = std::function<void(std::uint64_t offset, const std::uint8_t* bytes, std::size_t count)>;

class Layout
{
public:
    Layout(const BuilderNode& root, const CompoundFileBuilder::Options& options);

    void emit(const Sink& sink, std::uint64_t& fileSize) const;
    std::vector<Entry> entries;

private:
    void iAddChildren(std::uint32_t parent);
    std::uint32_t iBalanced(const std::vector<std::uint32_t>& sorted, std::size_t from, std::size_t to, unsigned level, unsigned redLevel);
    void iPlaceMini();
    void iPlaceSectors();
    std::uint32_t iTake(std::uint32_t mark);
    void iTakeAll(std::vector<Chain*> chains, bool inTurn);
    void iLink(Chain& chain);
    Bytes iDirectoryBytes() const;
    Bytes iHeader() const;
    std::uint64_t iSectorCount(std::uint64_t bytes) const { return (bytes + sectorSize - 1) / sectorSize; }

    const CompoundFileBuilder::Options& options;
    std::uint32_t sectorSize;
    std::uint32_t lockSector; // none of a chain's, when the file reaches it
    std::vector<std::uint32_t> fat, miniFat, fatPlaces, difatPlaces;
    std::uint64_t fatSectorCount = 0;
    Bytes miniStream, directoryBytes;
    Chain directory, miniFatChain, miniStreamChain;
    std::vector<std::pair<std::uint32_t, Chain>> streams; // entry, chain
};

Layout::Layout(const BuilderNode& root, const CompoundFileBuilder::Options& chosen)
    : options(chosen), sectorSize(chosen.version == 4 ? 4096 : 512), lockSector(static_cast<std::uint32_t>(lockByte / sectorSize - 1))
{
    entries.push_back({.node = &root});
    iAddChildren(0);
    iPlaceMini();
    iPlaceSectors();
}

void Layout::iAddChildren(std::uint32_t parent)
{
    std::vector<std::uint32_t> children;
    for (const BuilderNode& child : entries[parent].node->children) {
        children.push_back(static_cast<std::uint32_t>(entries.size()));
        entries.push_back({.node = &child, .size = child.isStorage ? 0 : child.size()});
    }
    for (std::uint32_t child : children) {
        if (entries[child].node->isStorage)
            iAddChildren(child);
    }
    std::sort(children.begin(), children.end(), [&](auto a, auto b) { return nameBefore(entries[a].node->name, entries[b].node->name); });
    if (options.treeAsChain) {
        for (std::size_t i = 0; i + 1 < children.size(); ++i)
            entries[children[i]].right = children[i + 1];
        entries[parent].child = children.empty() ? noEntry : children[0];
        return;
    }
    unsigned full = 0; // levels that are full; the nodes below them are red, all others black
    while ((std::size_t{2} << full) - 1 <= children.size())
        ++full;
    entries[parent].child = iBalanced(children, 0, children.size(), 0, full + 1);
}

std::uint32_t Layout::iBalanced(const std::vector<std::uint32_t>& sorted, std::size_t from, std::size_t to, unsigned level, unsigned redLevel)
{
    if (from == to)
        return noEntry;
    const std::size_t middle = from + (to - from) / 2;
    Entry& entry = entries[sorted[middle]];
    entry.black = level == 0 || level + 1 != redLevel;
    entry.left = iBalanced(sorted, from, middle, level + 1, redLevel);
    entry.right = iBalanced(sorted, middle + 1, to, level + 1, redLevel);
    return sorted[middle];
}

void Layout::iPlaceMini()
{
    for (Entry& entry : entries) {
        if (entry.node->isStorage || entry.size == 0 || entry.size >= 4096)
            continue;
        entry.mini = true;
        entry.start = static_cast<std::uint32_t>(miniFat.size());
        const std::size_t count = (entry.size + 63) / 64;
        for (std::size_t i = 0; i < count; ++i)
            miniFat.push_back(i + 1 == count ? endOfChain : static_cast<std::uint32_t>(miniFat.size() + 1));
        const std::size_t at = miniStream.size();
        miniStream.resize(at + count * 64);
        if (entry.node->bytes.empty())
            std::fill_n(miniStream.begin() + static_cast<std::ptrdiff_t>(at), entry.size, entry.node->fillByte);
        else
            std::copy(entry.node->bytes.begin(), entry.node->bytes.end(), miniStream.begin() + static_cast<std::ptrdiff_t>(at));
    }
    entries[0].size = miniStream.size();
}

std::uint32_t Layout::iTake(std::uint32_t mark)
{
    if (fat.size() == lockSector)
        fat.push_back(endOfChain);
    fat.push_back(mark);
    return static_cast<std::uint32_t>(fat.size() - 1);
}

void Layout::iTakeAll(std::vector<Chain*> chains, bool inTurn)
{
    bool any = true;
    while (any) {
        any = false;
        for (Chain* chain : chains) {
            while (chain->sectors.size() < iSectorCount(chain->size)) {
                chain->sectors.push_back(iTake(endOfChain));
                any = true;
                if (inTurn)
                    break;
            }
        }
    }
    for (Chain* chain : chains)
        iLink(*chain);
}

void Layout::iLink(Chain& chain)
{
    if (options.backwards)
        std::reverse(chain.sectors.begin(), chain.sectors.end());
    for (std::size_t i = 0; i < chain.sectors.size(); ++i)
        fat[chain.sectors[i]] = i + 1 == chain.sectors.size() ? endOfChain : chain.sectors[i + 1];
}

void Layout::iPlaceSectors()
{
    const std::uint32_t entriesPerSector = sectorSize / 128;
    const std::uint32_t linksPerSector = sectorSize / 4;
    directory.size = (entries.size() + entriesPerSector - 1) / entriesPerSector * sectorSize;
    miniFatChain.size = (miniFat.size() * 4 + sectorSize - 1) / sectorSize * sectorSize;
    miniStreamChain.size = miniStream.size();
    std::uint64_t data = iSectorCount(directory.size) + iSectorCount(miniFatChain.size) + iSectorCount(miniStreamChain.size) + options.spareSectors;
    for (std::uint32_t i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        if (entry.node->isStorage || entry.mini || entry.size == 0)
            continue;
        const BuilderNode& node = *entry.node;
        Chain chain;
        chain.size = entry.size;
        chain.isHole = node.bytes.empty() && node.fillByte == 0;
        chain.read = [&node](std::uint64_t offset, std::uint8_t* out, std::size_t count) {
            if (node.bytes.empty())
                std::fill_n(out, count, node.fillByte);
            else
                std::copy_n(node.bytes.begin() + static_cast<std::ptrdiff_t>(offset), count, out);
        };
        data += iSectorCount(chain.size);
        streams.emplace_back(i, std::move(chain));
    }

    std::uint64_t difatCount = 0; // grows with the table until both fit
    fatSectorCount = 0;
    for (;;) {
        const std::uint64_t all = data + fatSectorCount + difatCount + 1; // one for the lock sector
        const std::uint64_t wanted = (all + linksPerSector - 1) / linksPerSector + options.spareFatSectors;
        const std::uint64_t difatWanted = wanted <= 109 ? 0 : (wanted - 109 + linksPerSector - 2) / (linksPerSector - 1);
        if (wanted <= fatSectorCount && difatWanted <= difatCount)
            break;
        fatSectorCount = std::max(wanted, fatSectorCount);
        difatCount = std::max(difatWanted, difatCount);
    }
    if (data + fatSectorCount + difatCount > 0xFFFFFF00)
        throw std::length_error("more sectors than the format has numbers");

    const auto takeTables = [&] {
        for (std::uint64_t i = 0; i < fatSectorCount; ++i)
            fatPlaces.push_back(iTake(fatSector));
        for (std::uint64_t i = 0; i < difatCount; ++i)
            difatPlaces.push_back(iTake(difatSector));
        iTakeAll({&directory, &miniFatChain}, options.interleaved);
    };
    std::vector<Chain*> dataChains{&miniStreamChain};
    for (auto& [entry, chain] : streams)
        dataChains.push_back(&chain);
    if (!options.tablesLast)
        takeTables();
    iTakeAll(dataChains, options.interleaved);
    if (options.tablesLast)
        takeTables();
    for (std::uint32_t i = 0; i < options.spareSectors; ++i)
        iTake(freeSector);

    for (auto& [entry, chain] : streams)
        entries[entry].start = chain.sectors.front();
    if (!miniStreamChain.sectors.empty())
        entries[0].start = miniStreamChain.sectors.front();
    miniStreamChain.read = [this](std::uint64_t offset, std::uint8_t* out, std::size_t count) {
        std::copy_n(miniStream.begin() + static_cast<std::ptrdiff_t>(offset), count, out);
    };
    directoryBytes = iDirectoryBytes();
    directory.read = [this](std::uint64_t offset, std::uint8_t* out, std::size_t count) {
        std::copy_n(directoryBytes.begin() + static_cast<std::ptrdiff_t>(offset), count, out);
    };
    miniFat.resize(miniFatChain.size / 4, freeSector);
    miniFatChain.read = [this](std::uint64_t offset, std::uint8_t* out, std::size_t count) {
        std::memcpy(out, reinterpret_cast<const std::uint8_t*>(miniFat.data()) + offset, count);
    };
}

Bytes Layout::iDirectoryBytes() const
{
    Bytes bytes(directory.size);
    for (std::size_t i = 0; i < directory.size / 128; ++i) {
        const std::size_t at = i * 128;
        putLe32(bytes, at + 68, noEntry);
        putLe32(bytes, at + 72, noEntry);
        putLe32(bytes, at + 76, noEntry);
        if (i >= entries.size())
            continue;
        const Entry& entry = entries[i];
        const std::u16string name = i == 0 ? u"Root Entry" : entry.node->name;
        if (name.size() > 31)
            throw std::length_error("name of more than 31 units");
        for (std::size_t k = 0; k < name.size(); ++k)
            putLe16(bytes, at + 2 * k, name[k]);
        putLe16(bytes, at + 64, static_cast<std::uint16_t>(2 * name.size() + 2));
        bytes[at + 66] = i == 0 ? 5 : entry.node->isStorage ? 1 : 2;
        bytes[at + 67] = entry.black ? 1 : 0;
        putLe32(bytes, at + 68, entry.left);
        putLe32(bytes, at + 72, entry.right);
        putLe32(bytes, at + 76, entry.child);
        std::copy(entry.node->clsid.begin(), entry.node->clsid.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at + 80));
        putLe32(bytes, at + 96, entry.node->stateBits);
        putLe64(bytes, at + 100, entry.node->created);
        putLe64(bytes, at + 108, entry.node->modified);
        const bool storage = i != 0 && entry.node->isStorage;
        putLe32(bytes, at + 116, storage ? 0 : entry.start);
        putLe64(bytes, at + 120, storage ? 0 : entry.size);
    }
    return bytes;
}

Bytes Layout::iHeader() const
{
    Bytes bytes(512);
    const std::uint8_t signature[] = {0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
    std::copy(std::begin(signature), std::end(signature), bytes.begin());
    putLe16(bytes, 24, 0x3E);
    putLe16(bytes, 26, static_cast<std::uint16_t>(options.version));
    putLe16(bytes, 28, 0xFFFE);
    putLe16(bytes, 30, options.version == 4 ? 12 : 9);
    putLe16(bytes, 32, 6);
    putLe32(bytes, 40, options.version == 4 ? static_cast<std::uint32_t>(directory.sectors.size()) : 0);
    putLe32(bytes, 44, static_cast<std::uint32_t>(fatPlaces.size()));
    putLe32(bytes, 48, directory.sectors.front());
    putLe32(bytes, 52, options.transactionSignature);
    putLe32(bytes, 56, 4096);
    putLe32(bytes, 60, miniFatChain.sectors.empty() ? endOfChain : miniFatChain.sectors.front());
    putLe32(bytes, 64, static_cast<std::uint32_t>(miniFatChain.sectors.size()));
    putLe32(bytes, 68, difatPlaces.empty() ? endOfChain : difatPlaces.front());
    putLe32(bytes, 72, static_cast<std::uint32_t>(difatPlaces.size()));
    for (std::size_t i = 0; i < 109; ++i)
        putLe32(bytes, 76 + 4 * i, i < fatPlaces.size() ? fatPlaces[i] : freeSector);
    return bytes;
}

void Layout::emit(const Sink& sink, std::uint64_t& fileSize) const
{
    fileSize = (fat.size() + 1) * std::uint64_t{sectorSize};
    const Bytes header = iHeader();
    sink(0, header.data(), header.size());

    const auto offsetOf = [&](std::uint32_t sector) { return (std::uint64_t{sector} + 1) * sectorSize; };
    const std::size_t links = sectorSize / 4;
    Bytes sector(sectorSize);
    for (std::size_t i = 0; i < fatPlaces.size(); ++i) {
        for (std::size_t k = 0; k < links; ++k)
            putLe32(sector, 4 * k, i * links + k < fat.size() ? fat[i * links + k] : freeSector);
        sink(offsetOf(fatPlaces[i]), sector.data(), sectorSize);
    }
    for (std::size_t i = 0; i < difatPlaces.size(); ++i) {
        for (std::size_t k = 0; k + 1 < links; ++k) {
            const std::size_t at = 109 + i * (links - 1) + k;
            putLe32(sector, 4 * k, at < fatPlaces.size() ? fatPlaces[at] : freeSector);
        }
        putLe32(sector, sectorSize - 4, i + 1 == difatPlaces.size() ? endOfChain : difatPlaces[i + 1]);
        sink(offsetOf(difatPlaces[i]), sector.data(), sectorSize);
    }
    const auto emitChain = [&](const Chain& chain) {
        if (chain.isHole)
            return;
        for (std::size_t i = 0; i < chain.sectors.size(); ++i) {
            const std::uint64_t at = std::uint64_t{i} * sectorSize;
            const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(sectorSize, chain.size - at));
            std::fill(sector.begin(), sector.end(), std::uint8_t{0});
            chain.read(at, sector.data(), count);
            sink(offsetOf(chain.sectors[i]), sector.data(), sectorSize);
        }
    };
    emitChain(directory);
    emitChain(miniFatChain);
    emitChain(miniStreamChain);
    for (const auto& [entry, chain] : streams)
        emitChain(chain);
}

} // namespace

BuilderNode& BuilderNode::storage(std::u16string_view childName)
{
    BuilderNode& child = children.emplace_back();
    child.name = childName;
    return child;
}

BuilderNode& BuilderNode::stream(std::u16string_view childName, Bytes content)
{
    BuilderNode& child = storage(childName);
    child.isStorage = false;
    child.bytes = std::move(content);
    return child;
}

BuilderNode& BuilderNode::stream(std::u16string_view childName, std::string_view content)
{
    return stream(childName, Bytes(content.begin(), content.end()));
}

BuilderNode& BuilderNode::filled(std::u16string_view childName, std::uint64_t size, std::uint8_t value)
{
    BuilderNode& child = stream(childName, Bytes());
    child.fillSize = size;
    child.fillByte = value;
    return child;
}

Bytes CompoundFileBuilder::build() const
{
    const Layout layout(rootNode, choices);
    Bytes file;
    std::uint64_t size = 0;
    layout.emit(
        [&](std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
            if (file.size() < offset + count)
                file.resize(offset + count);
            std::copy_n(bytes, count, file.begin() + static_cast<std::ptrdiff_t>(offset));
        },
        size);
    file.resize(size);
    return file;
}

bool CompoundFileBuilder::write(const std::string& path) const
{
    const Layout layout(rootNode, choices);
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    bool good = true;
    std::uint64_t size = 0, at = 0;
    const auto put = [&](std::uint64_t offset, const std::uint8_t* bytes, std::size_t count) {
        if (at != offset)
            good = good && fseeko(file, static_cast<off_t>(offset), SEEK_SET) == 0;
        good = good && std::fwrite(bytes, 1, count, file) == count;
        at = offset + count;
    };
    layout.emit(put, size);
    std::uint8_t last = 0;
    good = good && std::fclose(file) == 0;
    file = std::fopen(path.c_str(), "r+b"); // the last byte decides the size, whatever hole lies before it
    if (!file)
        return false;
    good = good && fseeko(file, 0, SEEK_END) == 0 && static_cast<std::uint64_t>(ftello(file)) <= size;
    if (good && static_cast<std::uint64_t>(ftello(file)) < size)
        put(size - 1, &last, 1);
    return std::fclose(file) == 0 && good;
}

CompoundFileBuilder::Place CompoundFileBuilder::placeOf(const std::vector<std::u16string>& path) const
{
    const Layout layout(rootNode, choices);
    const BuilderNode* node = &rootNode;
    for (const std::u16string& name : path) {
        const auto found = std::find_if(node->children.begin(), node->children.end(), [&](const BuilderNode& child) { return child.name == name; });
        if (found == node->children.end())
            throw std::invalid_argument("no such element");
        node = &*found;
    }
    for (std::uint32_t i = 0; i < layout.entries.size(); ++i) {
        if (layout.entries[i].node == node)
            return {i, layout.entries[i].start, layout.entries[i].mini};
    }
    throw std::logic_error("an element without an entry");
}

Bytes readWholeFile(const std::string& path)
{
    Bytes bytes;
    if (std::FILE* file = std::fopen(path.c_str(), "rb")) {
        std::uint8_t block[65536];
        while (const std::size_t count = std::fread(block, 1, sizeof block, file))
            bytes.insert(bytes.end(), block, block + count);
        std::fclose(file);
    }
    return bytes;
}

bool writeWholeFile(const std::string& path, const Bytes& bytes)
{
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return false;
    const bool good = bytes.empty() || std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && good;
}

Bytes patternBytes(std::size_t count, std::uint32_t seed)
{
    Bytes bytes(count);
    std::uint32_t state = seed * 2654435761u + 1;
    for (std::uint8_t& byte : bytes) {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        byte = static_cast<std::uint8_t>(state >> 11);
    }
    return bytes;
}

void putLe16(Bytes& bytes, std::size_t offset, std::uint16_t value)
{
    bytes.at(offset + 1) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(offset) = static_cast<std::uint8_t>(value);
}

void putLe32(Bytes& bytes, std::size_t offset, std::uint32_t value)
{
    putLe16(bytes, offset, static_cast<std::uint16_t>(value));
    putLe16(bytes, offset + 2, static_cast<std::uint16_t>(value >> 16));
}

void putLe64(Bytes& bytes, std::size_t offset, std::uint64_t value)
{
    putLe32(bytes, offset, static_cast<std::uint32_t>(value));
    putLe32(bytes, offset + 4, static_cast<std::uint32_t>(value >> 32));
}

std::uint32_t getLe32(const Bytes& bytes, std::size_t offset)
{
    return std::uint32_t{bytes.at(offset)} | std::uint32_t{bytes.at(offset + 1)} << 8 | std::uint32_t{bytes.at(offset + 2)} << 16 |
           std::uint32_t{bytes.at(offset + 3)} << 24;
}

} // namespace kvdm::test
