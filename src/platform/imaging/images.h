// Raster images: decoded pixels, and the files that they come from and go to.
#pragma once

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace kvdm {

// 0xAARRGGBB, the top row first, without gaps.
struct ArgbImage
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::vector<std::uint32_t> pixels;
};

// No image has more pixels than this: one that announces more does not decode.
inline constexpr std::uint64_t mostPixels = std::uint64_t{1} << 26;

// Empty for anything that does not decode whole. Memory is taken only for images that the bytes can hold.
std::optional<ArgbImage> decodePng(std::span<const std::uint8_t> file);

// A file of the type "image/png", "image/jpeg" or "image/bmp"; empty for any other type.
std::optional<std::vector<std::uint8_t>> encodeImage(const ArgbImage& image, std::string_view mimeType);

// A device-independent bitmap without file header: BITMAPINFOHEADER of 40 bytes, colour table, pixels. All bit depths and the
// run-length forms. Empty for one that does not decode; a picture whose pixel data are cut is one of these, but runs that
// end early leave the rest in the first colour.
std::optional<ArgbImage> decodeDib(std::span<const std::uint8_t> dib);

// How an image fills a given size.
enum class FitMode
{
    keepAspect, // the whole image, the larger side of the target reduced so that the ratio stays, on white
    cutBand     // the target filled: a band in the middle of the image is cut out by the ratio of the sides
};
// Empty for a size of 0.
std::optional<ArgbImage> fitImage(const ArgbImage& image, std::uint32_t width, std::uint32_t height, FitMode mode);

// The picture object over these pixels (IKvPicture off Windows). It keeps the companion for as long as it lives: the module
// that its code lies in must stay.
ComPtr<IDispatch> makePicture(ArgbImage image, std::shared_ptr<void> companion = nullptr);

} // namespace kvdm
