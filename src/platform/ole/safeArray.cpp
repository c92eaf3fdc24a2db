// SAFEARRAY. As on the platform 16 bytes stand before each descriptor that was made here: the identifier of the interface of
// arrays of interfaces, or in their last four bytes the type of the elements. Data lie with the first dimension running
// fastest; the bounds stand in the descriptor last dimension first.
#include "platform/ole/elements.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace {

constexpr USHORT featureAuto = 0x0001;
constexpr USHORT featureStatic = 0x0002;
constexpr USHORT featureEmbedded = 0x0004;
constexpr USHORT featureRecord = 0x0020;
constexpr USHORT featureHaveIid = 0x0040;
constexpr USHORT foreignMemory = featureAuto | featureStatic | featureEmbedded; // not from the heap: never freed here
constexpr USHORT typeFeatures = FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH | FADF_VARIANT;

constexpr std::size_t hiddenBytes = 16;
constexpr ULONG mostLocks = 0xFFFF;

char* hiddenOf(SAFEARRAY* array) noexcept
{
    return reinterpret_cast<char*>(array) - hiddenBytes;
}

SAFEARRAY* allocateDescriptor(std::size_t dimensions) noexcept
{
    const std::size_t bytes = hiddenBytes + offsetof(SAFEARRAY, rgsabound) + dimensions * sizeof(SAFEARRAYBOUND);
    auto* block = static_cast<char*>(std::calloc(1, bytes < hiddenBytes + sizeof(SAFEARRAY) ? hiddenBytes + sizeof(SAFEARRAY) : bytes));
    if (!block)
        return nullptr;
    auto* array = reinterpret_cast<SAFEARRAY*>(block + hiddenBytes);
    array->cDims = static_cast<USHORT>(dimensions);
    return array;
}

// False when the elements together have more bytes than there can be.
bool countElements(const SAFEARRAY& array, std::size_t& count) noexcept
{
    count = array.cDims == 0 ? 0 : 1;
    for (USHORT i = 0; i < array.cDims; ++i)
        if (__builtin_mul_overflow(count, std::size_t{array.rgsabound[i].cElements}, &count))
            return false;
    std::size_t bytes = 0;
    return !__builtin_mul_overflow(count, std::size_t{array.cbElements}, &bytes) && bytes <= std::numeric_limits<std::ptrdiff_t>::max();
}

bool boundFits(const SAFEARRAYBOUND& bound) noexcept
{
    return std::int64_t{bound.lLbound} + bound.cElements - 1 <= std::numeric_limits<LONG>::max();
}

bool allocateData(SAFEARRAY& array) noexcept
{
    std::size_t count = 0;
    if (!countElements(array, count))
        return false;
    array.pvData = std::calloc(count ? count : 1, array.cbElements);
    return array.pvData != nullptr;
}

// Frees what one element owns and leaves it empty.
void releaseElement(USHORT features, void* element) noexcept
{
    if (features & FADF_BSTR) {
        SysFreeString(*static_cast<BSTR*>(element));
        *static_cast<BSTR*>(element) = nullptr;
    } else if (features & (FADF_UNKNOWN | FADF_DISPATCH)) {
        auto** slot = static_cast<IUnknown**>(element);
        IUnknown* held = *slot;
        *slot = nullptr;
        if (held)
            held->Release();
    } else if (features & FADF_VARIANT) {
        VariantClear(static_cast<VARIANT*>(element));
    }
}

void releaseElements(SAFEARRAY& array) noexcept
{
    std::size_t count = 0;
    if (!(array.fFeatures & typeFeatures) || !array.pvData || !countElements(array, count))
        return;
    for (std::size_t i = 0; i < count; ++i)
        releaseElement(array.fFeatures, static_cast<char*>(array.pvData) + i * array.cbElements);
}

// Makes a copy in an element that owns nothing.
HRESULT copyElement(const SAFEARRAY& array, void* target, const void* source) noexcept
{
    if (array.fFeatures & FADF_BSTR)
        return kvdm::copyBstr(*static_cast<const BSTR*>(source), *static_cast<BSTR*>(target)) ? S_OK : E_OUTOFMEMORY;
    if (array.fFeatures & FADF_VARIANT) {
        VariantInit(static_cast<VARIANT*>(target));
        return VariantCopy(static_cast<VARIANT*>(target), static_cast<const VARIANT*>(source));
    }
    std::memcpy(target, source, array.cbElements);
    if (array.fFeatures & (FADF_UNKNOWN | FADF_DISPATCH))
        if (IUnknown* object = *static_cast<IUnknown**>(target))
            object->AddRef();
    return S_OK;
}

} // namespace

extern "C"
{

    SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds) noexcept
    {
        const std::size_t elementSize = kvdm::automationSizeOf(type);
        if (elementSize == 0 || dimensions == 0 || dimensions > 0xFFFF || !bounds)
            return nullptr;
        SAFEARRAY* array = allocateDescriptor(dimensions);
        if (!array)
            return nullptr;
        array->cbElements = static_cast<ULONG>(elementSize);
        bool good = true;
        for (UINT i = 0; i < dimensions; ++i) {
            array->rgsabound[dimensions - 1 - i] = bounds[i];
            good = good && boundFits(bounds[i]);
        }
        if (type == VT_UNKNOWN || type == VT_DISPATCH) {
            array->fFeatures = featureHaveIid | (type == VT_UNKNOWN ? FADF_UNKNOWN : FADF_DISPATCH);
            std::memcpy(hiddenOf(array), type == VT_UNKNOWN ? &IID_IUnknown : &IID_IDispatch, sizeof(IID));
        } else {
            array->fFeatures = FADF_HAVEVARTYPE | (type == VT_BSTR ? FADF_BSTR : type == VT_VARIANT ? FADF_VARIANT : USHORT{0});
            const std::uint32_t word = type;
            std::memcpy(hiddenOf(array) + hiddenBytes - sizeof word, &word, sizeof word);
        }
        if (good && allocateData(*array))
            return array;
        std::free(hiddenOf(array));
        return nullptr;
    }

    SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lowerBound, ULONG count) noexcept
    {
        SAFEARRAYBOUND bound{count, lowerBound};
        return SafeArrayCreate(type, 1, &bound);
    }

    HRESULT SafeArrayDestroy(SAFEARRAY* array) noexcept
    {
        if (!array)
            return S_OK;
        if (array->cLocks > 0)
            return DISP_E_ARRAYISLOCKED;
        releaseElements(*array);
        if (array->fFeatures & foreignMemory)
            return S_OK;
        std::free(array->pvData);
        std::free(hiddenOf(array));
        return S_OK;
    }

    HRESULT SafeArrayCopy(SAFEARRAY* array, SAFEARRAY** out) noexcept
    {
        if (!out)
            return E_INVALIDARG;
        *out = nullptr;
        if (!array)
            return S_OK;
        std::size_t count = 0;
        if (array->cDims == 0 || array->cbElements == 0 || (array->fFeatures & featureRecord) || !countElements(*array, count))
            return E_INVALIDARG;
        SAFEARRAY* copy = allocateDescriptor(array->cDims);
        if (!copy)
            return E_OUTOFMEMORY;
        copy->fFeatures = array->fFeatures & (typeFeatures | FADF_HAVEVARTYPE | featureHaveIid);
        copy->cbElements = array->cbElements;
        std::memcpy(copy->rgsabound, array->rgsabound, array->cDims * sizeof(SAFEARRAYBOUND));
        if (array->fFeatures & (FADF_HAVEVARTYPE | featureHaveIid))
            std::memcpy(hiddenOf(copy), hiddenOf(array), hiddenBytes);
        if (!allocateData(*copy)) {
            std::free(hiddenOf(copy));
            return E_OUTOFMEMORY;
        }
        for (std::size_t i = 0; array->pvData && i < count; ++i) {
            const std::size_t offset = i * array->cbElements;
            const HRESULT status = copyElement(*array, static_cast<char*>(copy->pvData) + offset, static_cast<const char*>(array->pvData) + offset);
            if (FAILED(status)) {
                SafeArrayDestroy(copy); // elements that were not reached are zero
                return status;
            }
        }
        *out = copy;
        return S_OK;
    }

    UINT SafeArrayGetDim(SAFEARRAY* array) noexcept
    {
        return array ? array->cDims : 0;
    }

    UINT SafeArrayGetElemsize(SAFEARRAY* array) noexcept
    {
        return array ? array->cbElements : 0;
    }

    // Dimensions count from 1, the leftmost.
    HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept
    {
        if (!array || !bound)
            return E_INVALIDARG;
        if (dimension == 0 || dimension > array->cDims)
            return DISP_E_BADINDEX;
        *bound = array->rgsabound[array->cDims - dimension].lLbound;
        return S_OK;
    }

    HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound) noexcept
    {
        const HRESULT status = SafeArrayGetLBound(array, dimension, bound);
        if (SUCCEEDED(status))
            *bound = static_cast<LONG>(std::int64_t{*bound} + array->rgsabound[array->cDims - dimension].cElements - 1);
        return status;
    }

    HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type) noexcept
    {
        if (!array || !type)
            return E_INVALIDARG;
        if (array->fFeatures & FADF_HAVEVARTYPE) {
            std::uint32_t word = 0;
            std::memcpy(&word, hiddenOf(array) + hiddenBytes - sizeof word, sizeof word);
            *type = static_cast<VARTYPE>(word);
        } else if (array->fFeatures & FADF_DISPATCH) {
            *type = VT_DISPATCH;
        } else if (array->fFeatures & FADF_UNKNOWN) {
            *type = VT_UNKNOWN;
        } else if (array->fFeatures & FADF_BSTR) {
            *type = VT_BSTR;
        } else if (array->fFeatures & FADF_VARIANT) {
            *type = VT_VARIANT;
        } else {
            return E_INVALIDARG;
        }
        return S_OK;
    }

    HRESULT SafeArrayLock(SAFEARRAY* array) noexcept
    {
        if (!array)
            return E_INVALIDARG;
        std::atomic_ref<ULONG> locks(array->cLocks);
        if (++locks <= mostLocks)
            return S_OK;
        --locks;
        return E_UNEXPECTED;
    }

    HRESULT SafeArrayUnlock(SAFEARRAY* array) noexcept
    {
        if (!array)
            return E_INVALIDARG;
        std::atomic_ref<ULONG> locks(array->cLocks);
        ULONG held = locks.load();
        do {
            if (held == 0)
                return E_UNEXPECTED;
        } while (!locks.compare_exchange_weak(held, held - 1));
        return S_OK;
    }

    HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data) noexcept
    {
        if (!array || !data)
            return E_INVALIDARG;
        const HRESULT status = SafeArrayLock(array);
        *data = SUCCEEDED(status) ? array->pvData : nullptr;
        return status;
    }

    HRESULT SafeArrayUnaccessData(SAFEARRAY* array) noexcept
    {
        return SafeArrayUnlock(array);
    }

    // One index a dimension, the leftmost first.
    HRESULT SafeArrayPtrOfIndex(SAFEARRAY* array, LONG* indices, void** element) noexcept
    {
        if (!array || !indices || !element)
            return E_INVALIDARG;
        std::size_t cell = 0, stride = 1;
        for (USHORT i = 0; i < array->cDims; ++i) {
            const SAFEARRAYBOUND& bound = array->rgsabound[array->cDims - 1 - i];
            const std::int64_t at = std::int64_t{indices[i]} - bound.lLbound;
            if (at < 0 || at >= std::int64_t{bound.cElements})
                return DISP_E_BADINDEX;
            cell += static_cast<std::size_t>(at) * stride;
            stride *= bound.cElements;
        }
        *element = static_cast<char*>(array->pvData) + cell * array->cbElements;
        return S_OK;
    }

    // A string is a copy, an interface is counted, a variant takes the place of what the caller's variant holds.
    HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* indices, void* element) noexcept
    {
        if (!array || !indices || !element)
            return E_INVALIDARG;
        HRESULT status = SafeArrayLock(array);
        if (FAILED(status))
            return status;
        void* source = nullptr;
        status = SafeArrayPtrOfIndex(array, indices, &source);
        if (SUCCEEDED(status))
            status = (array->fFeatures & FADF_VARIANT) ? VariantCopy(static_cast<VARIANT*>(element), static_cast<const VARIANT*>(source))
                                                       : copyElement(*array, element, source);
        SafeArrayUnlock(array);
        return status;
    }

    // The element is what the array copies: a BSTR or an interface itself, for other types a pointer to the value.
    HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* indices, void* element) noexcept
    {
        if (!array || !indices)
            return E_INVALIDARG;
        const bool isPointer = (array->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH)) != 0;
        if (!element && !isPointer)
            return E_INVALIDARG;
        HRESULT status = SafeArrayLock(array);
        if (FAILED(status))
            return status;
        void* target = nullptr;
        status = SafeArrayPtrOfIndex(array, indices, &target);
        if (SUCCEEDED(status)) {
            if (isPointer) {
                void* fresh = nullptr;
                status = copyElement(*array, &fresh, &element); // the new value first: it may be the old one
                if (SUCCEEDED(status)) {
                    releaseElement(array->fFeatures, target);
                    *static_cast<void**>(target) = fresh;
                }
            } else if (array->fFeatures & FADF_VARIANT) {
                status = VariantCopy(static_cast<VARIANT*>(target), static_cast<const VARIANT*>(element));
            } else {
                std::memcpy(target, element, array->cbElements);
            }
        }
        SafeArrayUnlock(array);
        return status;
    }

} // extern "C"
