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
// storages here, so that later gateways do not open the file again. Storages are lent, not counted: the gateway that opened
// the file outlives those that use what it left here.
class suStorageDocument
{
public:
    virtual std::u16string getStorageName() const = 0;
    virtual std::uint64_t getByteTotal() const = 0;
    virtual void setByteTotal(std::uint64_t bytes) = 0;
    virtual IStorage* getTopStorage() const = 0;
    virtual IStorage* getEmbeddedReferencesStorage() const = 0;
    virtual IStorage* getEmbeddedStorage() const = 0;
    virtual void setTopStorage(IStorage* storage) = 0;
    virtual void setEmbeddedReferencesStorage(IStorage* storage) = 0;
    virtual void setEmbeddedStorage(IStorage* storage) = 0;

protected:
    ~suStorageDocument() = default;
};

// Hooks through which a stream is enciphered and deciphered in blocks. No cipher is part of this library: without hooks a
// block of any size gives 0 bytes.
struct suCipherHooks
{
    using Hook = std::size_t (*)(std::span<const std::uint8_t> input, std::span<std::uint8_t> output, std::u16string_view key);
    Hook encipher = nullptr;
    Hook decipher = nullptr;
};

// At most one stream and one child storage are attached at a time; nodes are looked up in the child storage when there is
// one, else in the root. For one thread. Throws suOleException when a file cannot be opened, suArchiveException and
// suFileException where a compressed node cannot; operations that return a bool give false when nothing was done.
class suStructuredStorage
{
public:
    // Wraps an open storage; a counted reference is held meanwhile.
    explicit suStructuredStorage(IStorage* storage, suStorageDocument* document = nullptr);
    // Opens the file (a missing one is created when readWrite and the storage says so); readWrite and snapshot decide the
    // modes. With a root storage given the file is not opened. With checkIsStorage a file that is no compound file leaves
    // the object without a storage and nothing is thrown.
    suStructuredStorage(std::u16string_view name, bool readWrite, suStorageDocument* document, IStorage* rootStorage, bool snapshot,
                        bool checkIsStorage);
    ~suStructuredStorage();
    suStructuredStorage(const suStructuredStorage&) = delete;
    suStructuredStorage& operator=(const suStructuredStorage&) = delete;

    // Attaches a stream, a compressed stream or (isStream false) a child storage. wantCompress is 0, or 3 to write compressed.
    bool attachToNode(bool isStoring, const std::u16string& name, bool isStream, int wantCompress);
    // The archive over the attached stream; without one a generic archive exception.
    su_CArchive& getArchive();
    bool releaseStream();
    void releaseChildStorage();

    // 4 "__ZLB" form, 2 "__Zip" form, 0 plain stream, -1 neither found. Releases an attached stream.
    int isNodeCompressed(const std::u16string& name);
    // The real name of a node in the form that is attached now.
    std::u16string iGetStreamName(const std::u16string& name) const;

    // The number of the "_MO_VERSION_" marker, 0 when there is none; the same for the display-list marker.
    int loadVersion();
    // What loadVersion is to answer without a walk through the root, from one that has loaded it of this storage; 0 for unknown.
    void knowVersion(int version) noexcept { knownVersion = version; }
    static int loadVersion(IStorage& storage);
    int loadDLVersion();
    bool writeVersion(int version);
    bool writeDLVersion(int version);

    bool renameNode(const std::u16string& name, const std::u16string& newName);
    // Removes whichever form of the node exists; true as well when there is nothing to remove.
    bool destroyNode(const std::u16string& name);
    // Removes each element of the current storage whose name begins with the prefix, or with none of the prefixes.
    bool destroyAllStreams(const std::u16string& prefix);
    bool syncStreams(std::span<const std::u16string> keep);

    HRESULT writeClassStg(REFCLSID id);
    HRESULT readClassStg(CLSID& id);

    // Whole conversions between two file objects, through temporary files.
    bool mem2stream(suFile& source, suFile& destination);
    bool stream2mem(suFile& source, suFile& destination);

    bool encryptAndReleaseStream(std::u16string_view key);
    bool decryptAndAttachStream(const std::u16string& name, std::u16string_view key);
    static suCipherHooks cipherHooks;

    void showDetailsOfCompression();

    IStorage* getRootStorage() const noexcept { return rootStorage.get(); }
    IStorage* getChildStorage() const noexcept { return childStorage.get(); }
    IStorage* getTopStorage() const noexcept { return topStorage.get(); }
    bool topStorageIsPresent() const;
    suStorageDocument* getDocument() const noexcept { return document; }
    // The stream under the attached archive, null for a child storage or nothing.
    IStream* getAttachedStream() const noexcept { return archive ? streamFile.getStream() : nullptr; }
    HRESULT getLastError() const noexcept { return lastError; }

private:
    IStorage* iCurrentStorage() const noexcept { return childStorage ? childStorage.get() : rootStorage.get(); }
    void iOpenPlain(bool readWrite, bool snapshot);
    void iOpenEmbedded(const std::u16string& innerName, bool readWrite, bool snapshot);
    void iReuseEmbedded();
    void iReleaseWrapper(std::unique_ptr<suStructuredStorage>& wrapper, bool sparesRoot);

    bool iAttachToStream(bool isStoring, const std::u16string& name);
    bool iAttachToStorage(bool isStoring, const std::u16string& name);
    bool attachToCompressedStream(bool isStoring, const std::u16string& name, int whatType);
    void commitDeCompression();
    bool commitCompression();
    bool releaseCompressedStream();
    void iBuildArchive(suFile& file, bool isStoring);
    bool takeCareIfAlreadyThereComp(IStorage& storage, const std::u16string& name);
    bool takeCareIfAlreadyThereUnComp(IStorage& storage, const std::u16string& name);
    bool iDestroyNode(const std::u16string& storedName);
    bool iIsStorage(const std::u16string& name);
    template <class Matches> void iDestroyMatching(Matches&& matches);
    [[noreturn]] void iThrowStreamFailure();
    bool iWriteVersionNode(std::u16string_view prefix, int version);
    void iEncryptStream(std::u16string_view key);
    bool iDecryptStream(IStream& source, std::u16string_view key);

    std::u16string nodeName; // as the caller gave it, without suffix
    suStorageDocument* document = nullptr;
    ComPtr<IStorage> topStorage; // the outer file's storage when the document is embedded: it goes behind the root in it
    ComPtr<IStorage> rootStorage;
    ComPtr<IStorage> childStorage;
    std::unique_ptr<suStructuredStorage> embeddedRefsWrapper;
    std::unique_ptr<suStructuredStorage> embeddedDocWrapper;
    bool ownsStorages = false;
    suStreamFile streamFile;
    std::unique_ptr<su_CArchive> archive;
    suStreamFile memoryFile;
    bool onMemoryFile = false;
    std::unique_ptr<suCompressedFile_c> compressedFile;
    bool compressedStoring = false;
    int compressionType = 0; // 0 plain, 2 and 3 "Zip" naming, 4 "ZLB" naming; -1 can be left by destroyNode
    std::int32_t compressionRatio = 0;
    std::int32_t compressionSeconds = 0; // shown, never set
    ComPtr<suFileLockBytes> lockBytes;
    HRESULT lastError = S_OK;
    int knownVersion = 0;
    bool streamReleased = false;
    int storedCompressionType = -1; // 2 or 4 once a compressed node was found
    std::u16string storageName;     // the document's name
};

// The "~$" file beside a document that tells who works on it. The paths are the system's (see platform/files).
std::u16string getReservationName(std::u16string_view storageName);
bool reserve(std::u16string_view storageName);
bool reserve(IStorage* storage); // a document on a storage needs none: true, and nothing happens
// False and the file is kept when it names another user.
bool unreserve(std::u16string_view storageName);
bool whoIsUsing(std::u16string_view storageName, std::u16string& user);

} // namespace kvdm
