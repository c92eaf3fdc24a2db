// What the tests of archives share.
#pragma once

#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "support/ArchiveBuilder.h"

#include <gtest/gtest.h>

#include <functional>
#include <optional>

namespace kvdm::test {

// An archive that loads these bytes.
struct Loader
{
    explicit Loader(Bytes bytes, std::size_t bufferSize = su_CArchive::standardBufferSize)
        : file(std::move(bytes)), archive(&file, su_CArchive::load | su_CArchive::noFlushOnDelete, bufferSize)
    {}
    explicit Loader(const ArchiveBuilder& builder) : Loader(builder.bytes) {}

    suMemoryFile file;
    su_CArchive archive;
};

// An archive that stores, and what came of it.
struct Storer
{
    explicit Storer(std::size_t bufferSize = su_CArchive::standardBufferSize) : archive(&file, su_CArchive::store, bufferSize) {}
    const Bytes& bytes()
    {
        archive.Flush();
        return file.content();
    }

    suMemoryFile file;
    su_CArchive archive;
};

// The cause of the archive exception that the action ends with; empty when there is none.
inline std::optional<int> causeOf(const std::function<void()>& action)
{
    try {
        action();
    } catch (const suArchiveException& failure) {
        return failure.cause;
    }
    return std::nullopt;
}

} // namespace kvdm::test
