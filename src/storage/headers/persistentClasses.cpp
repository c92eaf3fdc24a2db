// The one table of the classes of this room that streams can name.
#include "storage/archive/persistentClasses.h"

#include "storage/archive/maps.h"
#include "storage/archive/objectCollections.h"
#include "storage/archive/pointerCollections.h"
#include "storage/archive/stringCollections.h"
#include "storage/archive/valueArrays.h"
#include "storage/headers/dmConfigHeader_c.h"
#include "storage/headers/dmConfigMgrHeader_c.h"
#include "storage/headers/moExtObject_c.h"
#include "storage/headers/moExtObjectList_c.h"
#include "storage/headers/moHeader_c.h"
#include "storage/headers/moLogs_c.h"
#include "storage/headers/moModelDiagram_c.h"
#include "storage/headers/moObjFileDef_c.h"
#include "storage/headers/moReferencedConfiguration_c.h"
#include "storage/headers/moStamp_c.h"

#include <array>
#include <atomic>
#include <stdexcept>

namespace kvdm {

namespace {

// These stand in streams under the framework's name as well, which is theirs without "su_".
constexpr const suRuntimeClass* collections[] = {
    &su_CByteArray::runtimeClass,         &su_CWordArray::runtimeClass,       &su_CDWordArray::runtimeClass,     &su_CUIntArray::runtimeClass,
    &su_CObArray::runtimeClass,           &su_CObList::runtimeClass,          &su_CPtrArray::runtimeClass,       &su_CPtrList::runtimeClass,
    &su_CStringArray::runtimeClass,       &su_CStringList::runtimeClass,      &su_CMapWordToOb::runtimeClass,    &su_CMapWordToPtr::runtimeClass,
    &su_CMapPtrToWord::runtimeClass,      &su_CMapPtrToPtr::runtimeClass,     &su_CMapStringToPtr::runtimeClass, &su_CMapStringToOb::runtimeClass,
    &su_CMapStringToString::runtimeClass, &su_CMapStringToWord::runtimeClass, &su_CMapPtrToString::runtimeClass, &su_CMapWordToString::runtimeClass,
    &su_CMapObToString::runtimeClass,
};
constexpr std::size_t ownPrefix = 3;

constexpr const suRuntimeClass* others[] = {
    &suDWordArray::runtimeClass,
    &suUIntArray::runtimeClass,
    &suObArray::runtimeClass,
    &suPersistentObArray::runtimeClass,
    &suSelfDestroyObArray::runtimeClass,
    &suObList::runtimeClass,
    &suSelfDestroyObList::runtimeClass,
    &suMapStringToOb::runtimeClass,
    &moHeader_c::runtimeClass,
    &moLogs_c::runtimeClass,
    &moStamp_c::runtimeClass,
    &moExtObjectList_c::runtimeClass,
    &moExtObject_c::runtimeClass,
    &moObjFileDef_c::runtimeClass,
    &moReferencedConfiguration_c::runtimeClass,
    &moModelDiagram_c::runtimeClass,
    &dmConfigMgrHeader_c::runtimeClass,
    &dmConfigHeader_c::runtimeClass,
};

// Classes of higher rooms. They are few; a place is taken once and never given back, so that readers need no lock.
constinit std::array<std::atomic<const suRuntimeClass*>, 64> registered{};

} // namespace

// An archive asks once for each class of a stream, so that walking some fifty names costs less than a table would.
const suRuntimeClass* findPersistentClass(std::string_view storedName)
{
    for (const suRuntimeClass* found : others)
        if (found->name == storedName)
            return found;
    for (const suRuntimeClass* found : collections)
        if (found->name == storedName || found->name.substr(ownPrefix) == storedName)
            return found;
    for (const auto& place : registered) {
        const suRuntimeClass* found = place.load(std::memory_order_acquire);
        if (!found)
            break;
        if (found->name == storedName)
            return found;
    }
    return nullptr;
}

void registerPersistentClass(const suRuntimeClass& runtimeClass)
{
    for (auto& place : registered) {
        const suRuntimeClass* known = nullptr;
        if (place.compare_exchange_strong(known, &runtimeClass, std::memory_order_acq_rel) || known == &runtimeClass)
            return;
    }
    throw std::length_error("too many persistent classes");
}

} // namespace kvdm
