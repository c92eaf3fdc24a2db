// Files of pictures, read and written; fitting pictures into a size; the picture object.
#include "platform/imaging/images.h"
#include "properties/propertyBytes.h"
#include "support/pictures.h"

#include <kvdocmgr/owned.h>
#include <kvdocmgr/picture.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace kvdm::test {
namespace {

using Pixels = std::vector<std::uint32_t>;

// Made without a PNG library: filters, depths, colour types, transparency, interlacing.
struct PngSample
{
    const char* name;
    std::uint32_t width;
    const char* hex;
    Pixels pixels;
};
const std::vector<PngSample>& pngSamples()
{
    static const std::vector<PngSample> samples{
        {"colours with alpha",
         2,
         "89504e470d0a1a0a0000000d494844520000000200000002080600000072b60d24000000144944415478da63f8cfc0f01f081b182134c37f003ae5067cec0d4618000000004"
         "9"
         "454e44ae426082",
         {0xFFFF0000, 0x8000FF00, 0x000000FF, 0xFFFF00FF}},
        {"colours", 2,
         "89504e470d0a1a0a0000000d4948445200000002000000020802000000fdd49a73000000164944415478da63f8cfc0c0f09f8189f13fc37f4606001e060401305858ec00000"
         "0"
         "0049454e44ae426082",
         pixelsOf("RG/GR")},
        {"a palette with alpha",
         3,
         "89504e470d0a1a0a0000000d4948445200000003000000010203000000668efc2700000009504c5445ff000000ff000000ff2d4acd8a0000000274524e53ff40936b71da000"
         "0"
         "000a4944415478da63900000001a001980008ebb0000000049454e44ae426082",
         {0xFFFF0000, 0x4000FF00, 0xFF0000FF}},
        {"black and white", 9,
         "89504e470d0a1a0a0000000d494844520000000900000001010000000024b9b9d00000000b4944415478da63686c000001850102e25a5ce90000000049454e44ae426082",
         pixelsOf("WKKKKKKWW")},
        {"grey with alpha",
         1,
         "89504e470d0a1a0a0000000d4948445200000001000000010804000000b51c0c020000000b4944415478da6368700000014300c1cc70e2ea0000000049454e44ae426082",
         {0x40808080}},
        {"16 bits, which are no more linear than 8",
         2,
         "89504e470d0a1a0a0000000d49484452000000020000000110020000002bd0349e000000154944415478da6368607070f8ff9f818191b1be1e001b4203fff9269eb10000000"
         "0"
         "49454e44ae426082",
         {0xFF8040FF, 0xFF00017F}},
        {"interlaced", 3,
         "89504e470d0a1a0a0000000d49484452000000030000000308000000010444daf5000000124944415478da63600081ff400824ff33000014fa03fde23e231100000000"
         "49454e44ae426082",
         pixelsOf("KWK/WWK/KKW")},
    };
    return samples;
}

TEST(Png, GivesThePixelsOfEveryKindOfFile)
{
    for (const PngSample& sample : pngSamples()) {
        const std::optional<ArgbImage> image = decodePng(toBytes(fromHex(sample.hex)));
        ASSERT_TRUE(image) << sample.name;
        EXPECT_EQ(image->width, sample.width) << sample.name;
        EXPECT_EQ(image->pixels, sample.pixels) << sample.name;
    }
}

TEST(Png, RefusesWhatIsCutDamagedOrTooLarge)
{
    const Bytes whole = toBytes(fromHex(pngSamples()[0].hex));
    constexpr std::size_t endChunk = 12;
    for (std::size_t length = 0; length < whole.size() - endChunk; length += 3)
        EXPECT_FALSE(decodePng(std::span(whole).first(length))) << length;
    for (const std::size_t at : {0u, 13u, 25u, 45u, 58u}) { // signature, header, colour type, data, checksum
        Bytes damaged = whole;
        damaged[at] ^= 0x55;
        EXPECT_FALSE(decodePng(damaged)) << at;
    }
    // Sound headers of pictures that so few bytes cannot hold, and of one with more pixels than any may have.
    for (const char* header : {"00001f4000001f40080600000006f1adf4", "0000ea600000ea600100000000a8a948ef"}) {
        Bytes huge = whole;
        const Bytes fields = toBytes(fromHex(header));
        std::copy(fields.begin(), fields.end(), huge.begin() + 16);
        EXPECT_FALSE(decodePng(huge));
    }
}

TEST(Pictures, AreWrittenByType)
{
    const ArgbImage image{3, 2, pixelsOf("RGB/WKW")};
    for (const char* unknown : {"", "image/gif", "image/PNG"})
        EXPECT_FALSE(encodeImage(image, unknown));
    EXPECT_FALSE(encodeImage({}, "image/png"));

    const Bytes bitmap = encodeImage(image, "image/bmp").value();
    EXPECT_EQ(bitmap, ArchiveBuilder().raw("BM").u32(78).u32(0).u32(54).raw(sampleDib(24)).bytes);

    const Bytes png = encodeImage(image, "image/png").value();
    EXPECT_EQ(Bytes(png.begin(), png.begin() + 26), toBytes(fromHex("89504e470d0a1a0a0000000d49484452000000030000000208"
                                                                    "06")))
        << "8 bits, with alpha";
    EXPECT_EQ(decodePng(png).value().pixels, image.pixels);

    const Bytes jpeg = encodeImage(image, "image/jpeg").value();
    EXPECT_EQ(Bytes(jpeg.begin(), jpeg.begin() + 4), (Bytes{0xFF, 0xD8, 0xFF, 0xE0}));
    EXPECT_EQ(Bytes(jpeg.end() - 2, jpeg.end()), (Bytes{0xFF, 0xD9}));
    const Bytes frame{0xFF, 0xC0, 0, 17, 8, 0, 2, 0, 3, 3}; // height 2, width 3, three components
    EXPECT_NE(std::search(jpeg.begin(), jpeg.end(), frame.begin(), frame.end()), jpeg.end());
    EXPECT_FALSE(encodeImage({70000, 1, Pixels(70000)}, "image/jpeg")) << "wider than the format knows";
    ArgbImage noise{300, 300, Pixels(90000)};
    for (std::size_t i = 0; i < noise.pixels.size(); ++i)
        noise.pixels[i] = static_cast<std::uint32_t>(i * 2654435761u);
    const Bytes large = encodeImage(noise, "image/jpeg").value();
    EXPECT_EQ(Bytes(large.end() - 2, large.end()), (Bytes{0xFF, 0xD9})) << "more bytes than were set aside";
}

TEST(Pictures, FitIntoASize)
{
    const ArgbImage wide{4, 2, pixelsOf("RGBW/KRGB")};
    const ArgbImage high{2, 4, pixelsOf("RG/BW/KR/GB")};
    struct Case
    {
        const char* name;
        const ArgbImage& image;
        std::uint32_t width;
        std::uint32_t height;
        FitMode mode;
        std::uint32_t fittedWidth;
        const char* rows;
    };
    const Case cases[] = {
        {"the same size", wide, 4, 2, FitMode::keepAspect, 4, "RGBW/KRGB"},
        {"the height reduced", wide, 2, 2, FitMode::keepAspect, 2, "RB"},
        {"the width reduced", high, 8, 2, FitMode::keepAspect, 1, "W/B"},
        {"enlarged", wide, 8, 5, FitMode::keepAspect, 8, "RRGGBBWW/RRGGBBWW/KKRRGGBB/KKRRGGBB"},
        {"never less than a pixel", wide, 1, 1, FitMode::keepAspect, 1, "G"},
        {"a band in the middle", wide, 2, 2, FitMode::cutBand, 2, "GB/RG"},
        {"a narrow band", wide, 1, 2, FitMode::cutBand, 1, "B/G"},
        {"a band wider than the picture", high, 4, 2, FitMode::cutBand, 4, "BBWW/GGBB"},
    };
    for (const Case& c : cases) {
        const auto fitted = fitImage(c.image, c.width, c.height, c.mode);
        ASSERT_TRUE(fitted) << c.name;
        EXPECT_EQ(fitted->width, c.fittedWidth) << c.name;
        EXPECT_EQ(fitted->pixels, pixelsOf(c.rows)) << c.name;
    }
    EXPECT_FALSE(fitImage(wide, 0, 5, FitMode::keepAspect));
    EXPECT_FALSE(fitImage(wide, 5, 0, FitMode::cutBand));
    EXPECT_FALSE(fitImage({}, 5, 5, FitMode::cutBand));
}

TEST(Pictures, AnswerByNameAndKeepTheirCompanion)
{
    const auto companion = std::make_shared<int>(0);
    ComPtr<IDispatch> picture = makePicture({3, 2, pixelsOf("RGB/WKW")}, companion);
    const struct
    {
        const char16_t* name;
        VARTYPE type;
        LONG value;
    } members[] = {{u"Type", VT_I2, 1}, {u"WIDTH", VT_I4, 3}, {u"height", VT_I4, 2}};
    DISPID id = 0;
    constexpr WORD propertyGet = 2;
    OwnedVariant value;
    const auto idOf = [&](const char16_t* name) {
        auto* asked = const_cast<OLECHAR*>(name);
        return picture->GetIDsOfNames(GUID_NULL, &asked, 1, 0, &id);
    };
    for (const auto& member : members) {
        ASSERT_EQ(idOf(member.name), S_OK);
        ASSERT_EQ(picture->Invoke(id, GUID_NULL, 0, propertyGet, nullptr, value.put(), nullptr, nullptr), S_OK);
        EXPECT_EQ(value.get().vt, member.type);
        EXPECT_EQ(member.type == VT_I2 ? value.get().iVal : value.get().lVal, member.value);
    }
    EXPECT_EQ(idOf(u"Pixels"), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(idOf(nullptr), DISP_E_UNKNOWNNAME);
    EXPECT_EQ(picture->Invoke(77, GUID_NULL, 0, propertyGet, nullptr, value.put(), nullptr, nullptr), DISP_E_MEMBERNOTFOUND);
    ComPtr<IKvPicture> pixels;
    ASSERT_EQ(picture->QueryInterface(IID_IKvPicture, pixels.putVoid()), S_OK);
    const std::uint32_t* handle = nullptr;
    EXPECT_EQ(pixels->get_Handle(&handle), S_OK);
    EXPECT_EQ(Pixels(handle, handle + 6), pixelsOf("RGB/WKW"));
    EXPECT_EQ(pixels->get_Width(nullptr), E_POINTER);
    EXPECT_EQ(pixels->Encode(nullptr, value.put()), E_INVALIDARG);
    EXPECT_EQ(pixels->Encode(OwnedBstr(u"image/bmp").get(), value.put()), S_OK);
    EXPECT_EQ(value.get().vt, VT_ARRAY | VT_UI1);
    picture.reset();
    EXPECT_EQ(companion.use_count(), 2);
    pixels.reset();
    EXPECT_EQ(companion.use_count(), 1);
}

} // namespace
} // namespace kvdm::test
