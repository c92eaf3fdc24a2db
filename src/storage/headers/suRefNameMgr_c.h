// The names that referenced files have got since a document was saved.
#pragma once

#include "platform/text/casing.h"

#include <map>
#include <string>
#include <string_view>

namespace kvdm {

class suStructuredStorage;

// A map in memory: it fills while the library works and leaves nothing in the document. Names and paths compare without
// regard to case.
class suRefNameMgr_c
{
public:
    void load(suStructuredStorage&) { names.clear(); }
    void store(suStructuredStorage&) const {}

    // What the file or path is called now; null when nothing is known of it.
    const std::u16string* newName(std::u16string_view oldName) const
    {
        const auto at = names.find(oldName);
        return at == names.end() ? nullptr : &at->second;
    }
    void enter(std::u16string_view oldName, std::u16string_view newer) { names.insert_or_assign(std::u16string(oldName), std::u16string(newer)); }

    std::map<std::u16string, std::u16string, LessNoCase> names;
};

} // namespace kvdm
