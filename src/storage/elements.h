// Walking the elements of a storage in batches, with the names freed on every path.
#pragma once

#include "common/automationText.h"
#include "common/exceptions.h"

#include <kvdocmgr/comptr.h>
#include <kvdocmgr/oletypes.h>

#include <algorithm>
#include <string_view>
#include <vector>

namespace kvdm {

// One batch of element records as IEnumSTATSTG gives them.
class suElementBatch
{
public:
    explicit suElementBatch(ULONG size) : records(size) {}
    ~suElementBatch() { iFree(); }
    suElementBatch(const suElementBatch&) = delete;
    suElementBatch& operator=(const suElementBatch&) = delete;

    // Fetches the next records; returns how many came.
    std::size_t fetch(IEnumSTATSTG& enumerator)
    {
        iFree();
        ULONG fetched = 0;
        if (FAILED(enumerator.Next(static_cast<ULONG>(records.size()), records.data(), &fetched)))
            fetched = 0;
        count = std::min<std::size_t>(fetched, records.size());
        return count;
    }

    bool isFull() const noexcept { return count == records.size(); }
    std::size_t size() const noexcept { return count; }
    const STATSTG& operator[](std::size_t at) const noexcept { return records[at]; }
    std::u16string_view name(std::size_t at) const noexcept { return fromOle(records[at].pwcsName); }

private:
    void iFree() noexcept
    {
        for (std::size_t i = 0; i < count; ++i)
            CoTaskMemFree(records[i].pwcsName);
        std::fill(records.begin(), records.end(), STATSTG{});
        count = 0;
    }

    std::vector<STATSTG> records;
    std::size_t count = 0;
};

inline ComPtr<IEnumSTATSTG> enumerateElements(IStorage& storage)
{
    ComPtr<IEnumSTATSTG> result;
    const HRESULT status = storage.EnumElements(0, nullptr, 0, result.put());
    if (FAILED(status)) {
        (void)result.detach(); // a failed call may leave anything behind
        throw suOleException(status);
    }
    return result;
}

} // namespace kvdm
