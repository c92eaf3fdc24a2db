#include "storage/previews/suDibRecord.h"

#include "storage/archive/su_CArchive.h"
#include "storage/suStructuredStorage.h"

#include <cstring>

namespace kvdm {

namespace {

constexpr std::uint32_t infoHeaderSize = 40;

} // namespace

void suDibRecord::load(su_CArchive& archive)
{
    data.clear();
    format = 0;
    const auto size = archive.read<std::uint32_t>();
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
    constexpr std::size_t piece = 0x10000;
    for (std::size_t read = piece; read == piece;) {
        const std::size_t at = data.size();
        data.resize(at + piece);
        read = archive.Read(data.data() + at, piece);
        data.resize(at + read);
    }
}

bool suDibRecord::store(su_CArchive& archive) const
{
    if (format != formatPng) {
        archive << static_cast<std::uint32_t>(data.size());
        archive.Write(data.data(), data.size());
        return true;
    }
    const std::optional<ArgbImage> image = decode();
    const std::optional<std::vector<std::uint8_t>> file = image ? encodeImage(*image, "image/png") : std::nullopt;
    if (!file)
        return false;
    archive.Write(file->data(), file->size());
    return true;
}

// A record that is to be written as PNG may hold the bitmap that it was made from.
std::optional<ArgbImage> suDibRecord::decode() const
{
    if (format == formatPng)
        if (std::optional<ArgbImage> image = decodePng(data))
            return image;
    return decodeDib(data);
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
