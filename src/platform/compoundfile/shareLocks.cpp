#include "platform/compoundfile/shareLocks.h"

#include "platform/compoundfile/format.h"

#include <chrono>
#include <map>
#include <mutex>
#include <thread>

namespace kvdm {
namespace {

// Places in the lock region.
constexpr std::uint32_t snapshotReadersFirst = 0x00, snapshotReadersLast = 0x57;
constexpr std::uint32_t readersFirst = 0x6C, readersLast = 0x7F; // readers without a snapshot
constexpr std::uint32_t looking = 0x92;
constexpr std::uint32_t readingFirst = 0x93, readingLast = 0xA6;
constexpr std::uint32_t writingFirst = 0xA7, writingLast = 0xBA;
constexpr std::uint32_t denyReadFirst = 0xBB, denyReadLast = 0xCE;
constexpr std::uint32_t denyWriteFirst = 0xCF, denyWriteLast = 0xE2;

constexpr DWORD accessMask = 0x3, shareMask = 0x70;

ULARGE_INTEGER wide(std::uint64_t value) noexcept
{
    ULARGE_INTEGER result;
    result.QuadPart = value;
    return result;
}

// What a byte array says when another handle holds the lock: in the words of storage or of the operating system.
bool isConflict(HRESULT status) noexcept
{
    switch (static_cast<std::uint32_t>(status)) {
    case 0x80030021: // STG_E_LOCKVIOLATION
    case 0x80030020: // STG_E_SHAREVIOLATION
    case 0x80030005: // STG_E_ACCESSDENIED
    case 0x80070021:
    case 0x80070020:
        return true;
    default:
        return false;
    }
}

struct Census
{
    std::mutex mutex;
    std::map<IUnknown*, unsigned> readers;
};

Census& census()
{
    static Census all;
    return all;
}

} // namespace

ShareLocks::ShareLocks(ComPtr<ILockBytes> lockBytes) : bytes(std::move(lockBytes))
{
    void* same = nullptr;
    if (SUCCEEDED(bytes->QueryInterface(IID_IUnknown, &same)) && same) {
        identity = static_cast<IUnknown*>(same);
        identity->Release(); // the byte array itself is held
    } else
        identity = bytes.get();
}

ShareLocks::~ShareLocks()
{
    release();
}

HRESULT ShareLocks::iLock(std::uint32_t first, std::uint32_t count)
{
    return bytes->LockRegion(wide(lockRegionOffset + first), wide(count), lockType);
}

void ShareLocks::iUnlock(std::uint32_t first, std::uint32_t count) noexcept
{
    bytes->UnlockRegion(wide(lockRegionOffset + first), wide(count), lockType);
}

bool ShareLocks::iIsFree(std::uint32_t first, std::uint32_t last)
{
    const HRESULT status = iLock(first, last - first + 1);
    if (SUCCEEDED(status))
        iUnlock(first, last - first + 1);
    return !isConflict(status);
}

// A range can look full for the moment in which a writer tests all of it at once: a second and a third look decide.
HRESULT ShareLocks::iTakeOne(std::uint32_t first, std::uint32_t last)
{
    held.reserve(held.size() + 1);
    for (int attempt = 0; attempt < 20; ++attempt) {
        for (std::uint32_t place = first; place <= last; ++place) {
            const HRESULT status = iLock(place, 1);
            if (SUCCEEDED(status)) {
                held.push_back(place);
                return S_OK;
            }
            if (!isConflict(status))
                return status;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return STG_E_TOOMANYOPENFILES;
}

HRESULT ShareLocks::acquire(DWORD mode)
{
    const bool readsOnly = (mode & accessMask) == STGM_READ;
    HRESULT status = iAcquire(mode);
    DWORD announced = 0; // asked only when there is trouble: most byte arrays take the first kind or none
    if (FAILED(status) && !isConflict(status)) {
        STATSTG statistics{};
        if (SUCCEEDED(bytes->Stat(&statistics, STATFLAG_NONAME)))
            announced = statistics.grfLocksSupported & (LOCK_ONLYONCE | LOCK_EXCLUSIVE);
        if (announced == LOCK_EXCLUSIVE) {
            release();
            lockType = LOCK_EXCLUSIVE;
            status = iAcquire(mode);
        }
    }
    const bool refused = isConflict(status) || status == STG_E_TOOMANYOPENFILES;
    if (FAILED(status) && !refused) {
        // No locks to be had here. A writer of a byte array that promises locks is told; everybody else goes without.
        release();
        if (announced != 0 && !readsOnly && status != STG_E_INVALIDFUNCTION && status != E_NOTIMPL && status != STG_E_UNIMPLEMENTEDFUNCTION)
            return status;
        supported = false;
        status = S_OK;
        if (readsOnly) {
            const std::lock_guard lock(census().mutex);
            ++census().readers[identity];
            counted = true;
        }
    }
    if (FAILED(status))
        release();
    return status;
}

HRESULT ShareLocks::iAcquire(DWORD mode)
{
    const DWORD access = mode & accessMask, share = mode & shareMask;
    const bool reads = access != STGM_WRITE, writes = access != STGM_READ;
    const bool deniesRead = share == STGM_SHARE_EXCLUSIVE || share == STGM_SHARE_DENY_READ;
    const bool deniesWrite = share == STGM_SHARE_EXCLUSIVE || share == STGM_SHARE_DENY_WRITE || writes;

    HRESULT status = iLock(looking, 1);
    for (int attempt = 0; attempt < 1000 && isConflict(status); ++attempt) { // others look only for a moment
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        status = iLock(looking, 1);
    }
    if (FAILED(status))
        return isConflict(status) ? STG_E_LOCKVIOLATION : status;

    const auto decide = [&]() -> HRESULT {
        if (reads && !iIsFree(denyReadFirst, denyReadLast))
            return STG_E_SHAREVIOLATION;
        if (writes && !iIsFree(denyWriteFirst, denyWriteLast))
            return STG_E_SHAREVIOLATION;
        if (deniesRead && (!iIsFree(readingFirst, readingLast) || !iIsFree(snapshotReadersFirst, readersLast)))
            return STG_E_LOCKVIOLATION;
        if (deniesWrite && !iIsFree(writingFirst, writingLast))
            return STG_E_LOCKVIOLATION;
        HRESULT taken = S_OK;
        if (reads) {
            taken = iTakeOne(readingFirst, readingLast);
            if (taken == STG_E_TOOMANYOPENFILES && !writes)
                taken = S_OK; // its place among the readers tells of it as well
        }
        if (SUCCEEDED(taken) && writes)
            taken = iTakeOne(writingFirst, writingLast);
        if (SUCCEEDED(taken) && deniesRead)
            taken = iTakeOne(denyReadFirst, denyReadLast);
        if (SUCCEEDED(taken) && deniesWrite)
            taken = iTakeOne(denyWriteFirst, denyWriteLast);
        if (SUCCEEDED(taken) && !writes)
            taken = (mode & STGM_NOSNAPSHOT) != 0 ? iTakeOne(readersFirst, readersLast) : iTakeOne(snapshotReadersFirst, snapshotReadersLast);
        return taken;
    };
    status = decide();
    iUnlock(looking, 1);
    return status;
}

void ShareLocks::release() noexcept
{
    for (const std::uint32_t place : held)
        iUnlock(place, 1);
    held.clear();
    if (counted) {
        const std::lock_guard lock(census().mutex);
        const auto entry = census().readers.find(identity);
        if (entry != census().readers.end() && --entry->second == 0)
            census().readers.erase(entry);
        counted = false;
    }
}

bool ShareLocks::readersPresent()
{
    if (supported)
        return !iIsFree(snapshotReadersFirst, readersLast);
    const std::lock_guard lock(census().mutex);
    return census().readers.contains(identity);
}

} // namespace kvdm
