// A file object as archives and codecs know it: a position, reading, writing. Its errors are suFileException.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvdm {

class suFile
{
public:
    enum class Origin
    {
        begin,
        current,
        end
    };

    virtual ~suFile() = default;

    // Returns the bytes read; fewer than count only at the end.
    virtual std::size_t Read(void* buffer, std::size_t count) = 0;
    // Writes all or throws.
    virtual void Write(const void* buffer, std::size_t count) = 0;
    virtual std::uint64_t Seek(std::int64_t offset, Origin origin) = 0;
    virtual std::uint64_t GetPosition() = 0;
    virtual std::uint64_t GetLength() = 0;
    virtual void SetLength(std::uint64_t bytes) = 0;
    virtual void Flush() = 0;
    // Ends the use of the file; errors that were held back come out here. A second call does nothing.
    virtual void Close() = 0;

    // The name that an archive over this file reports in its exceptions.
    virtual std::u16string GetFileName() const { return {}; }
    // Bytes still to be read when that is known at no cost; readers compare counts from a stream with it before they take
    // memory. The largest value when it is not known (a decoder's output).
    virtual std::uint64_t bytesLeft() { return UINT64_MAX; }
};

} // namespace kvdm
