#include "common/automationObject.h"

#include <kvdocmgr/oletypes.h>
#include <kvdocmgr/owned.h>

#include <gtest/gtest.h>

using namespace kvdm;

namespace {

class Counted final : public AutomationObject<IDispatch>
{
public:
    explicit Counted(int& living) : alive(living) { ++alive; }
    ULONG references()
    {
        AddRef();
        return Release();
    }

    HRESULT GetTypeInfoCount(UINT*) noexcept override { return E_NOTIMPL; }
    HRESULT GetTypeInfo(UINT, LCID, ITypeInfo**) noexcept override { return E_NOTIMPL; }
    HRESULT GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) noexcept override { return E_NOTIMPL; }
    HRESULT Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) noexcept override { return E_NOTIMPL; }

private:
    ~Counted() override { --alive; }
    int& alive;
};

VARIANT ofType(VARTYPE type)
{
    VARIANT value;
    VariantInit(&value);
    value.vt = type;
    return value;
}

VARIANT ofText(const char16_t* text)
{
    VARIANT value = ofType(VT_BSTR);
    value.bstrVal = SysAllocString(text);
    return value;
}

TEST(Variant, ClearReleasesWhatItOwns)
{
    int living = 0;
    VARIANT value = ofType(VT_DISPATCH);
    value.pdispVal = new Counted(living);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(living, 0);
    EXPECT_EQ(value.vt, VT_EMPTY);

    value.vt = VT_ARRAY | VT_UNKNOWN;
    value.parray = SafeArrayCreateVector(VT_UNKNOWN, 0, 2);
    static_cast<IUnknown**>(value.parray->pvData)[1] = new Counted(living);
    SafeArrayLock(value.parray);
    EXPECT_EQ(VariantClear(&value), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(value.vt, VT_ARRAY | VT_UNKNOWN);
    EXPECT_EQ(living, 1);
    SafeArrayUnlock(value.parray);
    EXPECT_EQ(VariantClear(&value), S_OK);
    EXPECT_EQ(living, 0);

    BSTR text = SysAllocString(u"borrowed");
    value.vt = VT_BSTR | VT_BYREF;
    value.pbstrVal = &text;
    EXPECT_EQ(VariantClear(&value), S_OK); // what is behind a reference stays
    EXPECT_EQ(std::u16string_view(text), u"borrowed");
    SysFreeString(text);
}

TEST(Variant, TypesThatAVariantCannotHaveAreRefused)
{
    for (const unsigned type : {15u, 24u, 30u, 31u, 64u, 65u, 72u, 0xFFFu, 0x1003u, 0x8003u, 12u, 0x4000u, 0x4001u, 0x2000u, 0x2001u}) {
        VARIANT value = ofType(static_cast<VARTYPE>(type)), copy = ofType(VT_EMPTY);
        EXPECT_EQ(VariantClear(&value), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(value.vt, type);
        EXPECT_EQ(VariantCopy(&copy, &value), DISP_E_BADVARTYPE) << type;
        EXPECT_EQ(VariantCopyInd(&copy, &value), DISP_E_BADVARTYPE) << type;
    }
    EXPECT_EQ(VariantClear(nullptr), E_INVALIDARG);
}

TEST(Variant, CopiesAreIndependent)
{
    int living = 0;
    VARIANT text = ofText(u"one"), copy = ofText(u"old");
    EXPECT_EQ(VariantCopy(&copy, &text), S_OK);
    text.bstrVal[0] = u'X';
    EXPECT_EQ(std::u16string_view(copy.bstrVal), u"one");
    EXPECT_EQ(VariantCopy(&text, &text), S_OK);

    auto* object = new Counted(living);
    VARIANT held = ofType(VT_UNKNOWN);
    held.punkVal = object;
    EXPECT_EQ(VariantCopy(&copy, &held), S_OK);
    EXPECT_EQ(object->references(), 2u);
    VariantClear(&held);
    EXPECT_EQ(object->references(), 1u);
    VariantClear(&copy);
    EXPECT_EQ(living, 0);

    // The source may lie in what the target owns.
    VARIANT list = ofType(VT_ARRAY | VT_VARIANT);
    list.parray = SafeArrayCreateVector(VT_VARIANT, 0, 1);
    auto* inner = static_cast<VARIANT*>(list.parray->pvData);
    *inner = ofText(u"inner");
    EXPECT_EQ(VariantCopy(&list, inner), S_OK);
    EXPECT_EQ(list.vt, VT_BSTR);
    EXPECT_EQ(std::u16string_view(list.bstrVal), u"inner");
    VariantClear(&list);
    VariantClear(&text);
}

TEST(Variant, CopyIndFollowsReferences)
{
    BSTR text = SysAllocString(u"behind");
    VARIANT reference = ofType(VT_BSTR | VT_BYREF), value = ofType(VT_EMPTY);
    reference.pbstrVal = &text;
    EXPECT_EQ(VariantCopyInd(&value, &reference), S_OK);
    EXPECT_EQ(value.vt, VT_BSTR);
    EXPECT_NE(value.bstrVal, text);

    VARIANT outer = ofType(VT_VARIANT | VT_BYREF);
    outer.pvarVal = &reference; // a variant that is itself a reference
    EXPECT_EQ(VariantCopyInd(&value, &outer), S_OK);
    EXPECT_EQ(std::u16string_view(value.bstrVal), u"behind");
    VARIANT twice = ofType(VT_VARIANT | VT_BYREF);
    twice.pvarVal = &outer;
    EXPECT_EQ(VariantCopyInd(&value, &twice), E_INVALIDARG);
    EXPECT_EQ(std::u16string_view(value.bstrVal), u"behind");

    SHORT number = -7;
    VARIANT small = ofType(VT_I2 | VT_BYREF);
    small.piVal = &number;
    EXPECT_EQ(VariantCopyInd(&small, &small), S_OK); // onto itself
    EXPECT_EQ(small.vt, VT_I2);
    EXPECT_EQ(small.iVal, -7);

    DECIMAL decimal{};
    decimal.Lo64 = 42;
    VARIANT money = ofType(VT_DECIMAL | VT_BYREF);
    money.byref = &decimal;
    EXPECT_EQ(VariantCopyInd(&money, &money), S_OK);
    EXPECT_EQ(money.vt, VT_DECIMAL);
    EXPECT_EQ(money.ullVal, 42u);

    SAFEARRAY* array = SafeArrayCreateVector(VT_I4, 5, 2);
    VARIANT list = ofType(VT_ARRAY | VT_I4 | VT_BYREF);
    list.pparray = &array;
    EXPECT_EQ(VariantCopyInd(&value, &list), S_OK);
    EXPECT_EQ(value.vt, VT_ARRAY | VT_I4);
    EXPECT_NE(value.parray, array);
    VARIANT nothing = ofType(VT_I4 | VT_BYREF);
    nothing.byref = nullptr;
    EXPECT_EQ(VariantCopyInd(&value, &nothing), E_INVALIDARG);
    VariantClear(&value);
    SafeArrayDestroy(array);
    SysFreeString(text);
}

TEST(Variant, ALockedTargetKeepsItsArray)
{
    VARIANT target = ofType(VT_ARRAY | VT_I4), source = ofText(u"x");
    target.parray = SafeArrayCreateVector(VT_I4, 0, 1);
    SafeArrayLock(target.parray);
    EXPECT_EQ(VariantCopy(&target, &source), DISP_E_ARRAYISLOCKED);
    EXPECT_EQ(target.vt, VT_ARRAY | VT_I4);
    SafeArrayUnlock(target.parray);
    VariantClear(&target);
    VariantClear(&source);
}

} // namespace
