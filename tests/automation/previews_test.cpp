// Previews of documents and configurations: stream names, pictures, bytes, and what is told when there are none.
#include "automation/automationTools.h"
#include "support/pictures.h"

#include <kvdocmgr/picture.h>

namespace kvdm::test {
namespace {

Bytes bytesIn(const VARIANT& variant)
{
    if (variant.vt != (VT_ARRAY | VT_UI1))
        return {};
    const auto* data = static_cast<const std::uint8_t*>(variant.parray->pvData);
    return {data, data + variant.parray->rgsabound[0].cElements};
}

// The pixels of a picture, and the error that came with it.
template <class Owner, class Getter>
std::vector<std::uint32_t> pixelsFrom(Owner& owner, Getter getter, KvDmPreviewError expected, const std::string& name)
{
    KvDmPreviewError error = kvDmPreviewErrorFileOpen;
    ComPtr<IDispatch> picture;
    EXPECT_EQ((owner.*getter)(&error, picture.put()), S_OK) << name;
    EXPECT_EQ(error, expected) << name;
    EXPECT_EQ(static_cast<bool>(picture), expected == kvDmPreviewErrorNone) << name;
    if (!picture)
        return {};
    const auto image = ask<IKvPicture>(picture.get(), IID_IKvPicture);
    const std::uint32_t* pixels = nullptr;
    EXPECT_EQ(image->get_Handle(&pixels), S_OK);
    const LONG width = valueFrom(*image, &IKvPicture::get_Width, LONG{0});
    return {pixels, pixels + width * valueFrom(*image, &IKvPicture::get_Height, LONG{0})};
}

template <class Owner, class Getter> Bytes bytesFrom(Owner& owner, Getter getter, KvDmPreviewError expected, const std::string& name)
{
    KvDmPreviewError error = kvDmPreviewErrorFileOpen;
    OwnedVariant bytes;
    EXPECT_EQ((owner.*getter)(&error, bytes.put()), S_OK) << name;
    EXPECT_EQ(error, expected) << name;
    EXPECT_EQ(bytes.get().vt, expected == kvDmPreviewErrorNone ? VT_ARRAY | VT_UI1 : VT_EMPTY) << name;
    return bytesIn(bytes.get());
}

class Previews : public ::testing::Test
{
protected:
    ~Previews() override { EXPECT_EQ(DllCanUnloadNow(), S_OK); }

    ComPtr<IKvDMDocument12> open(DocumentBuilder& builder)
    {
        builder.write(path);
        return mustOpen(path);
    }
    static ComPtr<IKvDMConfiguration9> find(IKvDMDocument12& document, std::u16string_view name)
    {
        ComPtr<IKvDMConfigurationMgr> manager;
        ComPtr<IKvDMConfiguration> found;
        EXPECT_EQ(document.get_ConfigurationManager(manager.put()), S_OK);
        EXPECT_EQ(manager->GetConfigurationByName(OwnedBstr(name).get(), found.put()), S_OK);
        return ask<IKvDMConfiguration9>(found.get(), IID_IKvDMConfiguration9);
    }

    TemporaryFolder folder;
    std::string path = folder / "a.kvdprt";
};

// One grey pixel, a quarter opaque.
const char* const pngPixel = "89504e470d0a1a0a0000000d4948445200000001000000010804000000b51c0c020000000b4944415478da6368700000014300c1cc70e2ea000000"
                             "0049454e44ae426082";

TEST_F(Previews, StandUnderNamesThatTheVersionDecides)
{
    for (const int version : {1500, 2036, 2037, 3800}) {
        DocumentBuilder builder(version);
        builder.configurations.push_back({.name = u"DEFAULT", .id = 9});
        const auto document = open(builder);
        EXPECT_EQ(textFrom(*document, &IKvDMDocument12::get_PreviewStreamName), "Preview");
        EXPECT_EQ(textFrom(*document, &IKvDMDocument12::get_PreviewPNGStreamName), "PreviewPNG");
        const auto active = find(*document, u"Default");
        EXPECT_EQ(textFrom(*active, &IKvDMConfiguration9::get_PreviewStreamName), "Preview");
        EXPECT_EQ(textFrom(*active, &IKvDMConfiguration9::get_PreviewPNGStreamName), "PreviewPNG");
        const auto second = find(*document, u"Second");
        EXPECT_EQ(textFrom(*second, &IKvDMConfiguration9::get_PreviewStreamName), version < 2037 ? "(failed)" : "Config-7-Preview") << version;
        EXPECT_EQ(textFrom(*second, &IKvDMConfiguration9::get_PreviewPNGStreamName), "Config-7-PreviewPNG") << version;
        second->put_Delete(VARIANT_TRUE);
        EXPECT_EQ(textFrom(*second, &IKvDMConfiguration9::get_PreviewPNGStreamName), "Config-7-PreviewPNG");
    }
    DocumentBuilder other(2036);
    other.configurations = {{.name = u"name", .id = 3}, {.name = u"NAME", .kind = 1, .id = 4}};
    EXPECT_EQ(textFrom(*find(*open(other), u"name"), &IKvDMConfiguration9::get_PreviewStreamName), "Preview") << "the names differ in case alone";
    DocumentBuilder without;
    without.withConfigurations = false;
    EXPECT_EQ(textFrom(*open(without), &IKvDMDocument12::get_PreviewStreamName), "Preview");
    writeWholeFile(path, toBytes("no compound file"));
    EXPECT_EQ(textFrom(*mustOpen(path), &IKvDMDocument12::get_PreviewStreamName), "(failed)");
}

TEST_F(Previews, ComeAsPicturesAndAsBytesOfFiles)
{
    DocumentBuilder builder;
    builder.root.stream(u"Preview", previewStream(sampleDib()));
    const Bytes zipped = previewStream(dib({2, 1, 24}, "", 0, {0, 0, 255, 0, 255, 0, 0, 0}));
    builder.root.stream(u"Config-7-Preview__ZLB", zlbNode(std::string(zipped.begin(), zipped.end())));
    builder.root.stream(u"PreviewPNG", toBytes(fromHex(pngPixel)));
    builder.root.stream(u"Config-7-PreviewPNG", "any bytes");
    const auto document = open(builder);
    const auto bytes = ask<IKvDMDocument11>(document.get(), IID_IKvDMDocument11);
    const auto active = find(*document, u"Default");
    const auto second = find(*document, u"Second");

    EXPECT_EQ(pixelsFrom(*document, &IKvDMDocument12::GetPreviewBitmap, kvDmPreviewErrorNone, "document"), pixelsOf("RGB/WKW"));
    EXPECT_EQ(pixelsFrom(*active, &IKvDMConfiguration9::GetPreviewBitmap, kvDmPreviewErrorNone, "active"), pixelsOf("RGB/WKW"));
    EXPECT_EQ(pixelsFrom(*second, &IKvDMConfiguration9::GetPreviewBitmap, kvDmPreviewErrorNone, "second"), pixelsOf("RG"));
    const std::vector<std::uint32_t> grey{0x40808080};
    EXPECT_EQ(pixelsFrom(*document, &IKvDMDocument12::GetPreviewPNGBitmap, kvDmPreviewErrorNone, "document"), grey);
    EXPECT_EQ(pixelsFrom(*active, &IKvDMConfiguration9::GetPreviewPNGBitmap, kvDmPreviewErrorNone, "active"), grey);
    pixelsFrom(*second, &IKvDMConfiguration9::GetPreviewPNGBitmap, kvDmPreviewErrorMakeBmpFail, "second");

    const Bytes bitmapFile = ArchiveBuilder().raw("BM").u32(78).u32(0).u32(54).raw(sampleDib(24)).bytes;
    EXPECT_EQ(bytesFrom(*bytes, &IKvDMDocument11::GetPreviewBitmapBytes, kvDmPreviewErrorNone, "document"), bitmapFile);
    EXPECT_EQ(bytesFrom(*active, &IKvDMConfiguration9::GetPreviewBitmapBytes, kvDmPreviewErrorNone, "active"), bitmapFile);
    EXPECT_EQ(bytesFrom(*bytes, &IKvDMDocument11::GetPreviewPNGBitmapBytes, kvDmPreviewErrorNone, "document"), toBytes(fromHex(pngPixel)));
    EXPECT_EQ(bytesFrom(*second, &IKvDMConfiguration9::GetPreviewPNGBitmapBytes, kvDmPreviewErrorNone, "second"), toBytes("any bytes"))
        << "no picture is made of them";
}

TEST_F(Previews, TellWhyThereIsNoPicture)
{
    struct Case
    {
        const char* name;
        const char16_t* stream; // null: no stream
        Bytes content;
        KvDmPreviewError error;
    };
    Bytes header = sampleDib();
    header[0] = 108;
    Bytes longer = previewStream(sampleDib());
    longer[0] += 1;
    const Bytes zipped = zlbNode("\x18");
    Bytes torn = zlbNode(std::string(64, 'x'));
    torn[30] ^= 0xFF;
    const Case cases[] = {
        {"no stream", nullptr, {}, kvDmPreviewErrorNoPreview},
        {"no size", u"Preview", {}, kvDmPreviewErrorMakeBmpFail},
        {"half a size", u"Preview", {64, 0}, kvDmPreviewErrorMakeBmpFail},
        {"half a size, compressed", u"Preview__ZLB", zipped, kvDmPreviewErrorMakeBmpFail},
        {"a size of 0", u"Preview", previewStream({}), kvDmPreviewErrorMakeBmpFail},
        {"another header", u"Preview", previewStream(header), kvDmPreviewErrorMakeBmpFail},
        {"a byte too few", u"Preview", longer, kvDmPreviewErrorMakeBmpFail},
        {"pixels that are cut", u"Preview", previewStream(dib({3, 2, 24}, "", 0, Bytes(23, 0))), kvDmPreviewErrorMakeBmpFail},
        {"a size past all bounds", u"Preview", Bytes{0xFF, 0xFF, 0xFF, 0xFF, 40, 0, 0, 0}, kvDmPreviewErrorMakeBmpFail},
        {"a stream that does not decode", u"Preview__ZLB", torn, kvDmPreviewErrorMakeBmpFail},
    };
    for (const Case& c : cases) {
        DocumentBuilder builder;
        if (c.stream)
            builder.root.stream(c.stream, c.content);
        const auto document = open(builder);
        pixelsFrom(*document, &IKvDMDocument12::GetPreviewBitmap, c.error, c.name);
        bytesFrom(*find(*document, u"Default"), &IKvDMConfiguration9::GetPreviewBitmapBytes, c.error, c.name);
    }
    DocumentBuilder bitmapAsPng;
    bitmapAsPng.root.stream(u"PreviewPNG", sampleDib());
    pixelsFrom(*open(bitmapAsPng), &IKvDMDocument12::GetPreviewPNGBitmap, kvDmPreviewErrorMakeBmpFail, "a bitmap in place of a PNG");
    DocumentBuilder old(2036);
    old.root.stream(u"Config-7-Preview", previewStream(sampleDib()));
    pixelsFrom(*find(*open(old), u"Second"), &IKvDMConfiguration9::GetPreviewBitmap, kvDmPreviewErrorNoPreview, "before there was one each");
}

TEST_F(Previews, AnswerOnlyWithBothOutputsAndInTheErrorAlone)
{
    DocumentBuilder builder;
    builder.root.stream(u"Preview", previewStream(sampleDib()));
    const auto document = open(builder);
    const auto bytes = ask<IKvDMDocument11>(document.get(), IID_IKvDMDocument11);
    const auto active = find(*document, u"Default");
    KvDmPreviewError error = kvDmPreviewErrorFileOpen;
    ComPtr<IDispatch> picture;
    OwnedVariant variant;
    EXPECT_EQ(document->GetPreviewBitmap(&error, nullptr), E_POINTER);
    EXPECT_EQ(active->GetPreviewPNGBitmap(nullptr, picture.put()), E_POINTER);
    EXPECT_EQ(bytes->GetPreviewBitmapBytes(&error, nullptr), E_POINTER);
    EXPECT_EQ(active->GetPreviewPNGBitmapBytes(&error, nullptr), E_POINTER);
    EXPECT_EQ(error, kvDmPreviewErrorFileOpen) << "untouched";

    std::filesystem::remove(path);
    EXPECT_EQ(document->CloseDoc(), S_OK);
    pixelsFrom(*document, &IKvDMDocument12::GetPreviewBitmap, kvDmPreviewErrorNoPreview, "the file went");
    bytesFrom(*active, &IKvDMConfiguration9::GetPreviewPNGBitmapBytes, kvDmPreviewErrorNoPreview, "the file went");
}

TEST_F(Previews, KeepTheModuleWhileAPictureLives)
{
    DocumentBuilder builder;
    builder.root.stream(u"Preview", previewStream(sampleDib()));
    KvDmPreviewError error = kvDmPreviewErrorFileOpen;
    ComPtr<IDispatch> picture;
    EXPECT_EQ(open(builder)->GetPreviewBitmap(&error, picture.put()), S_OK);
    EXPECT_EQ(DllCanUnloadNow(), S_FALSE);
    EXPECT_EQ(valueFrom(*ask<IKvPicture>(picture.get(), IID_IKvPicture), &IKvPicture::get_Width, LONG{0}), 3);
}

} // namespace
} // namespace kvdm::test
