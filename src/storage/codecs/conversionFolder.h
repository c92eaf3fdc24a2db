// The folder of this process for whole-file conversions: "kvx" and the process id, in the folder that the environment
// variable "temp" or "tmp" names. File names in it are fixed, so one conversion runs at a time.
#pragma once

#include "platform/files/files.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace kvdm {

// With its trailing separator. The path alone: nothing is made.
std::u16string conversionFolder();
// Removes the folder when it is there and empty.
void removeConversionFolder();

// A file of the folder (which is made when missing, and refused when others can write there), new and empty, readable by its
// owner alone; removed by the destructor, with the folder when it is empty then. Read and written by position; failures are
// suFileException.
class ConversionFile
{
public:
    explicit ConversionFile(std::u16string_view name);
    ~ConversionFile();
    ConversionFile(const ConversionFile&) = delete;
    ConversionFile& operator=(const ConversionFile&) = delete;

    // The file stays, for a client who knows to find it there.
    void leaveBehind() noexcept;
    const std::u16string& path() const noexcept { return filePath; }
    std::size_t read(void* buffer, std::size_t count); // fewer only at the end
    void write(const void* buffer, std::size_t count);
    void rewind() noexcept { position = 0; }
    std::uint64_t length();

private:
    std::u16string filePath;
    std::unique_ptr<OpenFile> file;
    std::uint64_t position = 0;
};

} // namespace kvdm
