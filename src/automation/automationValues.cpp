#include "automation/automationValues.h"

#include "common/automationText.h"

#include <algorithm>
#include <new>

namespace kvdm {

OwnedVariant emptyArray(VARTYPE type)
{
    OwnedVariant result;
    result.get().parray = SafeArrayCreateVector(type, 0, 0);
    if (!result.get().parray)
        throw std::bad_alloc();
    result.get().vt = static_cast<VARTYPE>(VT_ARRAY | type);
    return result;
}

namespace {

// The data of a new array that the variant owns already, so that a throw half way leaks nothing.
template <class Element> Element* makeArray(OwnedVariant& variant, VARTYPE type, std::size_t count)
{
    constexpr std::size_t mostElements = 0x7FFFFFFF; // an index is a LONG
    SAFEARRAY* array = count <= mostElements ? SafeArrayCreateVector(type, 0, static_cast<ULONG>(count)) : nullptr;
    if (!array)
        throw std::bad_alloc();
    variant.get().parray = array;
    variant.get().vt = static_cast<VARTYPE>(VT_ARRAY | type);
    return static_cast<Element*>(array->pvData);
}

} // namespace

OwnedVariant arrayOfTexts(std::span<const std::u16string> texts)
{
    OwnedVariant result;
    BSTR* slots = makeArray<BSTR>(result, VT_BSTR, texts.size());
    for (std::size_t i = 0; i < texts.size(); ++i)
        slots[i] = OwnedBstr(texts[i]).detach();
    return result;
}

OwnedVariant arrayOfLongs(std::span<const LONG> numbers)
{
    OwnedVariant result;
    std::copy(numbers.begin(), numbers.end(), makeArray<LONG>(result, VT_I4, numbers.size()));
    return result;
}

OwnedVariant arrayOfDoubles(std::span<const double> numbers)
{
    OwnedVariant result;
    std::copy(numbers.begin(), numbers.end(), makeArray<double>(result, VT_R8, numbers.size()));
    return result;
}

OwnedVariant arrayOfBytes(std::span<const std::uint8_t> bytes)
{
    OwnedVariant result;
    std::copy(bytes.begin(), bytes.end(), makeArray<std::uint8_t>(result, VT_UI1, bytes.size()));
    return result;
}

std::vector<std::u16string> textsOf(const VARIANT& variant)
{
    std::vector<std::u16string> texts;
    const bool byReference = (variant.vt & VT_BYREF) != 0;
    if ((variant.vt & ~VT_BYREF) != (VT_ARRAY | VT_BSTR))
        return texts;
    SAFEARRAY* array = byReference ? (variant.pparray ? *variant.pparray : nullptr) : variant.parray;
    LONG first = 0;
    LONG last = -1;
    if (!array || SafeArrayGetDim(array) != 1 || FAILED(SafeArrayGetLBound(array, 1, &first)) || FAILED(SafeArrayGetUBound(array, 1, &last)))
        return texts;
    for (LONG i = first; i <= last; ++i) {
        OwnedBstr text;
        if (SUCCEEDED(SafeArrayGetElement(array, &i, text.put())))
            texts.emplace_back(text.view());
    }
    return texts;
}

} // namespace kvdm
