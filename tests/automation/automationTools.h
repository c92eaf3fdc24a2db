// A client's first steps: the application from the export, a document from a path, values as a client reads and frees them.
#pragma once

#include "support/DocumentBuilder.h"
#include "support/TemporaryFolder.h"

#include <kvdocmgr/kvdocmgr.h>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace kvdm::test {

template <class Interface> ComPtr<Interface> ask(IUnknown* object, REFIID id)
{
    ComPtr<Interface> result;
    EXPECT_EQ(object->QueryInterface(id, result.putVoid()), S_OK);
    return result;
}

inline ComPtr<IKvDMApplication2> newApplication()
{
    ComPtr<IClassFactory> classObject;
    ComPtr<IKvDMClassFactory> factory;
    ComPtr<IKvDMApplication> application;
    if (DllGetClassObject(CLSID_KvDMClassFactory, IID_IClassFactory, classObject.putVoid()) != S_OK ||
        classObject->CreateInstance(nullptr, IID_IKvDMClassFactory, factory.putVoid()) != S_OK || factory->GetApplication(application.put()) != S_OK)
        return nullptr;
    return ask<IKvDMApplication2>(application.get(), IID_IKvDMApplication2);
}

struct Opened
{
    HRESULT status = E_UNEXPECTED;
    KvDmDocumentOpenError error = static_cast<KvDmDocumentOpenError>(-1);
    ComPtr<IKvDMDocument12> document; // null when none was handed out
};

inline Opened openDocument(const std::string& path, KvDmDocumentType type = kvDmDocumentUnknown, bool readOnly = true)
{
    Opened opened;
    ComPtr<IKvDMDocument> document;
    const OwnedBstr name(fromUtf8(path, IllFormed::keep));
    opened.status = newApplication()->GetDocument(name.get(), type, readOnly ? VARIANT_TRUE : VARIANT_FALSE, &opened.error, document.put());
    if (document)
        opened.document = ask<IKvDMDocument12>(document.get(), IID_IKvDMDocument12);
    return opened;
}

// The documents of the corpus and those that a test builds.
inline ComPtr<IKvDMDocument12> mustOpen(const std::string& path, bool readOnly = true)
{
    Opened opened = openDocument(path, kvDmDocumentUnknown, readOnly);
    EXPECT_EQ(opened.status, S_OK) << path;
    EXPECT_EQ(opened.error, kvDmDocumentOpenErrorNone) << path;
    EXPECT_TRUE(opened.document) << path;
    return std::move(opened.document);
}

inline std::string corpus(const std::string& name)
{
    return std::string(KVDM_TEST_CORPUS) + "/" + name;
}

// Calls a method with a string as its only output; the text in UTF-8, "(failed)" in front of it when the method failed.
template <class Object, class Getter, class... In> std::string textFrom(Object& object, Getter getter, In... in)
{
    OwnedBstr text;
    const HRESULT status = (object.*getter)(in..., text.put());
    return (FAILED(status) ? "(failed)" : "") + toUtf8(text.view());
}

inline std::vector<std::string> textsIn(const VARIANT& variant)
{
    std::vector<std::string> texts;
    if (variant.vt == VT_EMPTY)
        return texts;
    EXPECT_EQ(variant.vt, VT_ARRAY | VT_BSTR);
    EXPECT_EQ(SafeArrayGetDim(variant.parray), 1u);
    for (ULONG i = 0; i < variant.parray->rgsabound[0].cElements; ++i)
        texts.push_back(toUtf8(OwnedBstr::viewOf(static_cast<BSTR*>(variant.parray->pvData)[i])));
    return texts;
}

template <class Object, class Getter> std::vector<std::string> textsFrom(Object& object, Getter getter)
{
    OwnedVariant texts;
    EXPECT_EQ((object.*getter)(texts.put()), S_OK);
    return textsIn(texts.get());
}

// Numbers, flags and enumerations; the value that the output had before when the method leaves it alone.
template <class Value, class Object, class Getter> Value valueFrom(Object& object, Getter getter, Value before, HRESULT expected = S_OK)
{
    Value value = before;
    EXPECT_EQ((object.*getter)(&value), expected);
    return value;
}

inline LONG versionOf(IKvDMDocument& document)
{
    return valueFrom(document, &IKvDMDocument::GetVersion, LONG{-99});
}

} // namespace kvdm::test
