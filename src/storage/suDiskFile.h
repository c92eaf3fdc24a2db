// A file of the system as a file object.
#pragma once

#include "platform/files/files.h"
#include "storage/suFile.h"

#include <memory>

namespace kvdm {

class suDiskFile final : public suFile
{
public:
    explicit suDiskFile(std::unique_ptr<OpenFile> open) noexcept : file(std::move(open)) {}
    // Null when the system refuses.
    static std::unique_ptr<suDiskFile> open(std::u16string_view path, FileAccess access, FileCreation creation);

    std::size_t Read(void* buffer, std::size_t count) override;
    void Write(const void* buffer, std::size_t count) override;
    std::uint64_t Seek(std::int64_t offset, Origin origin) override;
    std::uint64_t GetPosition() override { return position; }
    std::uint64_t GetLength() override;
    void SetLength(std::uint64_t bytes) override;
    void Flush() override {}
    void Close() override { file.reset(); }
    std::uint64_t bytesLeft() override;

private:
    OpenFile& iFile();

    std::unique_ptr<OpenFile> file;
    std::uint64_t position = 0;
};

} // namespace kvdm
