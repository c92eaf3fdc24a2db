#include "common/automationObject.h"

#include <kvdocmgr/oletypes.h>

#include <gtest/gtest.h>

#include <array>

using namespace kvdm;

namespace {

class Counted final : public AutomationObject<IUnknown>
{
public:
    explicit Counted(int& living) : alive(living) { ++alive; }

private:
    ~Counted() override { --alive; }
    int& alive;
};

TEST(SafeArray, DescribesItself)
{
    struct
    {
        VARTYPE type;
        ULONG size;
        USHORT features;
    } const cases[] = {{VT_I4, 4, 0x80},    {VT_R8, 8, 0x80},        {VT_BOOL, 2, 0x80},     {VT_UI1, 1, 0x80},      {VT_DECIMAL, 16, 0x80},
                       {VT_BSTR, 8, 0x180}, {VT_VARIANT, 24, 0x880}, {VT_UNKNOWN, 8, 0x240}, {VT_DISPATCH, 8, 0x440}};
    for (const auto& each : cases) {
        SAFEARRAY* array = SafeArrayCreateVector(each.type, -2, 5);
        ASSERT_TRUE(array) << each.type;
        VARTYPE type = 0;
        LONG lower = 0, upper = 0;
        EXPECT_EQ(SafeArrayGetVartype(array, &type), S_OK);
        EXPECT_EQ(type, each.type);
        EXPECT_EQ(SafeArrayGetElemsize(array), each.size);
        EXPECT_EQ(array->fFeatures, each.features);
        EXPECT_EQ(SafeArrayGetDim(array), 1u);
        EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
        EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
        EXPECT_EQ(lower, -2);
        EXPECT_EQ(upper, 2);
        EXPECT_EQ(SafeArrayGetUBound(array, 0, &upper), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayGetUBound(array, 2, &upper), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayDestroy(array), S_OK);
    }
    SAFEARRAY* empty = SafeArrayCreateVector(VT_BSTR, 0, 0);
    LONG upper = 0;
    EXPECT_EQ(SafeArrayGetUBound(empty, 1, &upper), S_OK);
    EXPECT_EQ(upper, -1);
    EXPECT_EQ(SafeArrayDestroy(empty), S_OK);
}

TEST(SafeArray, WhatCannotBeIsRefused)
{
    for (const unsigned type : {0u, 1u, 15u, 24u, 30u, 36u, 64u, 0x2003u, 0x4003u})
        EXPECT_FALSE(SafeArrayCreateVector(static_cast<VARTYPE>(type), 0, 1)) << type;
    SAFEARRAYBOUND huge[3] = {{0xFFFFFFFF, 0}, {0xFFFFFFFF, 0}, {0xFFFFFFFF, 0}};
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 3, huge));
    SAFEARRAYBOUND twisted[3] = {{0x80000000, 0}, {0x80000000, 0}, {16, 0}}; // the product wraps to nothing
    EXPECT_FALSE(SafeArrayCreate(VT_R8, 3, twisted));
    EXPECT_FALSE(SafeArrayCreateVector(VT_I4, 0x7FFFFFFF, 2)); // no index for the last element
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 0, huge));
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 1, nullptr));
    EXPECT_FALSE(SafeArrayCreate(VT_I4, 0x10000, huge));
    EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
    EXPECT_EQ(SafeArrayLock(nullptr), E_INVALIDARG);
}

TEST(SafeArray, TheFirstIndexRunsFastest)
{
    SAFEARRAYBOUND bounds[3] = {{2, 0}, {3, 1}, {4, -1}};
    SAFEARRAY* array = SafeArrayCreate(VT_I4, 3, bounds);
    ASSERT_TRUE(array);
    EXPECT_EQ(array->rgsabound[0].cElements, 4u); // the descriptor keeps the last dimension first
    EXPECT_EQ(array->rgsabound[2].cElements, 2u);
    LONG bound = 0;
    EXPECT_EQ(SafeArrayGetUBound(array, 2, &bound), S_OK);
    EXPECT_EQ(bound, 3);
    LONG indices[3] = {1, 2, 1};
    LONG value = 77;
    EXPECT_EQ(SafeArrayPutElement(array, indices, &value), S_OK);
    EXPECT_EQ(static_cast<LONG*>(array->pvData)[1 + 2 * (1 + 3 * 2)], 77);
    value = 0;
    EXPECT_EQ(SafeArrayGetElement(array, indices, &value), S_OK);
    EXPECT_EQ(value, 77);
    for (const auto& bad : {std::array<LONG, 3>{2, 2, 1}, {-1, 2, 1}, {0, 0, 1}, {0, 4, 1}, {0, 1, -2}, {0, 1, 3}}) {
        std::array<LONG, 3> copy = bad;
        EXPECT_EQ(SafeArrayPutElement(array, copy.data(), &value), DISP_E_BADINDEX);
        EXPECT_EQ(SafeArrayGetElement(array, copy.data(), &value), DISP_E_BADINDEX);
    }
    EXPECT_EQ(array->cLocks, 0u);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, ElementsAreOwnedByTheArray)
{
    int living = 0;
    LONG at = 0;
    SAFEARRAY* strings = SafeArrayCreateVector(VT_BSTR, 0, 2);
    BSTR text = SysAllocString(u"text");
    EXPECT_EQ(SafeArrayPutElement(strings, &at, text), S_OK);
    EXPECT_EQ(SafeArrayPutElement(strings, &at, *static_cast<BSTR*>(strings->pvData)), S_OK); // its own element
    BSTR got = nullptr;
    EXPECT_EQ(SafeArrayGetElement(strings, &at, &got), S_OK);
    EXPECT_EQ(std::u16string_view(got), u"text");
    EXPECT_NE(got, text);
    SysFreeString(got);
    SysFreeString(text);
    EXPECT_EQ(SafeArrayPutElement(strings, &at, nullptr), S_OK);
    EXPECT_EQ(SafeArrayDestroy(strings), S_OK);

    SAFEARRAY* objects = SafeArrayCreateVector(VT_UNKNOWN, 0, 2);
    auto* object = new Counted(living);
    EXPECT_EQ(SafeArrayPutElement(objects, &at, object), S_OK);
    object->Release();
    IUnknown* out = nullptr;
    EXPECT_EQ(SafeArrayGetElement(objects, &at, &out), S_OK);
    EXPECT_EQ(out, object);
    out->Release();
    SAFEARRAY* copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(objects, &copy), S_OK);
    EXPECT_EQ(SafeArrayPutElement(objects, &at, nullptr), S_OK);
    EXPECT_EQ(living, 1);
    EXPECT_EQ(SafeArrayDestroy(objects), S_OK);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
    EXPECT_EQ(living, 0);

    SAFEARRAY* variants = SafeArrayCreateVector(VT_VARIANT, 0, 2);
    VARIANT value;
    VariantInit(&value);
    value.vt = VT_UNKNOWN;
    value.punkVal = new Counted(living);
    EXPECT_EQ(SafeArrayPutElement(variants, &at, &value), S_OK);
    EXPECT_EQ(SafeArrayGetElement(variants, &at, &value), S_OK);
    EXPECT_EQ(SafeArrayPutElement(variants, &at, nullptr), E_INVALIDARG);
    EXPECT_EQ(SafeArrayCopy(variants, &copy), S_OK);
    VariantClear(&value);
    EXPECT_EQ(SafeArrayDestroy(variants), S_OK);
    EXPECT_EQ(living, 1);
    VARTYPE type = 0;
    EXPECT_EQ(SafeArrayGetVartype(copy, &type), S_OK);
    EXPECT_EQ(type, VT_VARIANT);
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
    EXPECT_EQ(living, 0);
}

TEST(SafeArray, LocksKeepItAlive)
{
    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 0, 1);
    void* data = nullptr;
    EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
    EXPECT_EQ(data, array->pvData);
    EXPECT_EQ(SafeArrayLock(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(SafeArrayUnlock(array), S_OK);
    EXPECT_EQ(SafeArrayUnlock(array), E_UNEXPECTED);
    array->cLocks = 0xFFFF;
    EXPECT_EQ(SafeArrayLock(array), E_UNEXPECTED);
    SAFEARRAY* copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(array, &copy), S_OK);
    EXPECT_EQ(copy->cLocks, 0u); // a copy is free
    array->cLocks = 0;
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
    EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST(SafeArray, AnArrayOnTheStackLosesItsElementsAlone)
{
    BSTR data[2] = {SysAllocString(u"a"), nullptr};
    SAFEARRAY array{1, 0x0001 | FADF_BSTR, sizeof(BSTR), 0, data, {{2, 0}}};
    SAFEARRAY* copy = nullptr;
    EXPECT_EQ(SafeArrayCopy(&array, &copy), S_OK);
    EXPECT_EQ(SafeArrayDestroy(&array), S_OK);
    EXPECT_EQ(data[0], nullptr);
    EXPECT_EQ(std::u16string_view(*static_cast<BSTR*>(copy->pvData)), u"a");
    EXPECT_EQ(SafeArrayDestroy(copy), S_OK);
}

} // namespace
