// Object streams with both headers. The first three bytes choose: the document version (16 bits), and how the rest is given
// to the archive (bit 0: a file that does not know its length and comes in small pieces, bit 1: the smallest buffer).
//
// What reads must store, and what was stored must read back to the same thing. Maps turn the order within a bucket of their
// table with each reading, so that a stream is compared with the one after the next.
#include "PiecewiseFile.h"
#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/headers/dmConfigMgrHeader_c.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/headers/moHeader_c.h"

#include <cstdlib>

namespace {

using namespace kvdm;
using fuzz::PiecewiseFile;
using Bytes = std::vector<std::uint8_t>;

std::shared_ptr<su_CObject> readFrom(suFile& file, int version, std::size_t bufferSize)
{
    su_CArchive archive(&file, su_CArchive::load | su_CArchive::noFlushOnDelete, bufferSize);
    const dmSerializeContext context(archive, version);
    return archive.ReadObject();
}

// Empty when the object is too deep to be stored, as a ring can be whose parts have changed places.
Bytes stored(su_CObject& object, int version)
{
    suMemoryFile file;
    su_CArchive archive(&file, su_CArchive::store | su_CArchive::noFlushOnDelete);
    const dmSerializeContext context(archive, version, dmSerializeContext::skipTimeConsistency | dmSerializeContext::skipTimeCorrection);
    try {
        archive.WriteObject(&object);
        archive.Close();
    } catch (const suArchiveException& failure) {
        if (failure.cause != suArchiveException::generic)
            std::abort();
        return {};
    }
    return file.content();
}

std::shared_ptr<su_CObject> readBack(const Bytes& bytes, int version)
{
    suMemoryFile file(bytes);
    try {
        return readFrom(file, version, su_CArchive::standardBufferSize);
    } catch (const suArchiveException& failure) {
        if (failure.cause != suArchiveException::generic)
            std::abort();
        return nullptr;
    }
}

void useHeader(const moHeader_c& header)
{
    if (header.extObjectList)
        header.extObjectList->ListReferences(true, true, true);
    (void)header.firstStampTime();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const int version = (data[0] | data[1] << 8) % 3802;
    const std::size_t bufferSize = data[2] & 2 ? 1 : su_CArchive::standardBufferSize;
    Bytes bytes(data + 3, data + size);
    std::shared_ptr<su_CObject> first;
    try {
        if (data[2] & 1) {
            PiecewiseFile file(std::move(bytes), 7);
            first = readFrom(file, version, bufferSize);
        } else {
            suMemoryFile file(std::move(bytes));
            first = readFrom(file, version, bufferSize);
        }
    } catch (const suException&) {
        return 0;
    }
    if (!first)
        return 0;
    if (const moHeader_c* header = objectAs<moHeader_c>(first.get()))
        useHeader(*header);
    const Bytes one = stored(*first, version);
    const auto second = one.empty() ? nullptr : readBack(one, version);
    const Bytes two = second ? stored(*second, version) : Bytes();
    const auto third = two.empty() ? nullptr : readBack(two, version);
    const Bytes three = third ? stored(*third, version) : Bytes();
    if (!three.empty() && three != one)
        std::abort();
    return 0;
}
