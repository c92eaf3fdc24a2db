// Search paths and filters, as clients set them.
#pragma once

#include "automation/module.h"

#include <string>
#include <vector>

namespace kvdm {

class CKvDMSearchOption final : public ErrorInfoObject<ICommonCADSearchOption, IKvDMSearchOption>
{
public:
    HRESULT STDMETHODCALLTYPE AddSearchPath(BSTR path) noexcept override;
    HRESULT STDMETHODCALLTYPE RemoveSearchPath(BSTR path) noexcept override;
    HRESULT STDMETHODCALLTYPE GetAllSearchPaths(VARIANT* paths) noexcept override;
    HRESULT STDMETHODCALLTYPE ClearAllSearchPaths() noexcept override;
    HRESULT STDMETHODCALLTYPE get_SearchFilters(LONG* filters) noexcept override;
    HRESULT STDMETHODCALLTYPE put_SearchFilters(LONG filters) noexcept override;

private:
    ~CKvDMSearchOption() override = default;

    std::vector<std::u16string> searchPaths;
    LONG searchFilters = 0;
};

} // namespace kvdm
