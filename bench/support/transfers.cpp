#include "support/transfers.h"

#include "common/automationObject.h"

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <string>

namespace kvdm::bench {

namespace {

Transfers countersNow()
{
    std::ifstream file("/proc/self/io");
    Transfers now;
    std::string key;
    std::uint64_t value = 0;
    while (file >> key >> value) {
        if (key == "rchar:")
            now.bytesRead = value;
        else if (key == "wchar:")
            now.bytesWritten = value;
        else if (key == "syscr:")
            now.readCalls = value;
        else if (key == "syscw:")
            now.writeCalls = value;
    }
    return now;
}

Transfers difference(const Transfers& later, const Transfers& earlier)
{
    return {later.bytesRead - earlier.bytesRead, later.bytesWritten - earlier.bytesWritten, later.readCalls - earlier.readCalls,
            later.writeCalls - earlier.writeCalls};
}

class CountedFile final : public AutomationObject<ILockBytes>
{
public:
    CountedFile(std::FILE* opened, Transfers& counters) : file(opened), counts(counters) {}

    HRESULT ReadAt(ULARGE_INTEGER offset, void* buffer, ULONG count, ULONG* read) noexcept override
    {
        const bool placed = fseeko(file, static_cast<off_t>(offset.QuadPart), SEEK_SET) == 0;
        const std::size_t got = placed ? std::fread(buffer, 1, count, file) : 0;
        counts.bytesRead += got;
        ++counts.readCalls;
        if (read)
            *read = static_cast<ULONG>(got);
        return placed ? S_OK : STG_E_SEEKERROR;
    }
    HRESULT WriteAt(ULARGE_INTEGER offset, const void* buffer, ULONG count, ULONG* written) noexcept override
    {
        const bool placed = fseeko(file, static_cast<off_t>(offset.QuadPart), SEEK_SET) == 0;
        const std::size_t put = placed ? std::fwrite(buffer, 1, count, file) : 0;
        counts.bytesWritten += put;
        ++counts.writeCalls;
        if (written)
            *written = static_cast<ULONG>(put);
        return put == count ? S_OK : STG_E_WRITEFAULT;
    }
    HRESULT Flush() noexcept override { return std::fflush(file) == 0 ? S_OK : STG_E_WRITEFAULT; }
    HRESULT SetSize(ULARGE_INTEGER size) noexcept override
    {
        return std::fflush(file) == 0 && ftruncate(fileno(file), static_cast<off_t>(size.QuadPart)) == 0 ? S_OK : STG_E_MEDIUMFULL;
    }
    HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return STG_E_INVALIDFUNCTION; }
    HRESULT Stat(STATSTG* statistics, DWORD) noexcept override
    {
        *statistics = {};
        statistics->type = STGTY_LOCKBYTES;
        fseeko(file, 0, SEEK_END);
        statistics->cbSize.QuadPart = static_cast<std::uint64_t>(ftello(file));
        return S_OK;
    }

private:
    ~CountedFile() override { std::fclose(file); }

    std::FILE* file;
    Transfers& counts;
};

} // namespace

Transfers transfersOf(const std::function<void()>& work)
{
    const Transfers start = countersNow();
    const Transfers before = countersNow();
    work();
    const Transfers after = countersNow();
    return difference(difference(after, before), difference(before, start)); // reading the counters is no part of the work
}

ComPtr<ILockBytes> countedFile(const char* path, bool writable, Transfers& counts)
{
    std::FILE* file = std::fopen(path, writable ? "r+b" : "rb");
    if (!file)
        throw std::runtime_error(std::string(path) + " cannot be opened");
    const ComPtr<CountedFile> made = makeObject<CountedFile>(file, counts);
    return ComPtr<ILockBytes>::share(made.get());
}

} // namespace kvdm::bench
