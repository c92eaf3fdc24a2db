#include "automation/CKvDMConfigurationMgr.h"

#include "automation/automationValues.h"
#include "automation/callOnCore.h"
#include "automation/CKvDMApplication.h"
#include "automation/CKvDMConfiguration.h"
#include "automation/dmConfiguration_c.h"
#include "automation/dmDocument_c.h"

namespace kvdm {

CKvDMConfigurationMgr::~CKvDMConfigurationMgr()
{
    core->releaseConfigMgrWrapper(); // may end the core: touch nothing after this
}

HRESULT CKvDMConfigurationMgr::get_Application(IKvDMApplication** application) noexcept
{
    return makeApplication(application);
}

HRESULT CKvDMConfigurationMgr::get_Document(IKvDMDocument** document) noexcept
{
    return callOnCore(
        core, [&](dmDocument_c& owner) { return owner.wrapDocument(document); }, document);
}

HRESULT CKvDMConfigurationMgr::GetConfigurationCount(LONG* count) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *count = document.getConfigurationCount();
            return S_OK;
        },
        count);
}

HRESULT CKvDMConfigurationMgr::GetConfigurationByName(BSTR name, IKvDMConfiguration** configuration) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            *configuration = nullptr;
            dmConfiguration_c* found = document.getConfiguration(OwnedBstr::viewOf(name));
            return found ? CKvDMConfiguration::wrap(*found, configuration) : E_FAIL;
        },
        configuration);
}

HRESULT CKvDMConfigurationMgr::GetConfigurationNames(VARIANT* names) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            VariantInit(names);
            std::vector<std::u16string> texts;
            if (!document.getConfigurationNames(texts))
                return E_FAIL;
            *names = arrayOfTexts(texts).detach();
            return S_OK;
        },
        names);
}

HRESULT CKvDMConfigurationMgr::GetActiveConfigurationName(BSTR* name) noexcept
{
    return callOnCore(
        core,
        [&](dmDocument_c& document) {
            giveText(document.getActiveConfigurationName(), name);
            return S_OK;
        },
        name);
}

} // namespace kvdm
