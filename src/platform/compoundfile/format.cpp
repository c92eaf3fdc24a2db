#include "platform/compoundfile/format.h"

#include <algorithm>

namespace kvdm {
namespace {

constexpr std::array<std::uint8_t, 8> signature{0xD0, 0xCF, 0x11, 0xE0, 0xA1, 0xB1, 0x1A, 0xE1};
constexpr std::array<std::uint8_t, 8> signatureBefore{0x0E, 0x11, 0xFC, 0x0D, 0xD0, 0xCF, 0x11, 0x0E};

} // namespace

bool hasSignature(std::span<const std::uint8_t> bytes) noexcept
{
    return bytes.size() >= signature.size() && std::equal(signature.begin(), signature.end(), bytes.begin());
}

HRESULT CompoundHeader::decode(const HeaderBytes& bytes, CompoundHeader& out) noexcept
{
    const std::uint8_t* at = bytes.data();
    if (!hasSignature(bytes))
        return std::equal(signatureBefore.begin(), signatureBefore.end(), bytes.begin()) ? STG_E_OLDFORMAT : STG_E_FILEALREADYEXISTS;
    out.minorVersion = readLe16(at + 24);
    out.majorVersion = readLe16(at + 26);
    out.sectorShift = readLe16(at + 30);
    const bool known = out.majorVersion == 3 || out.majorVersion == 4;
    // Some writers put 4096-byte sectors under version 3: the shift decides how the file is laid out.
    if (!known || readLe16(at + 28) != 0xFFFE || (out.sectorShift != 9 && out.sectorShift != 12) || readLe16(at + 32) != 6)
        return STG_E_INVALIDHEADER;
    out.directorySectors = readLe32(at + 40);
    out.fatSectors = readLe32(at + 44);
    out.directoryStart = readLe32(at + 48);
    out.transactionSignature = readLe32(at + 52);
    out.miniFatStart = readLe32(at + 60);
    out.miniFatSectors = readLe32(at + 64);
    out.difatStart = readLe32(at + 68);
    out.difatSectors = readLe32(at + 72);
    for (std::uint32_t i = 0; i < headerFatSlots; ++i)
        out.fat[i] = readLe32(at + 76 + 4 * i);
    return S_OK;
}

HeaderBytes CompoundHeader::encode() const noexcept
{
    HeaderBytes bytes{};
    std::uint8_t* at = bytes.data();
    std::copy(signature.begin(), signature.end(), bytes.begin());
    writeLe16(at + 24, minorVersion);
    writeLe16(at + 26, majorVersion);
    writeLe16(at + 28, 0xFFFE);
    writeLe16(at + 30, sectorShift);
    writeLe16(at + 32, 6);
    writeLe32(at + 40, directorySectors);
    writeLe32(at + 44, fatSectors);
    writeLe32(at + 48, directoryStart);
    writeLe32(at + 52, transactionSignature);
    writeLe32(at + 56, miniCutoff);
    writeLe32(at + 60, miniFatStart);
    writeLe32(at + 64, miniFatSectors);
    writeLe32(at + 68, difatStart);
    writeLe32(at + 72, difatSectors);
    for (std::uint32_t i = 0; i < headerFatSlots; ++i)
        writeLe32(at + 76 + 4 * i, fat[i]);
    return bytes;
}

CLSID EntryView::clsid() const noexcept
{
    CLSID id;
    id.Data1 = readLe32(bytes + 80);
    id.Data2 = readLe16(bytes + 84);
    id.Data3 = readLe16(bytes + 86);
    std::memcpy(id.Data4, bytes + 88, 8);
    return id;
}

std::uint32_t EntryView::iStoredUnits() const noexcept
{
    const std::uint32_t written = readLe16(bytes + 64);
    if (written >= 2 && written <= 64 && written % 2 == 0)
        return written / 2 - 1;
    std::uint32_t units = 0;
    while (units < longestName && nameUnit(units) != 0)
        ++units;
    return units;
}

std::uint32_t EntryView::nameUnits() const noexcept
{
    const std::uint32_t most = iStoredUnits();
    std::uint32_t units = 0;
    while (units < most && nameUnit(units) != 0)
        ++units;
    return units;
}

std::u16string EntryView::iText(std::uint32_t units) const
{
    std::u16string text(units, u'\0');
    for (std::uint32_t i = 0; i < units; ++i)
        text[i] = nameUnit(i);
    return text;
}

std::u16string EntryView::name() const
{
    return iText(nameUnits());
}

std::u16string EntryView::storedName() const
{
    return iText(iStoredUnits());
}

void EntryEditor::clear() noexcept
{
    std::memset(bytes, 0, entryBytes);
    setLeft(noEntry);
    setRight(noEntry);
    setChild(noEntry);
}

void EntryEditor::setName(std::u16string_view name) noexcept
{
    std::memset(bytes, 0, 64);
    for (std::size_t i = 0; i < name.size() && i < longestName; ++i)
        writeLe16(bytes + 2 * i, name[i]);
    writeLe16(bytes + 64, static_cast<std::uint16_t>(2 * name.size() + 2));
}

void EntryEditor::setClsid(const CLSID& id) noexcept
{
    writeLe32(bytes + 80, id.Data1);
    writeLe16(bytes + 84, id.Data2);
    writeLe16(bytes + 86, id.Data3);
    std::memcpy(bytes + 88, id.Data4, 8);
}

void EntryEditor::setCreated(FILETIME time) noexcept
{
    writeLe32(bytes + 100, time.dwLowDateTime);
    writeLe32(bytes + 104, time.dwHighDateTime);
}

void EntryEditor::setModified(FILETIME time) noexcept
{
    writeLe32(bytes + 108, time.dwLowDateTime);
    writeLe32(bytes + 112, time.dwHighDateTime);
}

} // namespace kvdm
