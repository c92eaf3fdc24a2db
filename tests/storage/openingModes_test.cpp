// In which modes a document's file is opened, and in which again when the storage refuses. The system's function is replaced
// in this program by one that notes the modes and refuses when a test says so.
#include "storage/suStructuredStorage.h"

#include "common/exceptions.h"
#include "support/DocumentBuilder.h"
#include "support/TemporaryFolder.h"

#include <kvdocmgr/text.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

HRESULT refusal = S_OK; // of the next call
std::vector<DWORD> modes;

} // namespace

HRESULT StgOpenStorageOnILockBytes(ILockBytes* bytes, IStorage* priority, DWORD mode, SNB exclude, DWORD reserved, IStorage** out) noexcept
{
    static const auto systems = reinterpret_cast<decltype(&StgOpenStorageOnILockBytes)>(dlsym(RTLD_NEXT, "StgOpenStorageOnILockBytes"));
    modes.push_back(mode);
    const HRESULT status = std::exchange(refusal, S_OK);
    return FAILED(status) ? status : systems(bytes, priority, mode, exclude, reserved, out);
}

namespace kvdm::test {
namespace {

TEST(OpeningModes, AreTriedInTheirOrder)
{
    TemporaryFolder folder;
    DocumentBuilder(1234).write(folder / "a.kvdprt");
    struct Case
    {
        const char* name;
        bool readWrite;
        bool snapshot;
        HRESULT refused;
        std::vector<DWORD> tried;
        bool opens;
    };
    constexpr const char* plain = "a.kvdprt";
    constexpr const char* embedded = "<a.kvdprt>b";
    for (const Case& c : {
             Case{plain, true, false, S_OK, {0x10022}, true},
             Case{plain, true, false, STG_E_LOCKVIOLATION, {0x10022}, false},
             Case{plain, true, false, STG_E_TOOMANYOPENFILES, {0x10022}, false},
             Case{plain, false, false, S_OK, {0x210040}, true},
             Case{plain, false, false, STG_E_LOCKVIOLATION, {0x210040, 0x10000}, true},
             Case{plain, false, false, STG_E_TOOMANYOPENFILES, {0x210040, 0x10040}, true},
             Case{plain, false, false, STG_E_SHAREVIOLATION, {0x210040}, false},
             Case{plain, false, true, STG_E_LOCKVIOLATION, {0x10040, 0x10000}, true},
             Case{plain, false, true, STG_E_TOOMANYOPENFILES, {0x10040}, false},
             Case{embedded, true, false, STG_E_SHAREVIOLATION, {0x10022, 0x10040}, true},
             Case{embedded, false, false, STG_E_SHAREVIOLATION, {0x210040, 0x10040}, true},
             Case{embedded, false, false, STG_E_LOCKVIOLATION, {0x210040}, false},
         }) {
        modes.clear();
        refusal = c.refused;
        HRESULT thrown = S_OK;
        try {
            const suStructuredStorage storage(fromUtf8(folder / c.name), c.readWrite, nullptr, nullptr, c.snapshot, false);
        } catch (const suOleException& failure) {
            thrown = failure.status;
        }
        EXPECT_EQ(modes, c.tried) << c.name << c.readWrite << c.snapshot << std::hex << c.refused;
        EXPECT_EQ(thrown, c.opens ? S_OK : c.refused);
    }
}

} // namespace
} // namespace kvdm::test
