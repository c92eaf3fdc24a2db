// The automation face of a document's configurations.
#pragma once

#include "automation/module.h"

namespace kvdm {

class dmDocument_c;

class CKvDMConfigurationMgr final : public ErrorInfoObject<IKvDMConfigurationMgr>
{
public:
    explicit CKvDMConfigurationMgr(dmDocument_c& document) noexcept : core(&document) {}

    HRESULT STDMETHODCALLTYPE get_Application(IKvDMApplication** application) noexcept override;
    HRESULT STDMETHODCALLTYPE get_Document(IKvDMDocument** document) noexcept override;
    HRESULT STDMETHODCALLTYPE GetConfigurationCount(LONG* count) noexcept override;
    HRESULT STDMETHODCALLTYPE GetConfigurationByName(BSTR name, IKvDMConfiguration** configuration) noexcept override;
    HRESULT STDMETHODCALLTYPE GetConfigurationNames(VARIANT* names) noexcept override;
    HRESULT STDMETHODCALLTYPE GetActiveConfigurationName(BSTR* name) noexcept override;

private:
    ~CKvDMConfigurationMgr() override;

    dmDocument_c* core;
};

} // namespace kvdm
