#include "support/pngPeer.h"

#include <png.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace kvdm::bench::png {

namespace {

struct Source
{
    const std::vector<std::uint8_t>& bytes;
    std::size_t position = 0;
};

void give(png_structp reader, png_bytep out, png_size_t count)
{
    Source& source = *static_cast<Source*>(png_get_io_ptr(reader));
    if (count > source.bytes.size() - source.position)
        png_error(reader, "the end");
    std::memcpy(out, source.bytes.data() + source.position, count);
    source.position += count;
}

// Only plain values and what the caller owns live between setjmp and longjmp.
bool read(png_structp reader, png_infop info, Pixels& pixels, std::vector<png_bytep>& rows)
{
    if (setjmp(png_jmpbuf(reader)))
        return false;
    png_read_info(reader, info);
    png_set_expand(reader);
    png_set_scale_16(reader);
    png_set_gray_to_rgb(reader);
    png_set_add_alpha(reader, 0xFF, PNG_FILLER_AFTER);
    png_set_bgr(reader); // 0xAARRGGBB on a little-endian machine
    png_set_interlace_handling(reader);
    png_read_update_info(reader, info);
    pixels.width = png_get_image_width(reader, info);
    const std::uint32_t height = png_get_image_height(reader, info);
    pixels.argb.resize(std::size_t{pixels.width} * height);
    rows.resize(height);
    for (std::uint32_t y = 0; y < height; ++y)
        rows[y] = reinterpret_cast<png_bytep>(pixels.argb.data() + std::size_t{y} * pixels.width);
    png_read_image(reader, rows.data());
    png_read_end(reader, nullptr);
    return true;
}

} // namespace

Pixels decode(const std::vector<std::uint8_t>& file)
{
    Source source{file};
    Pixels pixels;
    std::vector<png_bytep> rows;
    png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = reader ? png_create_info_struct(reader) : nullptr;
    bool done = false;
    if (info) {
        png_set_read_fn(reader, &source, &give);
        done = read(reader, info, pixels, rows);
    }
    png_destroy_read_struct(&reader, &info, nullptr);
    if (!done)
        throw std::runtime_error("libpng: the picture is not decoded");
    return pixels;
}

} // namespace kvdm::bench::png
