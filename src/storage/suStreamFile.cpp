#include "storage/suStreamFile.h"

#include "common/automationText.h"
#include "common/exceptions.h"
#include "platform/files/files.h"
#include "storage/lockbytes/streamTransfer.h"

#include <utility>

namespace kvdm {

namespace {

// Statuses of storages below 0x100, and all those of the system, carry the number of a system error in their low half.
constexpr std::uint32_t facilityStorage = 0x80030000;
constexpr std::uint32_t facilitySystem = 0x80070000;

bool carriesSystemError(HRESULT status)
{
    const auto value = static_cast<std::uint32_t>(status);
    return (value & 0xFFFF0000) == facilitySystem || ((value & 0xFFFF0000) == facilityStorage && (value & 0xFFFF) < 0x100);
}

void require(HRESULT status)
{
    if (FAILED(status))
        throwFileStatus(status);
}

IStream& requireOpen(const ComPtr<IStream>& stream)
{
    if (!stream)
        throwFileStatus(STG_E_INVALIDHANDLE);
    return *stream;
}

} // namespace

int fileCauseOfStatus(HRESULT status) noexcept
{
    if (SUCCEEDED(status))
        return suFileException::none;
    if (status == STG_E_INUSE)
        return suFileException::sharingViolation;
    if (status == E_OUTOFMEMORY || !carriesSystemError(status))
        return suFileException::generic;
    switch (static_cast<std::uint32_t>(status) & 0xFFFF) {
    case errorFileNotFound:
        return suFileException::fileNotFound;
    case errorPathNotFound:
        return suFileException::badPath;
    case errorTooManyOpenFiles:
        return suFileException::tooManyOpenFiles;
    case errorAccessDenied:
    case errorFileExists:
        return suFileException::accessDenied;
    case errorInvalidHandle:
        return suFileException::invalidFile;
    case STG_E_SEEKERROR & 0xFFFF:
        return suFileException::badSeek;
    case errorWriteFault:
    case errorReadFault:
        return suFileException::hardIO;
    case errorSharingViolation:
        return suFileException::sharingViolation;
    case errorLockViolation:
        return suFileException::lockViolation;
    case errorDiskFull:
        return suFileException::diskFull;
    default:
        return suFileException::generic;
    }
}

void throwFileStatus(HRESULT status, std::u16string fileName)
{
    throw suFileException(static_cast<suFileException::Cause>(fileCauseOfStatus(status)), carriesSystemError(status) ? status & 0xFFFF : status,
                          std::move(fileName));
}

bool suStreamFile::openStream(IStorage& storage, const std::u16string& name, DWORD mode)
{
    return iOpen([&](IStream** out) { return storage.OpenStream(toOle(name), nullptr, mode, 0, out); });
}

bool suStreamFile::createStream(IStorage& storage, const std::u16string& name, DWORD mode)
{
    return iOpen([&](IStream** out) { return storage.CreateStream(toOle(name), mode, 0, 0, out); });
}

bool suStreamFile::createMemoryStream()
{
    return iOpen([](IStream** out) { return CreateStreamOnHGlobal(nullptr, 1, out); });
}

// A call that failed may leave anything in its out-parameter.
template <class Opening> bool suStreamFile::iOpen(Opening&& opening)
{
    Close();
    IStream* opened = nullptr;
    status = opening(&opened);
    if (SUCCEEDED(status) && !opened)
        status = E_UNEXPECTED;
    if (SUCCEEDED(status))
        stream = ComPtr<IStream>::adopt(opened);
    return isOpen();
}

void suStreamFile::attach(ComPtr<IStream> other) noexcept
{
    stream = std::move(other);
    status = S_OK;
}

std::size_t suStreamFile::Read(void* buffer, std::size_t count)
{
    std::size_t done = 0;
    require(readFully(requireOpen(stream), buffer, count, done));
    return done;
}

void suStreamFile::Write(const void* buffer, std::size_t count)
{
    std::size_t done = 0;
    require(writeFully(requireOpen(stream), buffer, count, done));
    if (done != count)
        throwFileStatus(STG_E_MEDIUMFULL);
}

std::uint64_t suStreamFile::Seek(std::int64_t offset, Origin origin)
{
    static constexpr DWORD origins[] = {STREAM_SEEK_SET, STREAM_SEEK_CUR, STREAM_SEEK_END};
    std::uint64_t reached = 0;
    require(seekStream(requireOpen(stream), offset, origins[static_cast<int>(origin)], &reached));
    if (reached == UINT64_MAX)
        throwFileStatus(STG_E_SEEKERROR); // it does not tell
    return reached;
}

std::uint64_t suStreamFile::GetPosition()
{
    return Seek(0, Origin::current);
}

std::uint64_t suStreamFile::GetLength()
{
    STATSTG statistics{};
    require(requireOpen(stream).Stat(&statistics, STATFLAG_NONAME));
    return statistics.cbSize.QuadPart;
}

void suStreamFile::SetLength(std::uint64_t bytes)
{
    ULARGE_INTEGER size;
    size.QuadPart = bytes;
    require(requireOpen(stream).SetSize(size));
}

void suStreamFile::Flush()
{
    if (stream)
        require(stream->Commit(STGC_DEFAULT));
}

void suStreamFile::Close()
{
    stream.reset();
}

std::uint64_t suStreamFile::bytesLeft()
{
    if (!stream)
        return 0;
    STATSTG statistics{};
    std::uint64_t position = UINT64_MAX;
    if (FAILED(stream->Stat(&statistics, STATFLAG_NONAME)) || FAILED(seekStream(*stream, 0, STREAM_SEEK_CUR, &position)) || position == UINT64_MAX)
        return UINT64_MAX;
    return position < statistics.cbSize.QuadPart ? statistics.cbSize.QuadPart - position : 0;
}

} // namespace kvdm
