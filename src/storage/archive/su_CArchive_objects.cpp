// Class tags and object tags.
#include "storage/archive/su_CArchive.h"

#include "storage/archive/persistentClasses.h"

#include <array>
#include <atomic>

namespace kvdm {

namespace {

constexpr std::uint16_t nullTag = 0;
constexpr std::uint16_t newClassTag = 0xFFFF;
constexpr std::uint16_t bigTag = 0x7FFF; // a 32-bit tag follows
constexpr std::uint16_t classBit = 0x8000;
constexpr std::uint32_t bigClassBit = 0x80000000;
constexpr std::uint32_t mapLimit = 0x3FFFFFFE;
constexpr std::size_t nameLimit = 64;
constexpr std::uint32_t partsOfObject = 4; // an object takes about as much memory as four strings

constinit std::atomic<bool> renameSubSketchManager{true};
constinit std::atomic<bool> skipClassCheck{false};

// Counts one level of nesting for as long as it stands.
class Level
{
public:
    explicit Level(unsigned& counter) noexcept : depth(++counter) {}
    ~Level() { --depth; }
    Level(const Level&) = delete;
    Level& operator=(const Level&) = delete;

private:
    unsigned& depth;
};

std::uint32_t plainSchema(const suRuntimeClass& runtimeClass) noexcept
{
    return runtimeClass.schema & ~suRuntimeClass::versionable;
}

} // namespace

void su_CArchive::setRenameSubSketchManager(bool on) noexcept
{
    renameSubSketchManager = on;
}

void su_CArchive::setSkipClassCheck(bool on) noexcept
{
    skipClassCheck = on;
}

su_CArchive::LoadedObjects::~LoadedObjects()
{
    for (std::size_t i = firstOfRing; i < slots.size(); ++i)
        if (slots[i].object)
            slots[i].object->releaseReferences();
}

void su_CArchive::iCheckCount() const
{
    if (m_nMapCount >= mapLimit)
        iFail(suArchiveException::badIndex);
}

// ---- loading ----

void su_CArchive::iPrepareLoad()
{
    if (m_pLoadArray)
        return;
    m_pLoadArray = std::make_shared<LoadedObjects>();
    m_pLoadArray->slots.emplace_back(); // index 0 is the null object
    m_nMapCount = 1;
}

std::uint32_t su_CArchive::iSchemaOf(const suRuntimeClass& runtimeClass) const noexcept
{
    for (const auto& [known, schema] : m_pSchemaMap)
        if (known == &runtimeClass)
            return schema;
    return plainSchema(runtimeClass);
}

// Null when there is no such class, or no name.
const suRuntimeClass* su_CArchive::iReadClassRecord(std::uint32_t& schema)
{
    schema = read<std::uint16_t>();
    const auto length = read<std::uint16_t>();
    std::array<char, nameLimit> text;
    if (length >= nameLimit || Read(text.data(), length) < length)
        return nullptr;
    std::string_view name(text.data(), length);
    if (name == "moSubSketchMgr_c" && renameSubSketchManager)
        name = "moSketchBlockMgr_c";
    else if (name == "uoPart_c")
        name = "uoModelData_c";
    return findPersistentClass(name);
}

const suRuntimeClass* su_CArchive::ReadClass(const suRuntimeClass* requested, std::uint32_t* outSchema, std::uint32_t* outTag)
{
    if (requested && requested->schema == suRuntimeClass::notPersistent)
        throw suNotSupportedException();
    iPrepareLoad();

    const auto shortTag = read<std::uint16_t>();
    std::uint32_t tag = (std::uint32_t{shortTag} & classBit) << 16 | (shortTag & ~std::uint32_t{classBit});
    if (shortTag == bigTag)
        *this >> tag;
    if (!(tag & bigClassBit)) {
        if (!outTag)
            iFail(suArchiveException::badIndex);
        *outTag = tag;
        return nullptr;
    }

    const suRuntimeClass* found = nullptr;
    std::uint32_t schema = 0;
    if (shortTag != newClassTag) {
        const std::uint32_t index = tag & ~bigClassBit;
        if (index == 0 || index >= m_pLoadArray->slots.size())
            iFail(suArchiveException::badIndex);
        found = m_pLoadArray->slots[index].objectClass;
        if (!found) // an object lies there
            iFail(suArchiveException::badClass);
        schema = iSchemaOf(*found);
    } else {
        found = iReadClassRecord(schema);
        if (!found)
            iFail(suArchiveException::badClass);
        if (schema != plainSchema(*found)) {
            if (!(found->schema & suRuntimeClass::versionable))
                iFail(suArchiveException::badSchema);
            std::erase_if(m_pSchemaMap, [found](const auto& entry) { return entry.first == found; });
            m_pSchemaMap.emplace_back(found, schema);
        }
        iCheckCount();
        countParts();
        m_pLoadArray->slots.push_back({.objectClass = found, .object = {}});
        ++m_nMapCount;
    }

    if (requested && !found->isDerivedFrom(*requested))
        iFail(suArchiveException::badClass);
    if (outSchema)
        *outSchema = schema;
    else
        m_nObjectSchema = schema;
    if (outTag)
        *outTag = tag;
    return found;
}

std::shared_ptr<su_CObject> su_CArchive::ReadObject(const suRuntimeClass* requested)
{
    std::uint32_t schema = 0;
    std::uint32_t tag = 0;
    const suRuntimeClass* found = ReadClass(requested, &schema, &tag);
    const std::shared_ptr<su_CObject> object = found ? iReadNewObject(*found, schema) : iReferTo(tag, requested);
    return depth == 0 ? iHandOut(object) : object;
}

std::shared_ptr<su_CObject> su_CArchive::iReadNewObject(const suRuntimeClass& runtimeClass, std::uint32_t schema)
{
    if (!runtimeClass.create)
        iFail(suArchiveException::badClass);
    if (depth >= maximumDepth)
        iFail(suArchiveException::generic);
    iCheckCount();
    countParts(partsOfObject);

    std::shared_ptr<su_CObject> object = runtimeClass.create();
    if (std::shared_ptr<su_CObject> substitute = object->loadSubstitute())
        object = std::move(substitute);
    const std::size_t index = m_pLoadArray->slots.size();
    if (depth == 0)
        firstOfRead = index;
    m_pLoadArray->slots.push_back({.object = object, .beingRead = true});
    ++m_nMapCount;

    const std::uint32_t outerSchema = std::exchange(m_nObjectSchema, schema);
    const unsigned heightBeside = std::exchange(reachedHeight, 0u);
    const std::shared_ptr<su_CObject> replacement = std::exchange(nextReplacement, nullptr);
    {
        const Level level(depth);
        (replacement ? *replacement : *object).serialize(*this);
    }
    if (replacement)
        object->replacedBy(*replacement);
    m_nObjectSchema = outerSchema;

    LoadSlot& slot = m_pLoadArray->slots[index];
    slot.beingRead = false;
    slot.height = reachedHeight + 1;
    reachedHeight = std::max(heightBeside, slot.height);
    return object;
}

// The object of a tag. What hangs below it counts as nested here: else tags could tie short pieces into a chain of any
// length, and storing or ending that chain would exhaust the stack.
std::shared_ptr<su_CObject> su_CArchive::iReferTo(std::uint32_t tag, const suRuntimeClass* requested)
{
    LoadedObjects& loaded = *m_pLoadArray;
    if (tag >= loaded.slots.size())
        iFail(suArchiveException::badIndex);
    const LoadSlot& slot = loaded.slots[tag];
    if (slot.objectClass)
        iFail(suArchiveException::badClass);
    if (!slot.object)
        return nullptr;
    if (requested && !slot.object->isKindOf(*requested))
        iFail(suArchiveException::badClass);
    if (slot.beingRead)
        loaded.firstOfRing = std::min(loaded.firstOfRing, firstOfRead);
    else if (depth + slot.height > maximumDepth)
        iFail(suArchiveException::generic);
    reachedHeight = std::max(reachedHeight, slot.height);
    return slot.object;
}

std::shared_ptr<su_CObject> su_CArchive::iHandOut(const std::shared_ptr<su_CObject>& object) const
{
    if (!object || m_pLoadArray->firstOfRing >= m_pLoadArray->slots.size())
        return object;
    return {m_pLoadArray, object.get()};
}

// ---- storing ----

void su_CArchive::iWriteTag(std::uint32_t index, bool isClass)
{
    if (index < bigTag)
        *this << static_cast<std::uint16_t>(index | (isClass ? classBit : 0));
    else
        *this << bigTag << (index | (isClass ? bigClassBit : 0));
}

void su_CArchive::WriteClass(const suRuntimeClass& runtimeClass)
{
    if (runtimeClass.schema == suRuntimeClass::notPersistent)
        throw suNotSupportedException();
    if (const auto known = m_pStoreMap.find(&runtimeClass); known != m_pStoreMap.end()) {
        iWriteTag(known->second, true);
        return;
    }
    *this << newClassTag << static_cast<std::uint16_t>(plainSchema(runtimeClass)) << static_cast<std::uint16_t>(runtimeClass.name.size());
    Write(runtimeClass.name.data(), runtimeClass.name.size());
    m_nMapCount = std::max(m_nMapCount, 1u); // index 0 is the null object
    iCheckCount();
    m_pStoreMap.emplace(&runtimeClass, m_nMapCount++);
}

void su_CArchive::WriteObject(su_CObject* object, const suRuntimeClass& base)
{
    if (!object) {
        *this << nullTag;
        return;
    }
    if (!skipClassCheck && !object->isKindOf(base))
        iFail(suArchiveException::badClass);
    if (const auto known = m_pStoreMap.find(object); known != m_pStoreMap.end()) {
        iWriteTag(known->second, false);
        return;
    }
    if (depth >= maximumDepth) // what is stored must be readable again
        iFail(suArchiveException::generic);
    WriteClass(object->getRuntimeClass());
    iCheckCount();
    m_pStoreMap.emplace(object, m_nMapCount++);
    const Level level(depth);
    object->serialize(*this);
}

} // namespace kvdm
