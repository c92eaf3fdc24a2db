// What every command shares: the library as its clients see it, and answers as C++ values.
#pragma once

#include <kvdocmgr/kvdocmgr.h>

#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace kvdm::tool {

// A command that could not do what it was asked: one line for standard error.
class Failure : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

struct Property
{
    std::u16string name;
    LONG type = 0;
    std::u16string linkedTo;
    std::u16string value;
};

// An open document; everything is asked through the published interfaces.
class Document
{
public:
    // Read-only unless told otherwise. The outcome stands in error(); an object may stand although nothing can be read.
    explicit Document(const std::string& nativePath, bool readOnly = true);

    KvDmDocumentOpenError error() const noexcept { return openError; }
    IKvDMDocument12* operator->() const noexcept { return chain.get(); }
    IKvDMDocument12& operator*() const noexcept { return *chain; }
    // Throws a Failure that says what is wrong, unless the document can be read.
    void requireReadable() const;

    // A text answer; empty when the call failed.
    std::optional<std::u16string> text(HRESULT (IKvDMDocument::*get)(BSTR*)) const;
    ComPtr<IKvDMConfigurationMgr> configurationManager() const;
    // The configuration of that name, exact in case; a Failure when there is none.
    ComPtr<IKvDMConfiguration9> configuration(const std::string& name) const;
    std::vector<std::u16string> hyperLinks() const;

private:
    std::string path;
    KvDmDocumentOpenError openError = kvDmDocumentOpenErrorFail;
    HRESULT openStatus = S_OK;
    ComPtr<IKvDMDocument12> chain;
};

ComPtr<IKvDMApplication> makeApplication();

// Why a file was not opened, in the words of the system when it has some.
Failure openingFailure(const std::string& path, HRESULT status);

// The configurations in list order; one that cannot be had by its name is left out.
std::vector<ComPtr<IKvDMConfiguration9>> configurations(IKvDMConfigurationMgr& manager);

// Custom properties in list order; none when the call fails.
std::vector<Property> customProperties(IKvDMDocument12& document);
std::vector<Property> customProperties(IKvDMConfiguration9& configuration);
std::vector<Property> invisibleProperties(IKvDMDocument12& document);

// The texts and numbers of a one-dimensional array in a variant; an empty variant has none.
std::vector<std::u16string> texts(const VARIANT& variant);
std::vector<LONG> numbers(const VARIANT& variant);
std::vector<double> reals(const VARIANT& variant);

// "text", "date", "number", "yes-no", or the number of a type that has no name.
std::string typeName(LONG type);
std::string statusText(HRESULT status);

} // namespace kvdm::tool
