#include "platform/imaging/images.h"

#include <algorithm>
#include <cmath>

namespace kvdm {

namespace {

constexpr std::uint32_t white = 0xFFFFFFFF;

struct Area
{
    double left;
    double top;
    double width;
    double height;
};

// Each target pixel takes the source pixel at its middle, as a stretching transfer does.
void stretch(const ArgbImage& source, const Area& from, ArgbImage& target, std::uint32_t left, std::uint32_t top, std::uint32_t width,
             std::uint32_t height)
{
    const auto sourceAt = [](double begin, double extent, std::uint32_t i, std::uint32_t count, std::uint32_t limit) {
        const double at = begin + (i + 0.5) * extent / count;
        return static_cast<std::uint32_t>(std::clamp(at, 0.0, limit - 1.0));
    };
    for (std::uint32_t y = 0; y < height; ++y) {
        const std::uint32_t* row = source.pixels.data() + std::size_t{sourceAt(from.top, from.height, y, height, source.height)} * source.width;
        std::uint32_t* out = target.pixels.data() + std::size_t{top + y} * target.width + left;
        for (std::uint32_t x = 0; x < width; ++x)
            out[x] = row[sourceAt(from.left, from.width, x, width, source.width)];
    }
}

} // namespace

std::optional<ArgbImage> fitImage(const ArgbImage& image, std::uint32_t width, std::uint32_t height, FitMode mode)
{
    if (width == 0 || height == 0 || image.pixels.empty())
        return std::nullopt;
    const double sourceWidth = image.width;
    const double sourceHeight = image.height;
    if (mode == FitMode::keepAspect) {
        const double scale = std::min(width / sourceWidth, height / sourceHeight);
        const auto reduced = [scale](double side, std::uint32_t most) {
            return std::clamp<std::uint32_t>(static_cast<std::uint32_t>(std::lround(side * scale)), 1, most);
        };
        ArgbImage target{reduced(sourceWidth, width), reduced(sourceHeight, height), {}};
        target.pixels.assign(std::size_t{target.width} * target.height, white);
        stretch(image, {0, 0, sourceWidth, sourceHeight}, target, 0, 0, target.width, target.height);
        return target;
    }
    double band = sourceHeight * width / height;
    if (band > sourceWidth + 0.001)
        band = sourceWidth; // wider than there is: the full width
    ArgbImage target{width, height, std::vector<std::uint32_t>(std::size_t{width} * height, white)};
    stretch(image, {(sourceWidth - band) * 0.5, 0, band, sourceHeight}, target, 0, 0, width, height);
    return target;
}

} // namespace kvdm
