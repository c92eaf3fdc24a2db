// One open compound file: its tables, its directory and the state that its root storage works on.
#pragma once

#include "platform/compoundfile/allocationTable.h"
#include "platform/compoundfile/blockFile.h"
#include "platform/compoundfile/directory.h"
#include "platform/compoundfile/elementStore.h"
#include "platform/compoundfile/miniStore.h"
#include "platform/compoundfile/shareLocks.h"

#include <mutex>
#include <unordered_map>

namespace kvdm {

// Shared by the root storage and all objects under it. Every object of the tree takes the mutex for each of its operations, so
// that a stream may be read by a worker while the client's thread uses another.
class CompoundFile final : public ElementStore
{
public:
    static constexpr ElementId rootId = 0;

    explicit CompoundFile(ComPtr<ILockBytes> lockBytes);
    ~CompoundFile() override;

    // Takes the locks that the mode asks for and reads the header. Throws suOleException: see StgOpenStorageOnILockBytes.
    void open(DWORD mode);
    // The root is gone: gives up the locks. What is not committed is lost.
    void close() noexcept;

    std::optional<ElementId> find(ElementId storage, std::u16string_view name) override;
    ElementInfo info(ElementId element) override;
    std::vector<ElementId> children(ElementId storage) override;
    std::shared_ptr<StreamContent> content(ElementId stream) override;
    // The name with the zero units inside it that no interface can carry.
    std::u16string storedName(ElementId element);

    ILockBytes& lockBytes() const noexcept { return file.lockBytes(); }

    std::recursive_mutex mutex;

private:
    void iReadHeader();
    void iStart();

    BlockFile file;
    ShareLocks locks;
    CompoundHeader header;
    HeaderBytes headerOnDisk{};
    AllocationTable table;
    Directory directory;
    MiniStore mini;
    std::unordered_map<ElementId, std::weak_ptr<StreamContent>> contents;
};

// Whether the bytes begin as those of a compound file do: S_OK or S_FALSE, or why they cannot be read.
HRESULT isCompoundFile(ILockBytes& bytes) noexcept;

} // namespace kvdm
