// The picture that a preview comes as where the platform has no picture object of its own.
#pragma once

#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

// Asked of the IDispatch that GetPreviewBitmap and GetPreviewPNGBitmap give, and counted for the caller (Release). It owns
// decoded pixels, which live as long as the object. E_POINTER for an empty
// out-pointer. By name (IDispatch) it has the properties Handle, Type (1, a bitmap), Width and Height.
struct IKvPicture : IDispatch
{
    virtual HRESULT STDMETHODCALLTYPE get_Width(LONG* pixels) = 0;
    virtual HRESULT STDMETHODCALLTYPE get_Height(LONG* pixels) = 0;
    // Height rows of Width values 0xAARRGGBB, the top row first, without gaps.
    virtual HRESULT STDMETHODCALLTYPE get_Handle(const std::uint32_t** pixels) = 0;
    // The picture as a file of the type "image/png", "image/jpeg" or "image/bmp", in VT_ARRAY | VT_UI1, the caller's.
    // E_INVALIDARG and VT_EMPTY for any other type.
    virtual HRESULT STDMETHODCALLTYPE Encode(BSTR mimeType, VARIANT* bytes) = 0;
};
