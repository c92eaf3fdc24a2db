// The one creatable class, the application object, and the search options that it hands out.
#pragma once

#include <kvdocmgr/enumerations.h>
#include <kvdocmgr/identifiers.h>
#include <kvdocmgr/oletypes.h>

struct IKvDMApplication;
struct IKvDMDocument;
struct IKvDMSearchOption;

// Made by DllGetClassObject for CLSID_KvDMClassFactory; gives application objects, each call a new one.
struct IKvDMClassFactory : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE GetApplication(IKvDMApplication** application) = 0;
};

// The application object. It keeps no list of its documents.
struct IKvDMApplication : IUnknown
{
    // Opens the file. allowReadOnly true opens read-only, false opens read-write: the name misleads and stays.
    // docType unknown tests the extension; any other value lets every extension pass. The outcome stands in result, the
    // status is a failure only for empty out-pointers and for a file that the system refuses to open for writing.
    virtual HRESULT STDMETHODCALLTYPE GetDocument(BSTR fullPathName, KvDmDocumentType docType, VARIANT_BOOL allowReadOnly,
                                                  KvDmDocumentOpenError* result, IKvDMDocument** document) = 0;
    // Copies a document with the named children and repairs the references in the copies. error takes KvDmMoveCopyError bits.
    virtual HRESULT STDMETHODCALLTYPE CopyDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                                   IKvDMSearchOption* searchOption, LONG* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                                   IKvDMSearchOption* searchOption, LONG* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetSearchOptionObject(IKvDMSearchOption** option) = 0;
    // 3800.
    virtual HRESULT STDMETHODCALLTYPE GetLatestSupportedFileVersion(LONG* version) = 0;
};

// Documents on a client's own stream or storage.
struct IKvDMApplication2 : IKvDMApplication
{
    // Opens a document on a client's IStream or IStorage. Everything that opening reads is read before the call returns.
    // One application object serves one stream document: a second call lets go of the first stream.
    virtual HRESULT STDMETHODCALLTYPE GetDocument2(IUnknown* documentStream, KvDmDocumentOpenError* result, IKvDMDocument** document) = 0;
};

// Folders and filters for listing references and finding where a document is used.
struct IKvDMSearchOption : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddSearchPath(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveSearchPath(BSTR path) = 0;
    // An array of strings; with KvDmSearchSubfolders the folders below each path too.
    virtual HRESULT STDMETHODCALLTYPE GetAllSearchPaths(VARIANT* paths) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearAllSearchPaths() = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SearchFilters(LONG* filters) = 0;
    // Bits of KvDmSearchFilters.
    virtual HRESULT STDMETHODCALLTYPE put_SearchFilters(LONG filters) = 0;
};

// The CAD-neutral face of the same object.
struct ICommonCADSearchOption : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddSearchPath(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveSearchPath(BSTR path) = 0;
    // An array of strings; with KvDmSearchSubfolders the folders below each path too.
    virtual HRESULT STDMETHODCALLTYPE GetAllSearchPaths(VARIANT* paths) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearAllSearchPaths() = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SearchFilters(LONG* filters) = 0;
    // Bits of KvDmSearchFilters.
    virtual HRESULT STDMETHODCALLTYPE put_SearchFilters(LONG filters) = 0;
};
