#include "platform/ole/elements.h"

#include <cstring>

namespace {

// Types that a VARIANT can have: a plain type, an array of a type, a reference to either.
bool isVariantType(VARTYPE type) noexcept
{
    constexpr VARTYPE flags = VT_ARRAY | VT_BYREF;
    const VARTYPE plain = type & VT_TYPEMASK;
    if (type & ~(VT_TYPEMASK | flags))
        return false;
    if (plain == VT_EMPTY || plain == VT_NULL)
        return (type & flags) == 0;
    return kvdm::automationSizeOf(plain) != 0 && !(plain == VT_VARIANT && (type & flags) == 0);
}

// Fills the target, which owns nothing yet, with a value of its own.
HRESULT copyValue(VARIANT& target, const VARIANT& source) noexcept
{
    target = source;
    if (source.vt & VT_BYREF)
        return S_OK; // a reference is borrowed
    if (source.vt & VT_ARRAY)
        return SafeArrayCopy(source.parray, &target.parray);
    switch (source.vt) {
    case VT_BSTR:
        return kvdm::copyBstr(source.bstrVal, target.bstrVal) ? S_OK : E_OUTOFMEMORY;
    case VT_UNKNOWN:
    case VT_DISPATCH:
        if (source.punkVal)
            source.punkVal->AddRef();
        return S_OK;
    default:
        return S_OK;
    }
}

// The value behind a reference, as a variant that owns nothing.
HRESULT dereference(VARIANT& value, const VARIANT& reference) noexcept
{
    if (!reference.byref)
        return E_INVALIDARG;
    VariantInit(&value);
    const VARTYPE plain = reference.vt & VT_TYPEMASK;
    if (reference.vt & VT_ARRAY) {
        value.parray = *reference.pparray;
    } else if (plain == VT_DECIMAL) {
        std::memcpy(&value, reference.byref, sizeof(DECIMAL)); // lies over the whole variant, its type word unused
    } else if (plain == VT_VARIANT) {
        value = *reference.pvarVal;
        if (!(value.vt & VT_BYREF))
            return isVariantType(value.vt) ? S_OK : DISP_E_BADVARTYPE;
        if ((value.vt & VT_TYPEMASK) == VT_VARIANT && !(value.vt & VT_ARRAY))
            return E_INVALIDARG; // a reference to a reference to a variant
        const VARIANT inner = value;
        return isVariantType(inner.vt) ? dereference(value, inner) : DISP_E_BADVARTYPE;
    } else {
        std::memcpy(&value.llVal, reference.byref, kvdm::automationSizeOf(plain));
    }
    value.vt = reference.vt & static_cast<VARTYPE>(~VT_BYREF);
    return S_OK;
}

// Source is read to its end before the target changes: it may lie inside what the target owns.
HRESULT replaceBy(VARIANT* target, const VARIANT& source) noexcept
{
    VARIANT copy;
    HRESULT status = copyValue(copy, source);
    if (SUCCEEDED(status))
        status = VariantClear(target);
    else
        VariantInit(&copy); // nothing was made
    if (FAILED(status)) {
        VariantClear(&copy);
        return status;
    }
    *target = copy;
    return S_OK;
}

} // namespace

namespace kvdm {

std::size_t automationSizeOf(VARTYPE type) noexcept
{
    switch (type) {
    case VT_I1:
    case VT_UI1:
        return 1;
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return 2;
    case VT_I4:
    case VT_UI4:
    case VT_R4:
    case VT_INT:
    case VT_UINT:
    case VT_ERROR:
        return 4;
    case VT_R8:
    case VT_CY:
    case VT_DATE:
    case VT_I8:
    case VT_UI8:
    case VT_BSTR:
    case VT_UNKNOWN:
    case VT_DISPATCH:
        return 8;
    case VT_DECIMAL:
        return sizeof(DECIMAL);
    case VT_VARIANT:
        return sizeof(VARIANT);
    default:
        return 0;
    }
}

bool copyBstr(BSTR source, BSTR& copy) noexcept
{
    copy = source ? SysAllocStringByteLen(reinterpret_cast<const char*>(source), SysStringByteLen(source)) : nullptr;
    return copy || !source;
}

} // namespace kvdm

extern "C"
{

    void VariantInit(VARIANT* variant) noexcept
    {
        if (variant)
            *variant = VARIANT{};
    }

    HRESULT VariantClear(VARIANT* variant) noexcept
    {
        if (!variant)
            return E_INVALIDARG;
        if (!isVariantType(variant->vt))
            return DISP_E_BADVARTYPE;
        if (!(variant->vt & VT_BYREF)) {
            if (variant->vt & VT_ARRAY) {
                if (const HRESULT status = SafeArrayDestroy(variant->parray); FAILED(status))
                    return status; // locked: it stays as it is
            } else if (variant->vt == VT_BSTR) {
                SysFreeString(variant->bstrVal);
            } else if (variant->vt == VT_UNKNOWN || variant->vt == VT_DISPATCH) {
                IUnknown* held = variant->punkVal;
                variant->vt = VT_EMPTY; // first: the object may look at its holder while it goes
                if (held)
                    held->Release();
            }
        }
        variant->vt = VT_EMPTY;
        return S_OK;
    }

    HRESULT VariantCopy(VARIANT* target, const VARIANT* source) noexcept
    {
        if (!target || !source)
            return E_INVALIDARG;
        if (target == source)
            return S_OK;
        return isVariantType(source->vt) ? replaceBy(target, *source) : DISP_E_BADVARTYPE;
    }

    HRESULT VariantCopyInd(VARIANT* target, const VARIANT* source) noexcept
    {
        if (!target || !source)
            return E_INVALIDARG;
        if (!isVariantType(source->vt))
            return DISP_E_BADVARTYPE;
        if (!(source->vt & VT_BYREF))
            return VariantCopy(target, source);
        VARIANT value;
        const HRESULT status = dereference(value, *source);
        return FAILED(status) ? status : replaceBy(target, value);
    }

} // extern "C"
