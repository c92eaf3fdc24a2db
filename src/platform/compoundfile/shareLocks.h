// Share modes of an open compound file, kept as byte-range locks in the region that the format reserves, so that they hold
// between handles of one process and between processes.
//
// Every opener takes one byte in each range that tells what it does (reads, writes) and denies; who wants what another denies,
// or denies what another does, is refused. One byte serialises the openers while they look. All of these lie where the
// system's own read-only byte arrays pass locks over in silence, so that many readers share a file.
//
// A reader that denies nothing must be noticed all the same: while it is there, no sector of an older state may be written
// over. Every handle that only reads therefore also takes a byte in one of two other ranges, for handles that work on the file
// itself and for all others. A writer asks readersPresent() before it uses sectors that a commit has set free.
//
// A byte array that has no locks (STG_E_INVALIDFUNCTION, E_NOTIMPL) is used without them; its readers are then counted within
// this process alone, by the identity of the byte array.
//
// Only one handle may write at a time, whatever it denies.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <vector>

namespace kvdm {

class ShareLocks
{
public:
    explicit ShareLocks(ComPtr<ILockBytes> lockBytes);
    ~ShareLocks();
    ShareLocks(const ShareLocks&) = delete;
    ShareLocks& operator=(const ShareLocks&) = delete;

    // Takes the locks of an open in that mode. STG_E_SHAREVIOLATION when another handle denies what is wanted,
    // STG_E_LOCKVIOLATION when another does what is to be denied, STG_E_TOOMANYOPENFILES when a range is full. Nothing is held
    // after a failure.
    HRESULT acquire(DWORD mode);
    void release() noexcept;

    // False only when no handle of anybody can be reading a state of the file that is not the current one.
    bool readersPresent();

private:
    HRESULT iAcquire(DWORD mode);
    HRESULT iLock(std::uint32_t first, std::uint32_t count);
    void iUnlock(std::uint32_t first, std::uint32_t count) noexcept;
    HRESULT iTakeOne(std::uint32_t first, std::uint32_t last);
    bool iIsFree(std::uint32_t first, std::uint32_t last);

    ComPtr<ILockBytes> bytes;
    IUnknown* identity = nullptr; // a key, never called
    DWORD lockType = LOCK_ONLYONCE;
    bool supported = true;
    bool counted = false;
    std::vector<std::uint32_t> held;
};

} // namespace kvdm
