// One section of a property set: its properties in file order and the dictionary that names them.
#pragma once

#include "properties/suOleProperty.h"
#include "properties/suPropertyNames.h"

#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

inline constexpr FMTID summaryFormat{0xF29F85E0, 0x4FF9, 0x1068, {0xAB, 0x91, 0x08, 0x00, 0x2B, 0x27, 0xB3, 0xD9}};
inline constexpr FMTID documentSummaryFormat{0xD5CDD502, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};
inline constexpr FMTID userPropertiesFormat{0xD5CDD505, 0x2E9C, 0x101B, {0x93, 0x97, 0x08, 0x00, 0x2B, 0x2C, 0xF9, 0xAE}};

constexpr std::uint32_t dictionaryId = 0;
constexpr std::uint32_t codePageId = 1;
// The property with the link text of property N, and the first id that no user property has, are this far up.
constexpr std::uint32_t companionOffset = 0x01000000;

// An id that a user's property can have: from 2, none of the four reserved ones, no companion.
constexpr bool isPlainUserId(std::uint32_t id) noexcept
{
    return id >= 2 && !(id >= 0x80000000 && id <= 0x80000003) && (id & 0x7FFFFFFF) <= companionOffset;
}

// Look-ups by id and by name take logarithmic time: a section may hold a hundred thousand properties. Values are views into
// the bytes that were read, which the owning suOlePropertySet keeps. Throws nothing but std::bad_alloc.
class suOlePropertySection final : public su_CObject
{
public:
    explicit suOlePropertySection(const FMTID& format, std::int32_t version = -1) noexcept : formatId(format), versionForCodePage(version) {}
    suOlePropertySection(const suOlePropertySection&) = delete;
    suOlePropertySection& operator=(const suOlePropertySection&) = delete;

    // Reads the section that begins at `start`. False when it cannot be had whole; what is here then is of no use.
    bool Read(std::string_view stream, std::size_t start, std::int32_t documentVersion, std::int32_t writtenVersion, OleReadBudget& budget);
    // Appends the section to a stream. From the first write on the dictionary stands in the list as a property of id 0.
    void Write(std::string& stream);

    // Replaces type and value of a known id (then the name does not count) or adds a property at the tail, with its name.
    // The value is in the form of olePayloadOf; false, and nothing changed, when it does not fit the type.
    bool SetProperty(std::uint32_t id, std::string_view value, std::uint32_t type, std::optional<std::u16string_view> name = std::nullopt);
    // In the form of oleValueOf; empty when the id is absent or its type unknown.
    std::optional<std::string> GetPropertyValue(std::uint32_t id) const;
    // The property and the first of its names go; other names of the id stay.
    bool RemoveProperty(std::uint32_t id);
    // One more than the largest id above 2 and below 0x01000000. With the top bit in flags ids count without theirs.
    std::uint32_t NextFreeId(std::uint32_t flags = 0) const;
    // False when the name was there, whose id then stays. A name "KV-stem(alias)" gives "KV-stem" and "KV-alias" to the id
    // as well, taking them from any other.
    bool AddName(std::uint32_t id, std::u16string_view name);
    // Names that a removed property of the id has left behind.
    void forgetNames(std::uint32_t id);
    std::optional<std::uint32_t> FindIdByName(std::u16string_view name) const;
    const std::u16string* FindNameById(std::uint32_t id) const { return names.firstOf(id); }
    // Knows a name "KV-stem(alias)" by its parts as well.
    const suOleProperty* FindPropertyByName(std::u16string_view name) const;
    const suOleProperty* findById(std::uint32_t id) const;

    // The code page of the section's narrow texts; 0 is the system's.
    unsigned CodePage() const { return iCodePageFor(versionForCodePage); }

    const std::list<suOleProperty>& getProperties() const noexcept { return properties; }
    const suPropertyNames& getNames() const noexcept { return names; }
    // Something was set, added or removed since the section was made, read or told to be unchanged.
    bool isChanged() const noexcept { return changed; }
    void setUnchanged() noexcept { changed = false; }
    // Texts stand in a code page that nothing here can convert.
    bool hasUnknownTexts() const noexcept { return unknownTexts; }

    FMTID formatId;
    std::uint32_t size = 0;          // as last read
    std::uint32_t propertyCount = 0; // as last read
    std::u16string sectionName;
    std::int32_t versionForCodePage; // from 3321 property 1 is the code page

private:
    using PropertyList = std::list<suOleProperty>;
    using IdIndex = std::multimap<std::uint32_t, PropertyList::iterator>; // equal ids in the order of the list

    struct DictionaryEntry
    {
        std::uint32_t id;
        std::string_view name;
    };

    void iClear() noexcept;
    bool iReadProperties(std::string_view stream, std::size_t start, OleReadBudget& budget);
    bool iReadDictionary(std::string_view stream, std::size_t at, OleReadBudget& budget);
    void iApplyDictionary(unsigned codePage);
    void iCleanIds();
    void iRenumber(IdIndex::iterator at);
    void iRemoveNameless();
    void iMoveTexts(unsigned from, unsigned to);
    void iWriteDictionary(std::string& stream) const;

    unsigned iCodePageFor(std::int32_t version) const;
    suOleProperty* iFind(std::uint32_t id);
    void iAppend(std::uint32_t id, std::uint32_t type, std::string_view stored);
    std::uint32_t iLargestBelowCompanions(std::uint32_t firstId) const; // 0 when there is none from firstId on

    PropertyList properties;
    IdIndex byId;
    suPropertyNames names;
    std::vector<DictionaryEntry> dictionaryEntries; // only while reading
    bool changed = false;
    bool unknownTexts = false;
};

} // namespace kvdm
