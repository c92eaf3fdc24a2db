// How a section is read, cleaned and written.
#include "properties/suOlePropertySection.h"

#include "platform/text/codepages.h"
#include "properties/suOptions.h"

#include <algorithm>
#include <iterator>

namespace kvdm {

namespace {

constexpr std::size_t dictionaryNameLimit = 256; // bytes, the NUL included

// The offset where what follows a value begins: the next value of the section, its end, or the end of the stream.
std::size_t nextOffset(const std::vector<std::size_t>& offsets, std::size_t at, std::size_t end)
{
    const auto next = std::upper_bound(offsets.begin(), offsets.end(), at);
    return next == offsets.end() ? end : std::min(*next, end);
}

// A dictionary name as bytes; one that is too long loses whole characters at its end, so that the rest stays readable.
std::string dictionaryName(unsigned codePage, std::u16string_view name)
{
    name = name.substr(0, name.find(u'\0'));
    std::string bytes = encodeText(codePage, name);
    if (bytes.size() >= dictionaryNameLimit) {
        std::size_t fits = 0;
        std::size_t tooMany = name.size();
        while (fits + 1 < tooMany) {
            const std::size_t middle = (fits + tooMany) / 2;
            (encodeText(codePage, name.substr(0, middle)).size() < dictionaryNameLimit ? fits : tooMany) = middle;
        }
        if (fits > 0 && name[fits - 1] >= 0xD800 && name[fits - 1] < 0xDC00)
            --fits;
        bytes = encodeText(codePage, name.substr(0, fits));
    }
    return bytes;
}

void padToFour(std::string& stream, std::size_t length)
{
    stream.append((4 - length % 4) % 4, '\0');
}

} // namespace

bool suOlePropertySection::Read(std::string_view stream, std::size_t start, std::int32_t documentVersion, std::int32_t writtenVersion,
                                OleReadBudget& budget)
{
    iClear();
    versionForCodePage = writtenVersion;
    if (!iReadProperties(stream, start, budget))
        return false;

    unsigned codePage = CodePage();
    if (findById(codePageId) && useWindowsExplorerProperties())
        codePage = codePageUtf8;
    iApplyDictionary(codePage);
    if (formatId != summaryFormat && formatId != documentSummaryFormat)
        iCleanIds();
    if (const unsigned target = iCodePageFor(documentVersion); target != codePage)
        iMoveTexts(codePage, target);
    changed = false;
    return true;
}

bool suOlePropertySection::iReadProperties(std::string_view stream, std::size_t start, OleReadBudget& budget)
{
    constexpr std::size_t headSize = 8;
    constexpr std::size_t entrySize = 8;
    if (start > stream.size() || stream.size() - start < headSize)
        return false;
    size = oleNumber<std::uint32_t>(stream.data() + start);
    propertyCount = oleNumber<std::uint32_t>(stream.data() + start + 4);

    std::vector<std::size_t> offsets; // in order; made when the first value shows whose end its type does not tell
    const std::size_t table = start + headSize;
    for (std::size_t entry = table, left = propertyCount; left > 0; --left, entry += entrySize) {
        if (stream.size() - entry < entrySize || !budget.spend(entrySize))
            return false;
        const auto id = oleNumber<std::uint32_t>(stream.data() + entry);
        const std::size_t at = start + oleNumber<std::uint32_t>(stream.data() + entry + 4);
        if (id == dictionaryId) {
            if (!iReadDictionary(stream, at, budget))
                return false;
            continue;
        }

        if (at > stream.size() || stream.size() - at < 4 || !budget.spend(4))
            return false;
        const auto type = oleNumber<std::uint32_t>(stream.data() + at);
        auto end = olePayloadEnd(stream, at + 4, type, budget);
        if (!end)
            return false;
        if ((type & ~oleVectorFlag) == oleTypeVariant) {
            // Nobody reads these elements, but all of them go back when the set is written.
            if (offsets.empty()) {
                offsets.push_back(start + size);
                for (std::size_t other = table, rest = propertyCount; rest > 0 && stream.size() - other >= entrySize; --rest, other += entrySize) {
                    if (!budget.spend(entrySize))
                        return false;
                    offsets.push_back(start + oleNumber<std::uint32_t>(stream.data() + other + 4));
                }
                std::sort(offsets.begin(), offsets.end());
            }
            end = std::max(*end, nextOffset(offsets, at, stream.size()));
            if (!budget.spend(*end - at))
                return false;
        }
        iAppend(id, type, stream.substr(at + 4, *end - at - 4));
    }
    return true;
}

bool suOlePropertySection::iReadDictionary(std::string_view stream, std::size_t at, OleReadBudget& budget)
{
    if (at > stream.size() || stream.size() - at < 4)
        return false;
    std::uint32_t count = oleNumber<std::uint32_t>(stream.data() + at);
    for (at += 4; count > 0; --count) {
        if (stream.size() - at < 8 || !budget.spend(8))
            return false;
        const auto id = oleNumber<std::uint32_t>(stream.data() + at);
        const auto length = oleNumber<std::uint32_t>(stream.data() + at + 4);
        at += 8;
        if (length > dictionaryNameLimit || stream.size() - at < length || !budget.spend(length))
            return false;
        const std::string_view name = stream.substr(at, length);
        dictionaryEntries.push_back({id, name.substr(0, name.find('\0'))});
        at += length;
    }
    return true;
}

void suOlePropertySection::iApplyDictionary(unsigned codePage)
{
    unknownTexts = !dictionaryEntries.empty() && !isKnownCodePage(codePage);
    bool first = true;
    for (const DictionaryEntry& entry : dictionaryEntries) {
        if (first && entry.id == dictionaryId)
            sectionName = decodeText(codePage, entry.name);
        else if (findById(entry.id))
            AddName(entry.id, decodeText(codePage, entry.name));
        first = false;
    }
    std::vector<DictionaryEntry>().swap(dictionaryEntries);
}

// Named properties get plain ids; properties without a name stay only where an id says what they are.
void suOlePropertySection::iCleanIds()
{
    for (auto at = properties.begin(); at != properties.end(); ++at) {
        if (isPlainUserId(at->id) || !FindNameById(at->id))
            continue;
        auto [first, last] = byId.equal_range(at->id);
        iRenumber(std::find_if(first, last, [&](const auto& entry) { return entry.second == at; }));
    }
    iRemoveNameless();
}

void suOlePropertySection::iRenumber(IdIndex::iterator at)
{
    const auto give = [this](IdIndex::iterator entry, std::uint32_t newId) {
        const std::uint32_t oldId = entry->first;
        auto node = byId.extract(entry);
        node.key() = node.mapped()->id = newId;
        byId.insert(std::move(node));
        names.moveTo(oldId, newId);
    };

    const std::uint32_t oldId = at->first;
    const std::uint32_t newId = std::max({iLargestBelowCompanions(0), iLargestBelowCompanions(0x80000000), codePageId}) + 1;
    give(at, newId);
    if (oldId <= UINT32_MAX - companionOffset) {
        const auto companion = byId.lower_bound(oldId + companionOffset);
        if (companion != byId.end() && companion->first == oldId + companionOffset)
            give(companion, newId + companionOffset);
    }
}

void suOlePropertySection::iRemoveNameless()
{
    std::vector<IdIndex::iterator> marked; // all are judged before the first goes
    for (auto at = byId.begin(); at != byId.end(); ++at) {
        const std::uint32_t id = at->first;
        if (!FindNameById(id) && (isPlainUserId(id) || !findById(id & ~companionOffset)))
            marked.push_back(at);
    }
    for (const IdIndex::iterator at : marked) {
        properties.erase(at->second);
        byId.erase(at);
    }
}

// A document of before 3321 keeps its texts in the system's code page, whatever page another release wrote them in.
void suOlePropertySection::iMoveTexts(unsigned from, unsigned to)
{
    if (!isKnownCodePage(from) || !isKnownCodePage(to)) {
        unknownTexts = true; // nothing would be left of them
        return;
    }
    if (to == 0)
        SetProperty(codePageId, oleBytes(std::int16_t{0}), VT_I2);
    for (suOleProperty& property : properties) {
        if (property.type != VT_LPSTR || property.id < 2)
            continue;
        const std::string text = encodeText(to, decodeText(from, oleNarrowText(property.payload())));
        if (auto payload = olePayloadOf(VT_LPSTR, text))
            property.setPayload(VT_LPSTR, std::move(*payload));
    }
}

void suOlePropertySection::Write(std::string& stream)
{
    if (!findById(dictionaryId))
        iAppend(dictionaryId, VT_EMPTY, {});

    const std::size_t start = stream.size();
    stream.append(8 + 8 * properties.size(), '\0');
    std::size_t entry = start + 8;
    for (const suOleProperty& property : properties) {
        const auto offset = static_cast<std::uint32_t>(stream.size() - start);
        if (property.id == dictionaryId) {
            iWriteDictionary(stream);
        } else {
            appendOleNumber(stream, property.type);
            stream.append(property.payload());
            padToFour(stream, property.payload().size());
        }
        std::memcpy(stream.data() + entry, &property.id, 4);
        std::memcpy(stream.data() + entry + 4, &offset, 4);
        entry += 8;
    }
    size = static_cast<std::uint32_t>(stream.size() - start);
    propertyCount = static_cast<std::uint32_t>(properties.size());
    std::memcpy(stream.data() + start, &size, 4);
    std::memcpy(stream.data() + start + 4, &propertyCount, 4);
}

void suOlePropertySection::iWriteDictionary(std::string& stream) const
{
    const unsigned codePage = CodePage();
    const auto append = [&](std::uint32_t id, std::u16string_view text) {
        const std::string name = dictionaryName(codePage, text);
        appendOleNumber(stream, id);
        appendOleNumber(stream, static_cast<std::uint32_t>(name.size() + 1));
        stream.append(name).push_back('\0');
    };

    appendOleNumber(stream, static_cast<std::uint32_t>(names.size() + 1));
    append(dictionaryId, sectionName);
    names.forEach([&](const suPropertyNames::Entry& entry) { append(entry.id, entry.name); });
    padToFour(stream, stream.size());
}

} // namespace kvdm
