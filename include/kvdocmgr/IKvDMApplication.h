// The one creatable class, the application object, and the search options that it hands out.
// Objects that come out are counted for the caller (Release), variants are the caller's (VariantClear), strings that go in
// stay the caller's; a null string is the empty one. E_POINTER for an empty out-pointer unless the method says that it may be
// null. An object belongs to the thread that made it.
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
    // Opens the file, given by a Windows path or one that begins with "/". allowReadOnly true opens read-only, false opens
    // read-write: the name misleads and stays. docType unknown tests the extension (result NonKV when it is none of a
    // document); any other value lets every extension pass. The outcome stands in result, document is null without one.
    // A file that the system refuses, or a compound file that does not open, gives a failure status (STG_E_ACCESSDENIED,
    // STG_E_SHAREVIOLATION, STG_E_INVALIDHEADER, STG_E_DOCFILECORRUPT ...) and no document; result stays None then. A file of
    // another kind or a newer one is handed out: GetVersion leaves its output alone, and the other answers are empty.
    virtual HRESULT STDMETHODCALLTYPE GetDocument(BSTR fullPathName, KvDmDocumentType docType, VARIANT_BOOL allowReadOnly,
                                                  KvDmDocumentOpenError* result, IKvDMDocument** document) = 0;
    // To copy or move a document with the named children (arrays of strings) and to repair the references in the results.
    // Not yet: always S_OK with kvDmMoveCopyErrorFail (bits of KvDmMoveCopyError) in error, which may be null; no file is
    // touched.
    virtual HRESULT STDMETHODCALLTYPE CopyDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                                   IKvDMSearchOption* searchOption, LONG* error) = 0;
    virtual HRESULT STDMETHODCALLTYPE MoveDocument(BSTR fromName, BSTR toName, VARIANT fromChildren, VARIANT toChildren, LONG option,
                                                   IKvDMSearchOption* searchOption, LONG* error) = 0;
    // A new one at each call.
    virtual HRESULT STDMETHODCALLTYPE GetSearchOptionObject(IKvDMSearchOption** option) = 0;
    // The newest document version that is read and written: 3800.
    virtual HRESULT STDMETHODCALLTYPE GetLatestSupportedFileVersion(LONG* version) = 0;
};

// Documents on a client's own stream or storage.
struct IKvDMApplication2 : IKvDMApplication
{
    // Opens a document on a client's IStream or IStorage, which is counted while it is used; an object that is both is taken
    // as a storage. Everything that opening reads is read before the call returns. One application object serves one stream
    // document: a second call lets go of the first stream. result is None or Fail. The status is that of opening the stream
    // as a compound file, else S_OK; document is left alone where nothing was opened. Such a document has no path.
    virtual HRESULT STDMETHODCALLTYPE GetDocument2(IUnknown* documentStream, KvDmDocumentOpenError* result, IKvDMDocument** document) = 0;
};

// Folders and filters for listing references and finding where a document is used. Not yet: nothing reads them.
struct IKvDMSearchOption : IUnknown
{
    // Puts the path, as it is given, behind the others.
    virtual HRESULT STDMETHODCALLTYPE AddSearchPath(BSTR path) = 0;
    // Removes the first that is equal without regard to case; S_OK without one too.
    virtual HRESULT STDMETHODCALLTYPE RemoveSearchPath(BSTR path) = 0;
    // VT_ARRAY | VT_BSTR in the order of adding. Not yet: the folders below each path with KvDmSearchSubfolders.
    virtual HRESULT STDMETHODCALLTYPE GetAllSearchPaths(VARIANT* paths) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearAllSearchPaths() = 0;
    // Bits of KvDmSearchFilters; 0 in a new object.
    virtual HRESULT STDMETHODCALLTYPE get_SearchFilters(LONG* filters) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SearchFilters(LONG filters) = 0;
};

// The CAD-neutral face of the same object: the same methods.
struct ICommonCADSearchOption : IUnknown
{
    virtual HRESULT STDMETHODCALLTYPE AddSearchPath(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE RemoveSearchPath(BSTR path) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetAllSearchPaths(VARIANT* paths) = 0;
    virtual HRESULT STDMETHODCALLTYPE ClearAllSearchPaths() = 0;
    virtual HRESULT STDMETHODCALLTYPE get_SearchFilters(LONG* filters) = 0;
    virtual HRESULT STDMETHODCALLTYPE put_SearchFilters(LONG filters) = 0;
};
