// IEnumSTATSTG over the elements of one storage as they were when it was made.
#pragma once

#include "common/automationObject.h"
#include "platform/compoundfile/elementStore.h"
#include "platform/compoundfile/exactNames.h"

#include <memory>
#include <vector>

namespace kvdm {

// What happens to the storage afterwards does not disturb it; clones share the list and have their own place in it.
class ElementEnumerator final : public SharedObject<IEnumSTATSTG, IExactListing>
{
public:
    using List = std::shared_ptr<const std::vector<ElementInfo>>;

    ElementEnumerator(List elements, std::size_t start) : list(std::move(elements)), next(start) {}

    HRESULT STDMETHODCALLTYPE Next(ULONG count, STATSTG* elements, ULONG* fetched) noexcept override;
    HRESULT STDMETHODCALLTYPE Skip(ULONG count) noexcept override;
    HRESULT STDMETHODCALLTYPE Reset() noexcept override;
    HRESULT STDMETHODCALLTYPE Clone(IEnumSTATSTG** out) noexcept override;
    const std::u16string* nameBefore(std::size_t places) const noexcept override
    {
        return places >= 1 && places <= next ? &(*list)[next - places].name : nullptr;
    }

private:
    ~ElementEnumerator() override = default;

    List list;
    std::size_t next;
};

// A STATSTG for an element, without its name and mode.
STATSTG statisticsOf(const ElementInfo& info) noexcept;

} // namespace kvdm
