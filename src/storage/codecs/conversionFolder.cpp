#include "storage/codecs/conversionFolder.h"

#include "common/decimalNumber.h"
#include "common/exceptions.h"
#include "storage/suStreamFile.h"

#include <optional>

namespace kvdm {

namespace {

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
    return folder + u"kvx" + decimalText(processId()) + separator;
}

void removeConversionFolder()
{
    std::u16string folder = conversionFolder();
    folder.pop_back();
    removeFolder(folder);
}

// Everybody can foresee the names, and the folder may lie where everybody can write: a folder that somebody else has put there
// or can change is refused, and the file is a new one, so that a link under its name is removed and never written through.
ConversionFile::ConversionFile(std::u16string_view name)
{
    const std::u16string folder = conversionFolder();
    if (!makePrivateFolder(folder.substr(0, folder.size() - 1)))
        throw suFileException(suFileException::accessDenied, -1, folder);
    const std::u16string path = folder + std::u16string(name);
    deleteFile(path);
    std::uint32_t error = errorNone;
    file = openFile(path, FileAccess::readWrite, FileCreation::createPrivate, error);
    if (!file)
        throwSystemError(error, path);
    filePath = path;
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
