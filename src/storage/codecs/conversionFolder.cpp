#include "storage/codecs/conversionFolder.h"

#include "common/exceptions.h"
#include "storage/suStreamFile.h"

#include <optional>

namespace kvdm {

namespace {

std::u16string decimal(std::uint32_t number)
{
    const std::string digits = std::to_string(number);
    return {digits.begin(), digits.end()};
}

[[noreturn]] void throwSystemError(std::uint32_t error, const std::u16string& path)
{
    throw suFileException(static_cast<suFileException::Cause>(fileCauseOfStatus(statusOfSystemError(error))), static_cast<std::int32_t>(error), path);
}

} // namespace

std::u16string conversionFolder()
{
    std::optional<std::u16string> base = environmentVariable(u"temp");
    if (!base || base->empty())
        base = environmentVariable(u"tmp");
    std::u16string folder = base && !base->empty() ? *base : temporaryFolder();
    const char16_t separator = folder.starts_with(u'/') ? u'/' : u'\\';
    if (!folder.ends_with(u'/') && !folder.ends_with(u'\\'))
        folder += separator;
    return folder + u"kvx" + decimal(processId()) + separator;
}

void removeConversionFolder()
{
    std::u16string folder = conversionFolder();
    folder.pop_back();
    removeFolder(folder);
}

// The file is made under a free name that nobody could foresee and then takes the fixed one, so that a link or a file that
// someone else has put under that name is replaced and never written through.
ConversionFile::ConversionFile(std::u16string_view name)
{
    const std::u16string folder = conversionFolder();
    makeFolder(folder.substr(0, folder.size() - 1));
    std::optional<std::u16string> fresh = temporaryFile(folder, u"kvx");
    if (!fresh)
        throw suFileException(suFileException::accessDenied, -1, folder);
    filePath = folder + std::u16string(name);
    deleteFile(filePath);
    if (!renameFile(*fresh, filePath)) {
        deleteFile(*fresh);
        throw suFileException(suFileException::accessDenied, -1, filePath);
    }
    std::uint32_t error = errorNone;
    file = openFile(filePath, FileAccess::readWrite, FileCreation::openExisting, error);
    if (!file) {
        deleteFile(filePath);
        throwSystemError(error, filePath);
    }
}

ConversionFile::~ConversionFile()
{
    file.reset();
    if (!filePath.empty())
        deleteFile(filePath);
    removeConversionFolder(); // when this was the last file
}

void ConversionFile::leaveBehind() noexcept
{
    file.reset();
    filePath.clear();
}

std::size_t ConversionFile::read(void* buffer, std::size_t count)
{
    std::size_t got = 0;
    if (const std::uint32_t error = file->readAt(position, buffer, count, got); error != errorNone)
        throwSystemError(error, filePath);
    position += got;
    return got;
}

void ConversionFile::write(const void* buffer, std::size_t count)
{
    std::size_t written = 0;
    if (const std::uint32_t error = file->writeAt(position, buffer, count, written); error != errorNone)
        throwSystemError(error, filePath);
    if (written != count)
        throwSystemError(errorDiskFull, filePath);
    position += written;
}

std::uint64_t ConversionFile::length()
{
    std::uint64_t bytes = 0;
    if (const std::uint32_t error = file->size(bytes); error != errorNone)
        throwSystemError(error, filePath);
    return bytes;
}

} // namespace kvdm
