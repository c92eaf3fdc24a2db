#include "platform/imaging/images.h"

#include <bit>
#include <cstring>

namespace kvdm {

namespace {

constexpr std::uint32_t headerSize = 40;
constexpr std::uint32_t opaque = 0xFF000000;
constexpr std::uint64_t mostPixelsPerByte = 4096; // of run-length data, which may leave pixels out

enum Compression : std::uint32_t
{
    rgb = 0,
    runLength8 = 1,
    runLength4 = 2,
    bitFields = 3
};

template <class Value> Value valueAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    Value value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

// One channel of a 16- or 32-bit pixel in 8 bits: of more bits the upper ones, fewer are repeated until they fill the byte.
struct Channel
{
    explicit Channel(std::uint32_t bits) : mask(bits), shift(bits ? std::countr_zero(bits) : 0), width(std::bit_width(bits >> shift)) {}
    std::uint32_t of(std::uint32_t pixel) const
    {
        const std::uint32_t value = (pixel & mask) >> shift;
        if (width >= 8)
            return value >> (width - 8);
        std::uint32_t spread = 0;
        for (int left = 8 - width; width > 0 && left > -width; left -= width)
            spread |= left >= 0 ? value << left : value >> -left;
        return spread;
    }

    std::uint32_t mask;
    int shift;
    int width;
};

class DibDecoder
{
public:
    explicit DibDecoder(std::span<const std::uint8_t> bytes) : dib(bytes) {}

    std::optional<ArgbImage> decode()
    {
        if (!readHeader())
            return std::nullopt;
        const bool runs = compression == runLength8 || compression == runLength4;
        const std::uint64_t count = std::uint64_t{image.width} * image.height;
        if (count > mostPixels)
            return std::nullopt;
        const std::uint64_t stride = (std::uint64_t{image.width} * bits + 31) / 32 * 4;
        const std::uint64_t size = runs ? valueAt<std::uint32_t>(dib, 20) : stride * image.height;
        const std::uint64_t tableSize = placeTables(size, runs);
        pixelOffset = headerSize + tableSize;
        if (pixelOffset > dib.size())
            return std::nullopt;
        const std::uint64_t left = dib.size() - pixelOffset;
        if (runs ? count > left * mostPixelsPerByte : size > left)
            return std::nullopt;
        bits <= 8 ? readColours(tableSize / 4) : readMasks();
        image.pixels.assign(count, runs ? colours[0] : opaque);
        if (runs)
            decodeRuns();
        else
            for (std::uint32_t row = 0; row < image.height; ++row)
                decodeRow(dib.subspan(pixelOffset + row * stride, stride), rowOf(row));
        return std::move(image);
    }

private:
    bool readHeader()
    {
        if (dib.size() < headerSize || valueAt<std::uint32_t>(dib, 0) != headerSize)
            return false;
        const auto width = valueAt<std::int32_t>(dib, 4);
        const auto height = valueAt<std::int32_t>(dib, 8);
        bits = valueAt<std::uint16_t>(dib, 14);
        compression = valueAt<std::uint32_t>(dib, 16);
        if (width <= 0 || height == 0 || height == INT32_MIN)
            return false;
        topDown = height < 0;
        image.width = static_cast<std::uint32_t>(width);
        image.height = static_cast<std::uint32_t>(topDown ? -height : height);
        const bool depthIsKnown = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
        const bool formFits = compression == rgb || (compression == runLength8 && bits == 8 && !topDown) ||
                              (compression == runLength4 && bits == 4 && !topDown) || (compression == bitFields && (bits == 16 || bits == 32));
        return depthIsKnown && formFits;
    }

    // The bytes between header and pixels. Previews have a colour for each value of fewer than 24 bits, whatever the header
    // counts; bitmaps of other writers have as many colours as it counts, and none (or three masks) from 16 bits on. Which of
    // them this is shows in the size.
    std::uint64_t placeTables(std::uint64_t pixelBytes, bool runs) const
    {
        const std::uint64_t present = dib.size() - headerSize;
        const std::uint64_t full = bits < 24 ? std::uint64_t{4} << bits : 0;
        const std::uint32_t counted = valueAt<std::uint32_t>(dib, 32);
        std::uint64_t other = full;
        if (bits > 8)
            other = compression == bitFields ? 12 : 0;
        else if (counted > 0 && counted < (1u << bits))
            other = std::uint64_t{4} * counted;
        if (bits >= 24)
            return other;
        const bool isFull = runs ? present >= full && present != other + pixelBytes : present >= full + pixelBytes;
        return isFull ? full : other;
    }

    // Values that have no colour are black.
    void readColours(std::uint64_t count)
    {
        colours.assign(std::size_t{1} << bits, opaque);
        for (std::size_t i = 0; i < count; ++i)
            colours[i] |= valueAt<std::uint32_t>(dib, headerSize + 4 * i);
    }

    void readMasks()
    {
        if (bits == 16) {
            red = Channel(0x7C00);
            green = Channel(0x03E0);
            blue = Channel(0x001F);
        }
        if (compression != bitFields)
            return;
        red = Channel(valueAt<std::uint32_t>(dib, headerSize));
        green = Channel(valueAt<std::uint32_t>(dib, headerSize + 4));
        blue = Channel(valueAt<std::uint32_t>(dib, headerSize + 8));
    }

    std::uint32_t* rowOf(std::uint32_t stored)
    {
        return image.pixels.data() + std::size_t{topDown ? stored : image.height - 1 - stored} * image.width;
    }

    std::uint32_t composed(std::uint32_t pixel) const { return opaque | red.of(pixel) << 16 | green.of(pixel) << 8 | blue.of(pixel); }

    // The depths of nearly every preview have loops of their own.
    void decodeRow(std::span<const std::uint8_t> row, std::uint32_t* out) const
    {
        if (bits == 24) {
            const std::uint8_t* in = row.data();
            for (std::uint32_t x = 0; x < image.width; ++x, in += 3)
                out[x] = opaque | std::uint32_t{in[2]} << 16 | std::uint32_t{in[1]} << 8 | in[0];
            return;
        }
        if (bits == 32 && compression == rgb) {
            for (std::uint32_t x = 0; x < image.width; ++x)
                out[x] = opaque | valueAt<std::uint32_t>(row, std::size_t{x} * 4);
            return;
        }
        for (std::uint32_t x = 0; x < image.width; ++x) {
            if (bits <= 8) {
                const unsigned shift = 8 - bits - (x * bits) % 8;
                out[x] = colours[(row[std::size_t{x} * bits / 8] >> shift) & ((1u << bits) - 1)];
            } else if (bits == 16) {
                out[x] = composed(valueAt<std::uint16_t>(row, std::size_t{x} * 2));
            } else {
                out[x] = composed(valueAt<std::uint32_t>(row, std::size_t{x} * 4));
            }
        }
    }

    void put(std::uint64_t x, std::uint64_t y, unsigned index)
    {
        if (x < image.width && y < image.height)
            rowOf(static_cast<std::uint32_t>(y))[x] = colours[index]; // of as many bits as there are colours
    }

    // Pairs of bytes: a run, or 0 and an escape: end of line, end of picture, a step, or a number of literal pixels.
    void decodeRuns()
    {
        const std::span<const std::uint8_t> data = dib.subspan(pixelOffset);
        const auto indexOf = [this](std::uint8_t byte, unsigned i) { return bits == 8 ? byte : i % 2 == 0 ? byte >> 4 : byte & 15; };
        std::uint64_t x = 0;
        std::uint64_t y = 0;
        for (std::size_t at = 0; at + 2 <= data.size() && y < image.height;) {
            const unsigned count = data[at];
            const unsigned code = data[at + 1];
            at += 2;
            if (count > 0) {
                for (unsigned i = 0; i < count; ++i)
                    put(x++, y, indexOf(static_cast<std::uint8_t>(code), i));
            } else if (code == 0) {
                x = 0;
                ++y;
            } else if (code == 1) {
                return;
            } else if (code == 2) {
                if (at + 2 > data.size())
                    return;
                x += data[at];
                y += data[at + 1];
                at += 2;
            } else {
                const std::size_t bytes = bits == 8 ? code : (code + 1) / 2;
                if (at + bytes > data.size())
                    return;
                for (unsigned i = 0; i < code; ++i)
                    put(x++, y, indexOf(data[at + (bits == 8 ? i : i / 2)], i));
                at += (bytes + 1) / 2 * 2;
            }
        }
    }

    std::span<const std::uint8_t> dib;
    ArgbImage image;
    std::uint32_t bits = 0;
    std::uint32_t compression = rgb;
    bool topDown = false;
    std::size_t pixelOffset = 0;
    std::vector<std::uint32_t> colours;
    Channel red{0x00FF0000};
    Channel green{0x0000FF00};
    Channel blue{0x000000FF};
};

} // namespace

std::optional<ArgbImage> decodeDib(std::span<const std::uint8_t> dib)
{
    return DibDecoder(dib).decode();
}

} // namespace kvdm
