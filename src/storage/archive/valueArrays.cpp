#include "storage/archive/valueArrays.h"

#include "storage/archive/su_CArchive.h"

namespace kvdm {

template <class Value> void suValueArray<Value>::serialize(su_CArchive& archive)
{
    if (archive.IsStoring()) {
        archive.WriteCount(elements.size());
        archive.writeValues(std::span<const Value>(elements));
    } else {
        archive.readValues(elements, archive.ReadCount());
    }
}

template class suValueArray<std::uint8_t>;
template class suValueArray<std::uint16_t>;
template class suValueArray<std::uint32_t>;

} // namespace kvdm
