// Makes compound files for tests. It shares no code with the engine, so what the engine reads or writes is compared with
// bytes made elsewhere.
//
//     CompoundFileBuilder file;                              // version 3; CompoundFileBuilder(4) for 4096-byte sectors
//     file.root().clsid = ...;
//     file.root().stream(u"Contents", "plain text");
//     auto& config = file.root().storage(u"Config-0");       // the reference stays good while children are added
//     config.stream(u"Header", std::vector<std::uint8_t>{1, 2, 3});
//     config.storage(u"Empty").stateBits = 7;
//     std::vector<std::uint8_t> bytes = file.build();        // or file.write("/path/of/the/file")
//
// Large files for measurements, cheap to make: a stream that is told by its size and one byte value. With fill 0 write()
// leaves a hole where the file system can.
//
//     CompoundFileBuilder large(4);
//     large.root().stream(u"Custom", properties);
//     large.root().filled(u"Body", std::uint64_t{3} << 30);
//     large.write(path);
//
// Hostile bytes are the test's own work: build(), then patch what is wanted; sectorOffset() and placeOf() tell where it lies.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm::test {

using Bytes = std::vector<std::uint8_t>;

// A storage or a stream of the file to be made.
struct BuilderNode
{
    std::u16string name;
    bool isStorage = true;
    Bytes bytes;                          // of a stream
    std::uint64_t fillSize = 0;           // of a stream that is told by size and value
    std::uint8_t fillByte = 0;            //
    std::array<std::uint8_t, 16> clsid{}; // as it lies in the file
    std::uint32_t stateBits = 0;          //
    std::uint64_t created = 0;            // FILETIME; of storages
    std::uint64_t modified = 0;           //
    std::deque<BuilderNode> children;

    BuilderNode& storage(std::u16string_view childName);
    BuilderNode& stream(std::u16string_view childName, Bytes content);
    BuilderNode& stream(std::u16string_view childName, std::string_view content);
    BuilderNode& filled(std::u16string_view childName, std::uint64_t size, std::uint8_t value = 0);

    std::uint64_t size() const { return bytes.empty() ? fillSize : bytes.size(); }
};

class CompoundFileBuilder
{
public:
    // Ways in which files of other writers differ; every one of them is a sound file.
    struct Options
    {
        unsigned version = 3;              // 3: 512-byte sectors, 4: 4096
        bool treeAsChain = false;          // siblings as one chain to the right, all black, in place of a balanced tree
        bool interleaved = false;          // sectors of the large streams lie in turn: every chain is broken up
        bool backwards = false;            // chains run from high sectors to low ones
        bool tablesLast = false;           // FAT, directory and mini FAT lie behind the data
        std::uint32_t spareFatSectors = 0; // more FAT sectors than needed, full of free entries: cheap DIFAT chains
        std::uint32_t spareSectors = 0;    // free sectors at the end of the file
        std::uint32_t transactionSignature = 0;
    };

    // Where one element came to lie.
    struct Place
    {
        std::uint32_t directoryEntry = 0;
        std::uint32_t startSector = 0; // or mini sector
        bool mini = false;
    };

    CompoundFileBuilder() : CompoundFileBuilder(Options{}) {}
    explicit CompoundFileBuilder(unsigned version) : CompoundFileBuilder(Options{.version = version}) {}
    explicit CompoundFileBuilder(const Options& options) : choices(options) {}

    BuilderNode& root() { return rootNode; }
    const BuilderNode& root() const { return rootNode; }

    Bytes build() const;
    bool write(const std::string& path) const; // false when the file cannot be written

    std::uint32_t sectorSize() const { return choices.version == 4 ? 4096 : 512; }
    std::uint64_t sectorOffset(std::uint32_t sector) const { return (std::uint64_t{sector} + 1) * sectorSize(); }
    // Of the file as build() makes it; names from the root on. The entry of the root for an empty path.
    Place placeOf(const std::vector<std::u16string>& path) const;

private:
    Options choices;
    BuilderNode rootNode;
};

// A file of the system as bytes, and back; empty when it cannot be read, false when it cannot be written.
Bytes readWholeFile(const std::string& path);
bool writeWholeFile(const std::string& path, const Bytes& bytes);

// Bytes that differ at every place and from seed to seed, the same in every run.
Bytes patternBytes(std::size_t count, std::uint32_t seed = 1);

// Little-endian values at an offset, for patches.
void putLe16(Bytes& bytes, std::size_t offset, std::uint16_t value);
void putLe32(Bytes& bytes, std::size_t offset, std::uint32_t value);
void putLe64(Bytes& bytes, std::size_t offset, std::uint64_t value);
std::uint32_t getLe32(const Bytes& bytes, std::size_t offset);

} // namespace kvdm::test
