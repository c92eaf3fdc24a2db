#include "automation/CKvDMSearchOption.h"

#include "automation/automationValues.h"
#include "common/statusOfException.h"
#include "platform/text/casing.h"

#include <algorithm>

namespace kvdm {

HRESULT CKvDMSearchOption::AddSearchPath(BSTR path) noexcept
{
    return automationCall([&] {
        searchPaths.emplace_back(OwnedBstr::viewOf(path));
        return S_OK;
    });
}

// The first one that is equal without regard to case.
HRESULT CKvDMSearchOption::RemoveSearchPath(BSTR path) noexcept
{
    const auto found = std::find_if(searchPaths.begin(), searchPaths.end(),
                                    [&](const std::u16string& known) { return equalNoCase(known, OwnedBstr::viewOf(path)); });
    if (found != searchPaths.end())
        searchPaths.erase(found);
    return S_OK;
}

HRESULT CKvDMSearchOption::GetAllSearchPaths(VARIANT* paths) noexcept
{
    return automationCall([&] {
        if (!paths)
            return E_POINTER;
        VariantInit(paths);
        *paths = arrayOfTexts(searchPaths).detach();
        return S_OK;
    });
}

HRESULT CKvDMSearchOption::ClearAllSearchPaths() noexcept
{
    searchPaths.clear();
    return S_OK;
}

HRESULT CKvDMSearchOption::get_SearchFilters(LONG* filters) noexcept
{
    if (!filters)
        return E_POINTER;
    *filters = searchFilters;
    return S_OK;
}

HRESULT CKvDMSearchOption::put_SearchFilters(LONG filters) noexcept
{
    searchFilters = filters;
    return S_OK;
}

} // namespace kvdm
