// The module: how many of its objects live and how often a host holds it in memory.
#pragma once

#include "automation/interfaceTraits.h"

namespace kvdm {

// Counts of the process, touched from any thread.
class CKvDocumentMgrApp
{
public:
    static void objectMade() noexcept { ++objects; }
    static void objectGone() noexcept { --objects; }
    static void lock() noexcept { ++locks; }
    static void unlock() noexcept { --locks; }
    static bool canUnload() noexcept { return objects == 0 && locks == 0; }

private:
    inline static std::atomic<long> objects{0};
    inline static std::atomic<long> locks{0};
};

// To be a member of every automation class: counts it while it lives.
struct ModuleCount
{
    ModuleCount() noexcept { CKvDocumentMgrApp::objectMade(); }
    ~ModuleCount() { CKvDocumentMgrApp::objectGone(); }
    ModuleCount(const ModuleCount&) = delete;
    ModuleCount& operator=(const ModuleCount&) = delete;
};

// An automation class that offers ISupportErrorInfo in front of its own interfaces. No method sets error information.
template <class... Interfaces> class ErrorInfoObject : public AutomationObject<ISupportErrorInfo, Interfaces...>
{
public:
    HRESULT STDMETHODCALLTYPE InterfaceSupportsErrorInfo(REFIID id) noexcept final
    {
        return (listsInterface<Interfaces>(id) || ...) ? S_OK : S_FALSE;
    }

private:
    // The chain of one interface, IUnknown aside.
    template <class Interface> static bool listsInterface(REFIID id) noexcept { return id != IID_IUnknown && answersFor<Interface>(id); }

    ModuleCount counted;
};

} // namespace kvdm
