// The exceptions of the system. They are raised where a stream or a file cannot be understood and end at the few attach and
// read boundaries; none of them leaves the library. A handler that stands for "any failure of the framework" catches
// std::exception, since exhausted memory is std::bad_alloc.
#pragma once

#include <cstdint>
#include <exception>
#include <string>

namespace kvdm {

class suException : public std::exception
{
public:
    const char* what() const noexcept override { return text.c_str(); }

protected:
    explicit suException(std::string message) : text(std::move(message)) {}

private:
    std::string text;
};

// An object stream that does not decode.
class suArchiveException final : public suException
{
public:
    enum Cause : int
    {
        generic = 1,
        endOfFile = 3,
        badIndex = 5,
        badClass = 6,
        badSchema = 7
    };

    explicit suArchiveException(Cause why, std::u16string file = {})
        : suException("archive exception, cause " + std::to_string(int{why})), cause(why), fileName(std::move(file))
    {}

    Cause cause;
    std::u16string fileName;
};

// A file or stream that could not be read or written.
class suFileException : public suException
{
public:
    enum Cause : int
    {
        none = 0,
        generic = 1,
        fileNotFound = 2,
        badPath = 3,
        tooManyOpenFiles = 4,
        accessDenied = 5,
        invalidFile = 6,
        directoryFull = 8,
        badSeek = 9,
        hardIO = 10,
        sharingViolation = 11,
        lockViolation = 12,
        diskFull = 13,
        endOfFile = 14
    };

    explicit suFileException(Cause why, std::int32_t systemError = -1, std::u16string file = {})
        : suException("file exception, cause " + std::to_string(int{why})), cause(why), osError(systemError), fileName(std::move(file))
    {}

    Cause cause;
    std::int32_t osError; // the platform's own error number, -1 when none is known
    std::u16string fileName;
};

// A failed call of structured storage; status is its HRESULT.
class suOleException final : public suException
{
public:
    explicit suOleException(std::int32_t failure) : suException("OLE exception, status " + std::to_string(failure)), status(failure) {}

    std::int32_t status;
};

class suNotSupportedException final : public suException
{
public:
    suNotSupportedException() : suException("not supported") {}
};

class suInvalidArgumentException final : public suException
{
public:
    suInvalidArgumentException() : suException("invalid argument") {}
};

} // namespace kvdm
