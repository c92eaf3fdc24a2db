#include "platform/compoundfile/elementEnumerator.h"

#include "common/statusOfException.h"
#include "platform/compoundfile/streamObject.h"

namespace kvdm {

STATSTG statisticsOf(const ElementInfo& info) noexcept
{
    STATSTG statistics{};
    statistics.type = info.isStorage ? STGTY_STORAGE : STGTY_STREAM;
    statistics.cbSize.QuadPart = info.size;
    statistics.ctime = info.created;
    statistics.mtime = info.modified;
    statistics.clsid = info.clsid;
    statistics.grfStateBits = info.stateBits;
    return statistics;
}

HRESULT ElementEnumerator::Next(ULONG count, STATSTG* elements, ULONG* fetched) noexcept
{
    if (fetched)
        *fetched = 0;
    if (!elements || (!fetched && count != 1))
        return STG_E_INVALIDPOINTER;
    ULONG done = 0;
    const HRESULT status = automationCall([&]() -> HRESULT {
        for (; done < count && next + done < list->size(); ++done) {
            const ElementInfo& info = (*list)[next + done];
            elements[done] = statisticsOf(info);
            elements[done].pwcsName = copyForCaller(info.name);
        }
        return done == count ? S_OK : S_FALSE;
    });
    if (FAILED(status)) { // all or nothing: the caller would not know what to free
        while (done > 0)
            CoTaskMemFree(elements[--done].pwcsName);
        return status;
    }
    next += done;
    if (fetched)
        *fetched = done;
    return status;
}

HRESULT ElementEnumerator::Skip(ULONG count) noexcept
{
    const std::size_t left = list->size() - next;
    next += count < left ? count : left;
    return count <= left ? S_OK : S_FALSE;
}

HRESULT ElementEnumerator::Reset() noexcept
{
    next = 0;
    return S_OK;
}

HRESULT ElementEnumerator::Clone(IEnumSTATSTG** out) noexcept
{
    if (!out)
        return STG_E_INVALIDPOINTER;
    *out = nullptr;
    return automationCall([&]() -> HRESULT {
        *out = new ElementEnumerator(list, next);
        return S_OK;
    });
}

} // namespace kvdm
