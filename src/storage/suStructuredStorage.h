// The one gateway to a document's compound file: resolves a node name to a stream, a compressed stream or a child storage,
// hands out an archive positioned on it, and flushes and releases it afterwards.
#pragma once

#include "storage/archive/su_CArchive.h"
#include "storage/suStreamFile.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

namespace kvdm {

class suCompressedFile_c;
class suFileLockBytes;

// What the storage layer needs of the document above it. A document that lives inside another one keeps the outer file's
// storages here, so that later gateways do not open the file again. Storages are lent, not counted.
class suStorageDocument
{
public:
    virtual std::u16string getStorageName() const = 0;
    virtual std::uint32_t getByteTotal() const = 0;
    virtual void setByteTotal(std::uint32_t bytes) = 0;
    virtual IStorage* getTopStorage() const = 0;
    virtual IStorage* getEmbeddedReferencesStorage() const = 0;
    virtual IStorage* getEmbeddedStorage() const = 0;
    virtual void setTopStorage(IStorage* storage) = 0;
    virtual void setEmbeddedReferencesStorage(IStorage* storage) = 0;
    virtual void setEmbeddedStorage(IStorage* storage) = 0;

protected:
    ~suStorageDocument() = default;
};

// At most one stream and one child storage are attached at a time; nodes are looked up in the child storage when there is
// one, else in the root. For one thread. Throws suOleException when a file cannot be opened, suArchiveException and
// suFileException where a compressed node cannot.
class suStructuredStorage
{
public:
    // Wraps an open storage, which stays the caller's (a counted reference is held meanwhile).
    explicit suStructuredStorage(IStorage* storage, suStorageDocument* document = nullptr);
    // Opens the file, or creates its storage; readWrite decides the modes. With checkIsStorage a file that is no compound
    // file leaves the object without a storage and nothing is thrown.
    suStructuredStorage(std::u16string_view name, bool readWrite, suStorageDocument* document, IStorage* rootStorage, bool snapshot,
                        bool checkIsStorage);
    ~suStructuredStorage();
    suStructuredStorage(const suStructuredStorage&) = delete;
    suStructuredStorage& operator=(const suStructuredStorage&) = delete;

    bool attachToNode(bool isStoring, const std::u16string& name, bool isStream, int wantCompress);
    su_CArchive& getArchive();
    bool releaseStream();
    void releaseChildStorage();

    // 4 "__ZLB" form, 2 "__Zip" form, 0 plain stream, -1 neither found.
    int isNodeCompressed(const std::u16string& name);
    std::u16string iGetStreamName(const std::u16string& name) const;

    int loadVersion();
    static int loadVersion(IStorage& storage);
    int loadDLVersion();
    bool writeVersion(int version);
    bool writeDLVersion(int version);

    IStorage* getRootStorage() const noexcept { return rootStorage.get(); }
    IStorage* getChildStorage() const noexcept { return childStorage.get(); }
    IStorage* getTopStorage() const noexcept { return topStorage.get(); }
    bool topStorageIsPresent() const noexcept { return static_cast<bool>(topStorage); }
    suStorageDocument* getDocument() const noexcept { return document; }

private:
    IStorage* currentStorage() const noexcept { return childStorage ? childStorage.get() : rootStorage.get(); }

    std::u16string nodeName;
    suStorageDocument* document = nullptr;
    ComPtr<IStorage> rootStorage;
    ComPtr<IStorage> childStorage;
    ComPtr<IStorage> topStorage;
};

} // namespace kvdm
