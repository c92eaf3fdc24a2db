// One property stream of a document or of a configuration with the two sections that the system knows.
#pragma once

#include "properties/suOlePropertySet.h"

#include <kvdocmgr/oletypes.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm {

inline constexpr std::u16string_view visiblePropertiesStream = u"\u0005DocumentSummaryInformation";
inline constexpr std::u16string_view invisiblePropertiesStream = u"IKestrovaneInformation";

// One custom property as it is listed. Reals (5) are reported as numbers (3).
struct suCustomProperty
{
    std::u16string name;
    std::uint32_t type = 0;
    std::u16string linkedTo; // the link or equation that made the value
    std::u16string value;
};

// Holds the stream's contents from one read to the next; nothing is written but by Write. Custom properties are the named
// properties of the user section with a plain id, the three reserved names aside. Their names compare without regard to
// case. A document or configuration owns it; for its thread. Throws suFileException where told, else only std::bad_alloc.
class suPropertyStore_c : public su_CObject
{
public:
    explicit suPropertyStore_c(bool withSummarySection);

    // Reads the document's visible properties, or the stream of the given name. The document's version is asked of the
    // storage when it is not told. False when there is no stream or it ends too early; what was read counts.
    bool Read(IStorage& storage, std::u16string_view name = {}, std::optional<std::int32_t> documentVersion = std::nullopt);
    // Replaces the stream and removes its version marker; a stream that did not read whole and in which nothing was changed
    // stays as it is. False when the stream can be neither opened nor made. Throws a file exception when writing fails.
    bool Write(IStorage& storage, std::u16string_view name = {});
    // A save must neither write nor remove the stream.
    bool isLeftAlone() const noexcept { return set.isLeftAlone(); }
    bool hasUserProperties() const noexcept { return !userSection->getProperties().empty(); }

    // ---- custom properties: values as text ----

    // False, and nothing changed, when the name is in use (as an alias or a reserved name too) or the text does not fit
    // the type. A number (3) with a "." becomes a real.
    bool AddCustomProperty(std::u16string_view name, std::uint32_t type, std::u16string_view text);
    // The text of the link where there is one, else the value. False and an empty text for an unknown name.
    bool GetCustomProperty(std::u16string_view name, std::uint32_t& type, std::u16string& text) const;
    bool GetCustomPropertyValues(std::u16string_view name, std::uint32_t& type, std::u16string& linkedTo, std::u16string& value) const;
    // Keeps the type and cuts the link. False, and the old value stays, when the text does not fit.
    bool SetCustomProperty(std::u16string_view name, std::u16string_view text);
    // Takes reserved names as well.
    bool DeleteCustomProperty(std::u16string_view name);
    std::size_t GetCustomPropertyCount() const;
    // In the order of the section: that of the file, then that of adding.
    std::vector<std::u16string> GetCustomPropertyNames() const;
    std::vector<suCustomProperty> GetAllCustomPropertyNamesAndValues() const;

    // ---- reserved properties ----

    // Stores the links, or removes the property when there are none. The other list, of the same length or nothing is done,
    // tells which links were changed: by the flag 0x20000, 0x10000 where the other link is empty.
    void SetLinkList(const std::vector<std::u16string>& links, const std::vector<std::u16string>* others);
    // Appends the links; their count, 0 when the list does not read.
    std::size_t GetLinkList(std::vector<std::u16string>& links) const;
    // False for a list that ends early or holds what cannot be read: its links, written back, would be a cut list.
    bool isLinkListWhole() const;
    void SetLock(std::int32_t value);
    std::optional<std::int32_t> GetLock() const;
    void SetLockPerson(std::u16string_view name);
    std::optional<std::u16string> GetLockPerson() const;

    suOlePropertySection* getDocSummarySection() noexcept { return docSummarySection; } // null without a summary section
    const suOlePropertySection* getDocSummarySection() const noexcept { return docSummarySection; }
    suOlePropertySection& getUserSection() noexcept { return *userSection; }
    const suOlePropertySection& getUserSection() const noexcept { return *userSection; }

    const bool hasSummarySection;
    bool dirty = false; // set by SetCustomProperty alone

private:
    void iBind();
    const suOleProperty* iFindCustom(std::u16string_view name) const;
    template <class Visitor> void iForEachCustom(Visitor&& visit) const;
    std::size_t iReadLinks(std::vector<std::u16string>& links, bool& isWhole) const;
    bool iSetReserved(std::u16string_view name, std::string_view value, std::uint32_t type);
    const suOleProperty* iFindReserved(std::u16string_view name, std::uint32_t type) const;

    suOlePropertySet set;
    suOlePropertySection* docSummarySection = nullptr; // both point into set
    suOlePropertySection* userSection = nullptr;
};

} // namespace kvdm
