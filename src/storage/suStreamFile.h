// The stream file object: an IStream as a file with a position. One object serves many streams, one after another.
#pragma once

#include "storage/suFile.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

namespace kvdm {

class suStreamFile final : public suFile
{
public:
    suStreamFile() = default;
    ~suStreamFile() override = default;

    // Each returns false with lastError set when the storage refuses; an attached stream is closed first.
    bool openStream(IStorage& storage, const std::u16string& name, DWORD mode);
    bool createStream(IStorage& storage, const std::u16string& name, DWORD mode);
    bool createMemoryStream();
    void attach(ComPtr<IStream> other) noexcept;

    bool isOpen() const noexcept { return static_cast<bool>(stream); }
    IStream* getStream() const noexcept { return stream.get(); }
    HRESULT lastError() const noexcept { return status; }

    std::size_t Read(void* buffer, std::size_t count) override;
    void Write(const void* buffer, std::size_t count) override;
    std::uint64_t Seek(std::int64_t offset, Origin origin) override;
    std::uint64_t GetPosition() override;
    std::uint64_t GetLength() override;
    void SetLength(std::uint64_t bytes) override;
    void Flush() override;
    void Close() override;
    std::uint64_t bytesLeft() override;

private:
    template <class Opening> bool iOpen(Opening&& opening);

    ComPtr<IStream> stream;
    HRESULT status = S_OK;
};

// The cause of a file exception that stands for a status of structured storage.
int fileCauseOfStatus(HRESULT status) noexcept;
// Throws that exception, with the number of the system's error where the status carries one.
[[noreturn]] void throwFileStatus(HRESULT status, std::u16string fileName = {});

} // namespace kvdm
