// PNG by libpng, JPEG by libjpeg-turbo, BMP by hand.
#include "platform/imaging/images.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <jpeglib.h>
#include <png.h>

namespace kvdm {

namespace {

constexpr std::uint64_t mostDeflateRatio = 1040; // no deflate stream expands further

// Of the pixels that the file stores, by the depth and colour type of its first chunk, which has been found sound.
std::uint64_t bytesOfRow(std::span<const std::uint8_t> file, std::uint32_t width)
{
    constexpr std::size_t depthOffset = 24;
    constexpr unsigned samplesOfType[] = {1, 0, 3, 1, 2, 0, 4};
    const unsigned depth = file[depthOffset];
    const unsigned samples = samplesOfType[file[depthOffset + 1]];
    return (std::uint64_t{width} * depth * samples + 7) / 8;
}

// The simplified interface keeps its errors in the image, without long jumps.
class PngImage
{
public:
    PngImage()
    {
        std::memset(&image, 0, sizeof image);
        image.version = PNG_IMAGE_VERSION;
    }
    ~PngImage() { png_image_free(&image); }
    PngImage(const PngImage&) = delete;
    PngImage& operator=(const PngImage&) = delete;

    png_image image;
};

std::optional<std::vector<std::uint8_t>> encodePng(const ArgbImage& source)
{
    PngImage png;
    png.image.width = source.width;
    png.image.height = source.height;
    png.image.format = PNG_FORMAT_BGRA; // 0xAARRGGBB on a little-endian machine
    png_alloc_size_t size = 0;
    if (!png_image_write_get_memory_size(png.image, size, 0, source.pixels.data(), 0, nullptr))
        return std::nullopt;
    std::vector<std::uint8_t> file(size);
    if (!png_image_write_to_memory(&png.image, file.data(), &size, 0, source.pixels.data(), 0, nullptr))
        return std::nullopt;
    file.resize(size);
    return file;
}

struct JpegErrors
{
    jpeg_error_mgr manager;
    std::jmp_buf back;
};

void failJpeg(j_common_ptr jpeg)
{
    std::longjmp(reinterpret_cast<JpegErrors*>(jpeg->err)->back, 1);
}

void dropMessage(j_common_ptr) {}

// Where the compressed bytes go: the caller's room first, and malloc'd room when that has become too small.
struct JpegTarget
{
    unsigned char* room;
    unsigned char* bytes;
    unsigned long size;

    ~JpegTarget()
    {
        if (bytes != room)
            std::free(bytes);
    }
};

// Only plain values live between setjmp and longjmp. What the library has made stands in the target after a failure too: its
// destination has to hand over the room that it grew into before the record of it is destroyed.
bool writeJpeg(const std::uint32_t* pixels, std::uint32_t width, std::uint32_t height, JpegTarget& target)
{
    jpeg_compress_struct jpeg;
    JpegErrors errors;
    jpeg.err = jpeg_std_error(&errors.manager);
    jpeg.dest = nullptr;
    errors.manager.error_exit = failJpeg;
    errors.manager.output_message = dropMessage;
    if (setjmp(errors.back)) {
        if (jpeg.dest)
            jpeg.dest->term_destination(&jpeg);
        jpeg_destroy_compress(&jpeg);
        return false;
    }
    jpeg_create_compress(&jpeg);
    jpeg_mem_dest(&jpeg, &target.bytes, &target.size);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = 4;
    jpeg.in_color_space = JCS_EXT_BGRX;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, 90, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    while (jpeg.next_scanline < height) {
        auto* row = reinterpret_cast<JSAMPROW>(const_cast<std::uint32_t*>(pixels + std::size_t{jpeg.next_scanline} * width));
        jpeg_write_scanlines(&jpeg, &row, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    return true;
}

std::optional<std::vector<std::uint8_t>> encodeJpeg(const ArgbImage& source)
{
    if (source.width > JPEG_MAX_DIMENSION || source.height > JPEG_MAX_DIMENSION)
        return std::nullopt;
    constexpr std::size_t headers = 0x1000;
    std::vector<std::uint8_t> file(source.pixels.size() * 2 + headers);
    JpegTarget target{file.data(), file.data(), file.size()};
    if (!writeJpeg(source.pixels.data(), source.width, source.height, target))
        return std::nullopt;
    if (target.bytes == target.room)
        file.resize(target.size);
    else
        file.assign(target.bytes, target.bytes + target.size);
    return file;
}

template <class Value> void append(std::vector<std::uint8_t>& out, Value value)
{
    for (std::size_t i = 0; i < sizeof value; ++i)
        out.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
}

// 24 bits a pixel, bottom row first: what every reader of bitmaps takes.
std::optional<std::vector<std::uint8_t>> encodeBmp(const ArgbImage& source)
{
    constexpr std::uint32_t fileHeader = 14;
    constexpr std::uint32_t infoHeader = 40;
    const std::uint64_t stride = (std::uint64_t{source.width} * 3 + 3) / 4 * 4;
    const std::uint64_t size = fileHeader + infoHeader + stride * source.height;
    if (size > UINT32_MAX)
        return std::nullopt;
    std::vector<std::uint8_t> file;
    file.reserve(size);
    append<std::uint16_t>(file, 19778); // "BM"
    append(file, static_cast<std::uint32_t>(size));
    append<std::uint32_t>(file, 0);
    append(file, fileHeader + infoHeader);
    append(file, infoHeader);
    append(file, source.width);
    append(file, source.height);
    append<std::uint16_t>(file, 1);
    append<std::uint16_t>(file, 24);
    for (const std::uint32_t value : {0u, static_cast<std::uint32_t>(stride * source.height), 0u, 0u, 0u, 0u})
        append(file, value);
    for (std::uint32_t row = source.height; row-- > 0;) {
        const std::size_t begin = file.size();
        for (std::uint32_t x = 0; x < source.width; ++x) {
            const std::uint32_t pixel = source.pixels[std::size_t{row} * source.width + x];
            for (int shift = 0; shift < 24; shift += 8)
                file.push_back(static_cast<std::uint8_t>(pixel >> shift));
        }
        file.resize(begin + stride);
    }
    return file;
}

} // namespace

std::optional<ArgbImage> decodePng(std::span<const std::uint8_t> file)
{
    PngImage png;
    if (!png_image_begin_read_from_memory(&png.image, file.data(), file.size()))
        return std::nullopt;
    const std::uint64_t count = std::uint64_t{png.image.width} * png.image.height;
    if (count == 0 || count > mostPixels || bytesOfRow(file, png.image.width) * png.image.height > file.size() * mostDeflateRatio)
        return std::nullopt;
    png.image.format = PNG_FORMAT_BGRA;
    png.image.flags |= PNG_IMAGE_FLAG_16BIT_sRGB; // 16-bit samples are no more linear than those of 8 bits
    ArgbImage decoded{png.image.width, png.image.height, std::vector<std::uint32_t>(count)};
    if (!png_image_finish_read(&png.image, nullptr, decoded.pixels.data(), 0, nullptr))
        return std::nullopt;
    return decoded;
}

std::optional<std::vector<std::uint8_t>> encodeImage(const ArgbImage& image, std::string_view mimeType)
{
    if (image.width == 0 || image.height == 0)
        return std::nullopt;
    if (mimeType == "image/png")
        return encodePng(image);
    if (mimeType == "image/jpeg")
        return encodeJpeg(image);
    if (mimeType == "image/bmp")
        return encodeBmp(image);
    return std::nullopt;
}

} // namespace kvdm
