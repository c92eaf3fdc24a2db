#include "storage/previews/suDibRecord.h"

#include "storage/archive/su_CArchive.h"
#include "storage/suStructuredStorage.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <memory>

namespace kvdm {

namespace {

constexpr std::uint32_t infoHeaderSize = 40;
constexpr std::size_t mostBytes = std::size_t{1} << 28; // a compressed stream may hold far more than the file has
constexpr std::uint8_t pngSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

} // namespace

void suDibRecord::load(su_CArchive& archive)
{
    data.clear();
    format = 0;
    std::uint32_t size = 0;
    if (archive.Read(&size, sizeof size) < sizeof size || size > mostBytes)
        return;
    try {
        archive.readValues(data, size);
    } catch (const suArchiveException&) {
        data.clear(); // fewer bytes than told
    }
    std::uint32_t headerSize = 0;
    if (data.size() >= sizeof headerSize)
        std::memcpy(&headerSize, data.data(), sizeof headerSize);
    if (headerSize != infoHeaderSize)
        data.clear();
}

void suDibRecord::loadPng(su_CArchive& archive)
{
    format = formatPng;
    data.clear();
    constexpr std::size_t pieceSize = 0x10000;
    const auto piece = std::make_unique_for_overwrite<std::uint8_t[]>(pieceSize); // far more than most previews have
    for (std::size_t read = pieceSize; read == pieceSize;) {
        read = archive.Read(piece.get(), pieceSize);
        data.insert(data.end(), piece.get(), piece.get() + read);
        if (data.size() > mostBytes)
            throw suFileException(suFileException::generic);
    }
}

bool suDibRecord::store(su_CArchive& archive) const
{
    if (format != formatPng) {
        archive << static_cast<std::uint32_t>(data.size());
        archive.Write(data.data(), data.size());
        return true;
    }
    if (data.size() >= sizeof pngSignature && std::equal(std::begin(pngSignature), std::end(pngSignature), data.begin())) {
        archive.Write(data.data(), data.size());
        return true;
    }
    const std::optional<ArgbImage> image = decodeDib(data);
    const std::optional<std::vector<std::uint8_t>> file = image ? encodeImage(*image, "image/png") : std::nullopt;
    if (!file)
        return false;
    archive.Write(file->data(), file->size());
    return true;
}

std::optional<ArgbImage> suDibRecord::decode() const
{
    return format == formatPng ? decodePng(data) : decodeDib(data);
}

suDibRecord loadPreviewFromFile(std::u16string_view path, std::u16string_view streamName)
{
    suDibRecord record;
    try {
        suStructuredStorage storage(path, false, nullptr, nullptr, false, true);
        const auto attach = [&](std::u16string_view name) { return storage.attachToNode(false, std::u16string(name), true, 0); };
        const auto isPng = [](std::u16string_view name) { return name.ends_with(u"PreviewPNG"); };
        if (!storage.getRootStorage())
            return record;
        const std::u16string_view first = streamName.empty() ? std::u16string_view(u"PreviewPNG") : streamName;
        if (attach(first))
            isPng(first) ? record.loadPng(storage.getArchive()) : record.load(storage.getArchive());
        else if (streamName.empty() && attach(u"Preview"))
            record.load(storage.getArchive());
    } catch (const std::exception&) {
        record.data.clear();
    }
    return record;
}

} // namespace kvdm
