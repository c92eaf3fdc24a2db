// Bodies as documents hold them: a whole stream behind a prefix, or an entry of a "LocalBodies" stream. The first three bytes
// choose: the document version (16 bits), and of the third bit 0 which of both, the rest the index of the entry.
//
// A file that knows its length and one that does not must give the same entry, and it is a piece of what was put in. What
// comes out on the disk must be what the decompressor gives in memory, and nothing stays behind.
#include "PiecewiseFile.h"
#include "platform/files/files.h"
#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/bodies/bodyExtraction.h"
#include "storage/bodies/localBodies.h"
#include "storage/codecs/conversionFolder.h"
#include "storage/codecs/suPkZipProc_c.h"
#include "storage/suDiskFile.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

namespace {

using namespace kvdm;
using fuzz::PiecewiseFile;
using Bytes = std::vector<std::uint8_t>;

void require(bool holds)
{
    if (!holds)
        std::abort();
}

// Head and payload of an entry; empty when there is none that is whole.
std::optional<Bytes> localBody(suFile& file, int version, std::int32_t index)
{
    su_CArchive archive(&file, su_CArchive::load | su_CArchive::noFlushOnDelete);
    try {
        const std::optional<LocalBody> body = findLocalBody(archive, version, index);
        if (!body)
            return std::nullopt;
        Bytes bytes;
        archive.readValues(bytes, body->payloadSize);
        bytes.insert(bytes.begin(), body->head.begin(), body->head.end());
        return bytes;
    } catch (const suException&) {
        return std::nullopt;
    }
}

Bytes decompressed(const Bytes& bytes, std::size_t prefix)
{
    suMemoryFile source(bytes);
    suMemoryFile target;
    source.Seek(static_cast<std::int64_t>(prefix), suFile::Origin::begin);
    return suPkZipProc_c(source, target, false).decompress(0) ? target.content() : Bytes();
}

Bytes contentOf(std::u16string_view path)
{
    const auto file = suDiskFile::open(path, FileAccess::read, FileCreation::openExisting);
    require(file != nullptr);
    Bytes bytes(file->GetLength());
    require(file->Read(bytes.data(), bytes.size()) == bytes.size());
    return bytes;
}

// What extraction to the disk makes of an archive, beside what memory holds of the same bytes.
void extract(su_CArchive& archive, const LocalBody* entry, const Bytes& stored, std::size_t prefix)
{
    const std::u16string target = conversionFolder() + u"body";
    const KvDmBodyError outcome = entry ? extractBody(entry->head, archive, entry->payloadSize, u"temporary", prefix, target)
                                        : extractBody({}, archive, untilEndOfStream, u"temporary", prefix, target);
    const Bytes expected = decompressed(stored, prefix);
    require(outcome == (expected.empty() ? kvBodyErrorDecompression : kvDmBodyErrorNone));
    require(outcome != kvDmBodyErrorNone || contentOf(target) == expected);
    require(deleteFile(target));
    removeConversionFolder();
    require(!fileAccess(conversionFolder(), 0));
}

void readLocalBodies(const Bytes& input, int version, std::int32_t index)
{
    suMemoryFile whole(input);
    PiecewiseFile pieces(input, 251);
    const std::optional<Bytes> body = localBody(whole, version, index);
    require(body == localBody(pieces, version, index));
    if (!body)
        return;
    require(index >= 0 && std::search(input.begin(), input.end(), body->begin(), body->end()) != input.end());
    whole.Seek(0, suFile::Origin::begin);
    su_CArchive archive(&whole, su_CArchive::load | su_CArchive::noFlushOnDelete);
    const std::optional<LocalBody> entry = findLocalBody(archive, version, index);
    require(entry && entry->payloadSize == body->size() - entry->head.size());
    extract(archive, &*entry, *body, bodyPrefix(version));
}

void readBodyStream(const Bytes& input, std::size_t prefix)
{
    PiecewiseFile file(input, 251);
    su_CArchive archive(&file, su_CArchive::load | su_CArchive::noFlushOnDelete);
    extract(archive, nullptr, input, prefix);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 3)
        return 0;
    const int version = (data[0] | data[1] << 8) % 3802;
    const Bytes input(data + 3, data + size);
    if (data[2] & 1)
        readLocalBodies(input, version, static_cast<std::int8_t>(data[2]) >> 1);
    else
        readBodyStream(input, bodyPrefix(version));
    return 0;
}
