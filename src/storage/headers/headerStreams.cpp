#include "storage/headers/headerStreams.h"

#include "common/automationText.h"
#include "storage/archive/su_CArchive.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/headers/dmSerializeContext.h"
#include "storage/suStructuredStorage.h"

#include <atomic>

namespace kvdm {

namespace {

struct VersionRange
{
    int first;
    int last;
};
constexpr VersionRange unreadable[] = {
    {39, 43},     {45, 225},    {301, 421},   {383, 383},   {484, 628},   {946, 946},   {953, 953},   {2183, 2183},
    {2456, 2456}, {2658, 2658}, {2659, 2659}, {2854, 2854}, {3265, 3265}, {3540, 3540}, {3557, 3559}, {3661, 3663},
};
constexpr int oldestVersion = 37;
constexpr int firstVersionOfSecondNames = 2070;
constexpr const char16_t* contents = u"Contents";

constinit std::atomic<int> compressMode{0};
constinit std::atomic<int> compressSetting{0};

// Whatever was attached must be gone before the next one may be tried, and after a failure.
void releaseAll(suStructuredStorage& storage) noexcept
{
    try {
        storage.releaseStream();
    } catch (const std::exception&) {
    }
    try {
        storage.releaseChildStorage();
    } catch (const std::exception&) {
    }
}

template <class Object> std::shared_ptr<Object> readAttached(suStructuredStorage& storage, const std::u16string& name, int version)
{
    if (!storage.attachToNode(false, name, true, 0))
        return nullptr;
    std::shared_ptr<Object> object;
    {
        su_CArchive& archive = storage.getArchive();
        const dmSerializeContext context(archive, version);
        object = objectAs<Object>(archive.ReadObject());
    }
    storage.releaseStream(); // tells of damage behind the object, which the archive has not met
    return object;
}

// The stream of one object, made without touching the storage.
std::vector<std::uint8_t> bytesOf(su_CObject& object, int version)
{
    suMemoryFile file;
    su_CArchive archive(&file, su_CArchive::store | su_CArchive::noFlushOnDelete);
    const dmSerializeContext context(archive, version);
    archive.WriteObject(&object);
    archive.Close();
    return file.content();
}

bool writeBytes(suStructuredStorage& storage, const std::u16string& name, int wantCompress, const std::vector<std::uint8_t>& bytes)
{
    if (!storage.attachToNode(true, name, true, wantCompress))
        return false;
    const bool isPlain = storage.iGetStreamName(name) == name; // whichever form was asked for, the other one may be attached
    storage.getArchive().Write(bytes.data(), bytes.size());
    if (!storage.releaseStream())
        return false;
    if (!isPlain)
        return true;
    // The compressed twin, were it left, would hide what has just been written.
    IStorage* current = storage.getChildStorage() ? storage.getChildStorage() : storage.getRootStorage();
    const HRESULT status = current->DestroyElement(toOle(name + u"__ZLB"));
    return SUCCEEDED(status) || status == STG_E_FILENOTFOUND;
}

} // namespace

bool isHeaderVersionReadable(int version) noexcept
{
    if (version < oldestVersion || version > dmSerializeContext::presentVersion)
        return false;
    for (const VersionRange& range : unreadable)
        if (version >= range.first && version <= range.last)
            return false;
    return true;
}

std::u16string headerStreamName(int version)
{
    return version < firstVersionOfSecondNames ? u"Header" : u"Header2";
}

std::u16string configMgrHeaderStreamName(int version)
{
    return version < firstVersionOfSecondNames ? u"CMgrHdr" : u"CMgrHdr2";
}

std::shared_ptr<moHeader_c> readHeader(suStructuredStorage& storage)
{
    std::shared_ptr<moHeader_c> header;
    try {
        const int version = storage.loadVersion();
        if (!isHeaderVersionReadable(version))
            return nullptr;
        releaseAll(storage);
        header = readAttached<moHeader_c>(storage, headerStreamName(version), version);
    } catch (const std::exception&) { // a damaged header leaves the document usable without one
    }
    releaseAll(storage);
    return header;
}

std::shared_ptr<dmConfigMgrHeader_c> readConfigMgrHeader(suStructuredStorage& storage)
{
    std::shared_ptr<dmConfigMgrHeader_c> header;
    try {
        const int version = storage.loadVersion();
        if (!isHeaderVersionReadable(version))
            return nullptr;
        releaseAll(storage);
        if (storage.attachToNode(false, contents, false, 0))
            header = readAttached<dmConfigMgrHeader_c>(storage, configMgrHeaderStreamName(version), version);
    } catch (const std::exception&) {
    }
    releaseAll(storage);
    return header;
}

int writeHeader(moHeader_c& header, suStructuredStorage& storage, bool* written)
{
    bool done = false;
    try {
        const int version = storage.loadVersion();
        if (isHeaderVersionReadable(version)) {
            releaseAll(storage);
            done = writeBytes(storage, headerStreamName(version), 0, bytesOf(header, version));
        }
    } catch (const std::exception&) {
    }
    releaseAll(storage);
    if (written)
        *written = done;
    return 0;
}

void setConfigMgrHeaderCompression(int mode, int setting) noexcept
{
    compressMode = mode;
    compressSetting = setting;
}

int writeConfigMgrHeader(dmConfigMgrHeader_c& header, suStructuredStorage& storage, bool* written)
{
    bool done = false;
    try {
        const int version = storage.getDocument() ? dmSerializeContext::presentVersion : storage.loadVersion();
        if (isHeaderVersionReadable(version)) {
            releaseAll(storage);
            const std::vector<std::uint8_t> bytes = bytesOf(header, version);
            const int wantCompress = compressMode == 1 ? compressSetting.load() : 0;
            done = storage.attachToNode(true, contents, false, 0) && writeBytes(storage, configMgrHeaderStreamName(version), wantCompress, bytes);
        }
    } catch (const std::exception&) {
    }
    releaseAll(storage);
    if (written)
        *written = done;
    return 0;
}

bool hasAuxiliaryHeader(std::u16string_view path)
{
    try {
        suStructuredStorage storage(path, false, nullptr, nullptr, false, true);
        if (!storage.getRootStorage())
            return false;
        const bool found = storage.attachToNode(false, u"AuxiliaryHeader", true, 0);
        releaseAll(storage);
        return found;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace kvdm
