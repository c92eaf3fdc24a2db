#include "common/automationObject.h"
#include "common/automationText.h"
#include "common/statusOfException.h"
#include "platform/imaging/images.h"

#include <kvdocmgr/owned.h>
#include <kvdocmgr/picture.h>
#include <kvdocmgr/text.h>

#include <algorithm>

namespace kvdm {

template <> struct InterfaceTraits<IKvPicture> : InterfaceTraitsOf<IDispatch, IID_IKvPicture>
{
};

namespace {

// The members as the platform's own picture object numbers them.
enum Member : DISPID
{
    memberHandle = 0,
    memberType = 3,
    memberWidth = 4,
    memberHeight = 5
};
constexpr WORD propertyGet = 2;
constexpr SHORT typeBitmap = 1;

bool equalAsciiNoCase(std::u16string_view text, std::u16string_view name)
{
    const auto lower = [](char16_t unit) { return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + 32) : unit; };
    return std::equal(text.begin(), text.end(), name.begin(), name.end(), [&](char16_t a, char16_t b) { return lower(a) == lower(b); });
}

class Picture final : public AutomationObject<IKvPicture>
{
public:
    Picture(ArgbImage pixels, std::shared_ptr<void> other) : image(std::move(pixels)), companion(std::move(other)) {}

    HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) noexcept override
    {
        if (!count)
            return E_POINTER;
        *count = 0;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT, LCID, ITypeInfo** out) noexcept override
    {
        if (out)
            *out = nullptr;
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* out) noexcept override
    {
        if (!names || !out)
            return E_POINTER;
        HRESULT status = S_OK;
        for (UINT i = 0; i < count; ++i) {
            const std::u16string_view name = fromOle(names[i]);
            out[i] = equalAsciiNoCase(name, u"Handle")   ? memberHandle
                     : equalAsciiNoCase(name, u"Type")   ? memberType
                     : equalAsciiNoCase(name, u"Width")  ? memberWidth
                     : equalAsciiNoCase(name, u"Height") ? memberHeight
                                                         : -1;
            if (out[i] < 0)
                status = DISP_E_UNKNOWNNAME;
        }
        return status;
    }
    HRESULT STDMETHODCALLTYPE Invoke(DISPID member, REFIID, LCID, WORD flags, DISPPARAMS*, VARIANT* result, EXCEPINFO*, UINT*) noexcept override
    {
        if (!(flags & propertyGet))
            return DISP_E_MEMBERNOTFOUND;
        if (!result)
            return E_POINTER;
        VariantInit(result);
        switch (member) {
        case memberHandle:
            result->vt = VT_I8;
            result->llVal = static_cast<LONGLONG>(reinterpret_cast<std::intptr_t>(image.pixels.data()));
            return S_OK;
        case memberType:
            result->vt = VT_I2;
            result->iVal = typeBitmap;
            return S_OK;
        case memberWidth:
        case memberHeight:
            result->vt = VT_I4;
            result->lVal = static_cast<LONG>(member == memberWidth ? image.width : image.height);
            return S_OK;
        default:
            return DISP_E_MEMBERNOTFOUND;
        }
    }

    HRESULT STDMETHODCALLTYPE get_Width(LONG* pixels) noexcept override { return give(pixels, static_cast<LONG>(image.width)); }
    HRESULT STDMETHODCALLTYPE get_Height(LONG* pixels) noexcept override { return give(pixels, static_cast<LONG>(image.height)); }
    HRESULT STDMETHODCALLTYPE get_Handle(const std::uint32_t** pixels) noexcept override
    {
        return give(pixels, static_cast<const std::uint32_t*>(image.pixels.data()));
    }
    HRESULT STDMETHODCALLTYPE Encode(BSTR mimeType, VARIANT* bytes) noexcept override
    {
        return automationCall([&] {
            if (!bytes)
                return E_POINTER;
            VariantInit(bytes);
            const std::optional<std::vector<std::uint8_t>> file = encodeImage(image, toUtf8(OwnedBstr::viewOf(mimeType)));
            if (!file)
                return E_INVALIDARG;
            SAFEARRAY* array = SafeArrayCreateVector(VT_UI1, 0, static_cast<ULONG>(file->size()));
            if (!array)
                return E_OUTOFMEMORY;
            std::copy(file->begin(), file->end(), static_cast<std::uint8_t*>(array->pvData));
            bytes->vt = VT_ARRAY | VT_UI1;
            bytes->parray = array;
            return S_OK;
        });
    }

private:
    ~Picture() override = default;
    template <class Value> static HRESULT give(Value* out, Value value) noexcept
    {
        if (!out)
            return E_POINTER;
        *out = value;
        return S_OK;
    }

    ArgbImage image;
    std::shared_ptr<void> companion;
};

} // namespace

ComPtr<IDispatch> makePicture(ArgbImage image, std::shared_ptr<void> companion)
{
    return ComPtr<IDispatch>::adopt(new Picture(std::move(image), std::move(companion)));
}

} // namespace kvdm
