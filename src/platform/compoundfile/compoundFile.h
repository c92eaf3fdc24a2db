// One open compound file: its tables, its directory and the state that its root storage works on.
#pragma once

#include "platform/compoundfile/allocationTable.h"
#include "platform/compoundfile/blockFile.h"
#include "platform/compoundfile/directory.h"
#include "platform/compoundfile/elementStore.h"
#include "platform/compoundfile/miniStore.h"
#include "platform/compoundfile/sectorAllocator.h"
#include "platform/compoundfile/shareLocks.h"

#include <map>
#include <mutex>
#include <set>
#include <unordered_map>

namespace kvdm {

class TableUpdate;

// Shared by the root storage and all objects under it. Every object of the tree takes the mutex for each of its operations, so
// that a stream may be read by a worker while the client's thread uses another.
//
// What its operations change is the working state: directory pages and small streams in memory, large streams in sectors that
// the committed state does not use. Only commit() (commit.cpp) makes it the committed one.
class CompoundFile final : public ElementStore
{
public:
    static constexpr ElementId rootId = 0;
    static constexpr std::size_t leastContents = 64;

    explicit CompoundFile(ComPtr<ILockBytes> lockBytes);
    ~CompoundFile() override;

    // Takes the locks that the mode asks for and reads the header. Throws suOleException: see StgOpenStorageOnILockBytes.
    void open(DWORD mode);
    // Takes the locks and makes an empty version 3 file of the byte array. What it held is replaced by the first commit, as a
    // whole; without STGM_CREATE a byte array that is not empty is refused.
    void create(DWORD mode);
    // The root is gone: gives up the locks. What is not committed is lost.
    void close() noexcept;

    std::optional<ElementId> find(ElementId storage, std::u16string_view name) override;
    ElementInfo info(ElementId element) override;
    std::vector<ElementId> children(ElementId storage) override;
    std::shared_ptr<StreamContent> content(ElementId stream, bool toWrite) override;
    std::shared_ptr<StreamContent> emptyContent() override;
    ElementId create(ElementId storage, std::u16string_view name, bool isStorage) override;
    void destroy(ElementId storage, ElementId element) override;
    void rename(ElementId storage, ElementId element, std::u16string_view name) override;
    void change(ElementId element, const ElementChange& change) override;

    // Makes the working state the committed one: shadow commit, see commit.cpp. Throws; the file holds the old state then,
    // or, when only the last flush failed, the new one.
    void commit(DWORD flags);
    // Back to the committed state. Objects that are open below the root must have been told before.
    void revert();
    bool isChanged() const noexcept;

    ILockBytes& lockBytes() const noexcept { return file.lockBytes(); }

    std::recursive_mutex mutex;

private:
    void iReadHeader();
    void iForgetWork() noexcept;
    void iStart();
    void iStartReplacement();
    bool iTablesAgree();
    void iCheckWhole() const;
    void iCheckStreams();
    void iDropContent(ElementId stream);
    void iRetire(std::vector<SectorChain::Run>& dropped);
    void iPlaceContent(ElementId stream, StreamContent& content);
    void iRelieveMemory();
    void iPlaceAll();
    void iCheckDisjoint(const TableUpdate& update);
    void iWriteSectors(std::vector<PagedChain::Piece>& pieces);
    HRESULT iPutHeader(const HeaderBytes& next, DWORD flags);
    void iCloseGap();
    void iAdopt(const CompoundHeader& next, const HeaderBytes& nextBytes, TableUpdate& update, bool isSafe) noexcept;

    BlockFile file;
    ShareLocks locks;
    CompoundHeader header;
    HeaderBytes headerOnDisk{};
    AllocationTable table;
    SectorAllocator allocator;
    Directory directory;
    MiniStore mini;
    std::unordered_map<ElementId, std::weak_ptr<StreamContent>> contents;
    std::size_t mostContents = leastContents; // at which those that are gone are looked for
    std::map<ElementId, std::shared_ptr<StreamContent>> toWrite;
    SectorSet retired; // of the committed state, not used by the working state
    bool mayWrite = false;
    bool streamsChecked = false;
    std::set<std::uint32_t> largeStarts; // the first sectors of large streams, once they were looked at
    bool isReplacing = false;            // the committed state is another file, which the first commit replaces
    bool leavesGap = false;              // that was so
    DWORD gapFlags = 0;                  // of that commit
    bool torn = false;                   // a change was cut short, by exhausted memory or by damage
};

// Whether the bytes begin as those of a compound file do: S_OK or S_FALSE, or why they cannot be read.
HRESULT isCompoundFile(ILockBytes& bytes) noexcept;

} // namespace kvdm
