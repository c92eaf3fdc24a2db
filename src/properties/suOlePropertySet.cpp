#include "properties/suOlePropertySet.h"

#include "properties/propertyStreams.h"

#include <algorithm>

namespace kvdm {

namespace {

constexpr std::size_t headerSize = 28;
constexpr std::size_t tableEntrySize = 20;

void appendGuid(std::string& stream, const GUID& id)
{
    stream.append(reinterpret_cast<const char*>(&id), sizeof id);
}

} // namespace

bool suOlePropertySet::Read(IStream& stream, std::int32_t documentVersion, std::int32_t writtenVersion)
{
    fileVersion = documentVersion;
    sections.clear(); // before the bytes that they look into
    source.clear();
    readWhole = readWholeStream(stream, source);
    source.shrink_to_fit();
    const bool wholeTable = iRead(documentVersion, writtenVersion);
    readWhole = readWhole && wholeTable;
    return wholeTable;
}

bool suOlePropertySet::iRead(std::int32_t documentVersion, std::int32_t writtenVersion)
{
    if (source.size() < headerSize)
        return false;
    byteOrder = oleNumber<std::uint16_t>(source.data());
    format = oleNumber<std::uint16_t>(source.data() + 2);
    osVersion = oleNumber<std::uint32_t>(source.data() + 4);
    classId = oleNumber<GUID>(source.data() + 8);
    sectionCount = oleNumber<std::uint32_t>(source.data() + 24);

    OleReadBudget budget(source.size());
    std::size_t entry = headerSize;
    for (std::uint32_t left = sectionCount; left > 0; --left, entry += tableEntrySize) {
        if (source.size() - entry < tableEntrySize)
            return false;
        const auto sectionFormat = oleNumber<FMTID>(source.data() + entry);
        const auto start = oleNumber<std::uint32_t>(source.data() + entry + sizeof(FMTID));
        suOlePropertySection& section = sections.emplace_back(sectionFormat);
        const bool whole = section.Read(source, start, documentVersion, writtenVersion, budget);
        readWhole = readWhole && whole && !section.hasUnknownTexts();
        if (!whole)
            sections.pop_back();
    }
    return true;
}

std::string suOlePropertySet::makeStream()
{
    sectionCount = static_cast<std::uint32_t>(sections.size());
    std::string bytes;
    bytes.reserve(source.size() + 1024);
    appendOleNumber(bytes, byteOrder);
    appendOleNumber(bytes, format);
    appendOleNumber(bytes, osVersion);
    appendGuid(bytes, classId);
    appendOleNumber(bytes, sectionCount);

    std::size_t entry = bytes.size();
    bytes.append(tableEntrySize * sections.size(), '\0');
    for (suOlePropertySection& section : sections) {
        const auto start = static_cast<std::uint32_t>(bytes.size());
        std::memcpy(bytes.data() + entry, &section.formatId, sizeof section.formatId);
        std::memcpy(bytes.data() + entry + sizeof section.formatId, &start, sizeof start);
        entry += tableEntrySize;
        section.Write(bytes);
        if (bytes.size() > UINT32_MAX)
            return {};
    }
    return bytes;
}

bool suOlePropertySet::Write(IStream& stream)
{
    const std::string bytes = makeStream();
    return !bytes.empty() && writeWholeStream(stream, bytes);
}

suOlePropertySection* suOlePropertySet::findSection(const FMTID& sectionFormat) noexcept
{
    const auto at = std::find_if(sections.begin(), sections.end(), [&](const auto& section) { return section.formatId == sectionFormat; });
    return at == sections.end() ? nullptr : &*at;
}

suOlePropertySection& suOlePropertySet::requireSection(const FMTID& sectionFormat)
{
    suOlePropertySection* known = findSection(sectionFormat);
    return known ? *known : sections.emplace_back(sectionFormat, fileVersion);
}

bool suOlePropertySet::isLeftAlone() const noexcept
{
    return !readWhole && std::none_of(sections.begin(), sections.end(), [](const auto& section) { return section.isChanged(); });
}

} // namespace kvdm
