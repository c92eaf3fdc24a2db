// The words and records of the compound file format ([MS-CFB]): numbers with a meaning, the header, the directory entry.
#pragma once

#include <kvdocmgr/oletypes.h>

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>

namespace kvdm {

constexpr std::uint32_t largestSector = 0xFFFFFFFA;
constexpr std::uint32_t difatSectorMark = 0xFFFFFFFC;
constexpr std::uint32_t fatSectorMark = 0xFFFFFFFD;
constexpr std::uint32_t endOfChain = 0xFFFFFFFE;
constexpr std::uint32_t freeSector = 0xFFFFFFFF;
constexpr std::uint32_t noEntry = 0xFFFFFFFF;

constexpr std::uint32_t headerBytes = 512;
constexpr std::uint32_t headerFatSlots = 109;
constexpr std::uint32_t miniSectorBytes = 64;
constexpr std::uint32_t miniCutoff = 4096; // a stream of fewer bytes lies in the mini stream
constexpr std::uint32_t entryBytes = 128;
constexpr std::uint32_t longestName = 31; // units, without the closing zero

// The format keeps these bytes out of every stream: what lies on them are locks.
constexpr std::uint64_t lockRegionOffset = 0x7FFFFF00;
constexpr std::uint64_t lockRegionBytes = 0x100;

inline std::uint16_t readLe16(const std::uint8_t* bytes) noexcept
{
    return static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
}
inline std::uint32_t readLe32(const std::uint8_t* bytes) noexcept
{
    return std::uint32_t{bytes[0]} | std::uint32_t{bytes[1]} << 8 | std::uint32_t{bytes[2]} << 16 | std::uint32_t{bytes[3]} << 24;
}
// Many at once: a file of a gigabyte has an index of sixteen thousand numbers.
inline void copyLe32(std::uint32_t* values, const std::uint8_t* bytes, std::size_t count) noexcept
{
    if constexpr (std::endian::native == std::endian::little)
        std::memcpy(values, bytes, count * sizeof *values);
    else {
        for (std::size_t i = 0; i < count; ++i)
            values[i] = readLe32(bytes + 4 * i);
    }
}
inline std::uint64_t readLe64(const std::uint8_t* bytes) noexcept
{
    return readLe32(bytes) | std::uint64_t{readLe32(bytes + 4)} << 32;
}
inline void writeLe16(std::uint8_t* bytes, std::uint16_t value) noexcept
{
    bytes[0] = static_cast<std::uint8_t>(value);
    bytes[1] = static_cast<std::uint8_t>(value >> 8);
}
inline void writeLe32(std::uint8_t* bytes, std::uint32_t value) noexcept
{
    writeLe16(bytes, static_cast<std::uint16_t>(value));
    writeLe16(bytes + 2, static_cast<std::uint16_t>(value >> 16));
}
inline void writeLe64(std::uint8_t* bytes, std::uint64_t value) noexcept
{
    writeLe32(bytes, static_cast<std::uint32_t>(value));
    writeLe32(bytes + 4, static_cast<std::uint32_t>(value >> 32));
}

using HeaderBytes = std::array<std::uint8_t, headerBytes>;

bool hasSignature(std::span<const std::uint8_t> bytes) noexcept;

// The header, decoded. Counts are kept as they are written and trusted by nobody.
struct CompoundHeader
{
    std::uint16_t minorVersion = 0x3E;
    std::uint16_t majorVersion = 3;
    std::uint16_t sectorShift = 9;
    std::uint32_t directorySectors = 0; // version 4 only
    std::uint32_t fatSectors = 0;
    std::uint32_t directoryStart = endOfChain;
    std::uint32_t transactionSignature = 0;
    std::uint32_t miniFatStart = endOfChain;
    std::uint32_t miniFatSectors = 0;
    std::uint32_t difatStart = endOfChain;
    std::uint32_t difatSectors = 0;
    std::array<std::uint32_t, headerFatSlots> fat;

    CompoundHeader() noexcept { fat.fill(freeSector); }

    std::uint32_t sectorBytes() const noexcept { return 1u << sectorShift; }

    // S_OK, or what an open says: STG_E_FILEALREADYEXISTS when this is no compound file, STG_E_OLDFORMAT for the form before
    // the published one, STG_E_INVALIDHEADER for a header that fits no file.
    static HRESULT decode(const HeaderBytes& bytes, CompoundHeader& out) noexcept;
    HeaderBytes encode() const noexcept;
};

enum class EntryType : std::uint8_t
{
    unused = 0,
    storage = 1,
    stream = 2,
    root = 5
};

// A directory entry where it lies. Names and numbers are as the file has them; users check what they follow.
class EntryView
{
public:
    explicit EntryView(const std::uint8_t* entry) noexcept : bytes(entry) {}

    EntryType type() const noexcept { return static_cast<EntryType>(bytes[66]); }
    bool isElement() const noexcept { return type() == EntryType::storage || type() == EntryType::stream; }
    bool isBlack() const noexcept { return bytes[67] != 0; }
    std::uint32_t left() const noexcept { return readLe32(bytes + 68); }
    std::uint32_t right() const noexcept { return readLe32(bytes + 72); }
    std::uint32_t child() const noexcept { return readLe32(bytes + 76); }
    CLSID clsid() const noexcept;
    std::uint32_t stateBits() const noexcept { return readLe32(bytes + 96); }
    FILETIME created() const noexcept { return {readLe32(bytes + 100), readLe32(bytes + 104)}; }
    FILETIME modified() const noexcept { return {readLe32(bytes + 108), readLe32(bytes + 112)}; }
    std::uint32_t start() const noexcept { return readLe32(bytes + 116); }
    // Version 3 writers may leave anything in the upper half.
    std::uint64_t size(bool wide) const noexcept { return wide ? readLe64(bytes + 120) : readLe32(bytes + 120); }

    // The name as it goes over the interfaces: it ends at its first zero unit. A length that cannot be right is not asked.
    std::uint32_t nameUnits() const noexcept;
    char16_t nameUnit(std::uint32_t index) const noexcept { return readLe16(bytes + 2 * index); }
    std::u16string name() const;
    // The name in its whole length, zero units inside it included: odd files have such.
    std::u16string storedName() const;

private:
    std::uint32_t iStoredUnits() const noexcept;
    std::u16string iText(std::uint32_t units) const;

    const std::uint8_t* bytes;
};

// The same for writing.
class EntryEditor
{
public:
    explicit EntryEditor(std::uint8_t* entry) noexcept : bytes(entry) {}

    void clear() noexcept; // an unused entry as the format wants it
    void setName(std::u16string_view name) noexcept;
    void setType(EntryType type) noexcept { bytes[66] = static_cast<std::uint8_t>(type); }
    void setBlack(bool black) noexcept { bytes[67] = black ? 1 : 0; }
    void setLeft(std::uint32_t id) noexcept { writeLe32(bytes + 68, id); }
    void setRight(std::uint32_t id) noexcept { writeLe32(bytes + 72, id); }
    void setChild(std::uint32_t id) noexcept { writeLe32(bytes + 76, id); }
    void setClsid(const CLSID& id) noexcept;
    void setStateBits(std::uint32_t bits) noexcept { writeLe32(bytes + 96, bits); }
    void setCreated(FILETIME time) noexcept;
    void setModified(FILETIME time) noexcept;
    void setStart(std::uint32_t sector) noexcept { writeLe32(bytes + 116, sector); }
    void setSize(std::uint64_t size) noexcept { writeLe64(bytes + 120, size); }

private:
    std::uint8_t* bytes;
};

} // namespace kvdm
