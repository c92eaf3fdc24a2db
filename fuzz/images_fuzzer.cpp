// Pictures from previews: what decodes is whole, keeps within the bound, survives being written and fitted; what does not is
// refused without a trace. The first byte chooses bitmap or PNG and the size to fit into.
#include "platform/imaging/images.h"

#include <cstdlib>
#include <span>
#include <vector>

#include <zlib.h>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

// Checksums that are right, or no change of a byte would come past the first chunk.
std::vector<std::uint8_t> withChecksums(std::span<const std::uint8_t> file)
{
    std::vector<std::uint8_t> bytes(file.begin(), file.end());
    for (std::size_t at = 8; bytes.size() >= 12 && at <= bytes.size() - 12;) {
        const std::uint64_t length = std::uint64_t{bytes[at]} << 24 | bytes[at + 1] << 16 | bytes[at + 2] << 8 | bytes[at + 3];
        if (length > bytes.size() - 12 - at)
            break;
        const auto check = static_cast<std::uint32_t>(crc32(0, bytes.data() + at + 4, static_cast<uInt>(length + 4)));
        at += length + 8;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes[at++] = static_cast<std::uint8_t>(check >> shift);
    }
    return bytes;
}

bool isWhole(const kvdm::ArgbImage& image)
{
    return image.width > 0 && image.height > 0 && std::uint64_t{image.width} * image.height == image.pixels.size() &&
           image.pixels.size() <= kvdm::mostPixels;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::span<const std::uint8_t> bytes(data + 1, size - 1);
    const auto image = data[0] & 1 ? kvdm::decodePng(withChecksums(bytes)) : kvdm::decodeDib(bytes);
    if (!image)
        return 0;
    require(isWhole(*image));
    if (image->pixels.size() > 1 << 16)
        return 0; // large ones take their time and tell nothing more

    const auto png = kvdm::encodeImage(*image, "image/png");
    const auto back = png ? kvdm::decodePng(*png) : std::nullopt;
    require(back && back->width == image->width && back->height == image->height && back->pixels == image->pixels);

    const auto bitmap = kvdm::encodeImage(*image, "image/bmp");
    const auto flat = bitmap ? kvdm::decodeDib(std::span(*bitmap).subspan(14)) : std::nullopt; // behind the header of the file
    require(flat && flat->width == image->width && flat->pixels.size() == image->pixels.size());
    for (std::size_t i = 0; i < flat->pixels.size(); ++i)
        require(flat->pixels[i] == (image->pixels[i] | 0xFF000000));

    require(kvdm::encodeImage(*image, "image/jpeg").has_value() == (image->width <= 65500 && image->height <= 65500));

    const std::uint32_t width = (data[0] >> 1 & 7) * 5;
    const std::uint32_t height = (data[0] >> 4) * 3;
    for (const auto mode : {kvdm::FitMode::keepAspect, kvdm::FitMode::cutBand}) {
        const auto fitted = kvdm::fitImage(*image, width, height, mode);
        require(fitted.has_value() == (width > 0 && height > 0));
        require(!fitted || (isWhole(*fitted) && fitted->width <= width && fitted->height <= height));
    }
    return 0;
}
