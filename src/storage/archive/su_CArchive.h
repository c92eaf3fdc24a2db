// Reader and writer of object streams: raw little-endian values, counts, strings, and objects behind class and object tags.
#pragma once

#include "common/exceptions.h"
#include "storage/archive/su_CObject.h"
#include "storage/suFile.h"

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kvdm {

class dmSerializeContext;
class suStorageDocument;

// Values that lie in a stream as they lie in memory.
template <class Value>
concept ArchiveValue = std::same_as<Value, std::uint8_t> || std::same_as<Value, std::int8_t> || std::same_as<Value, std::uint16_t> ||
    std::same_as<Value, std::int16_t> || std::same_as<Value, std::uint32_t> || std::same_as<Value, std::int32_t> ||
    std::same_as<Value, std::uint64_t> || std::same_as<Value, std::int64_t> || std::same_as<Value, float> || std::same_as<Value, double>;
static_assert(std::endian::native == std::endian::little, "archive values are copied, not assembled: a big-endian machine needs more here");

// One archive over one file object, which stays the caller's; for one thread, in one direction. Throws suArchiveException
// with the archive's file name, and whatever the file object throws.
//
// What an archive makes of hostile bytes: memory is taken only for bytes that are there (bytesLeft() is asked first, and
// where it does not know, buffers grow as bytes come); indices are checked; objects nest at most maximumDepth deep, objects
// that tags tie together count as nested; and since an empty string or object takes far more memory than stream, only so
// many of them are made: freeParts, and one more for every bytesOfPart bytes that came.
//
// Objects that were read belong to whoever holds them. A tag may name an object that is still being read, so that a damaged
// stream can tie objects into a ring: the handles of such a read hold the ring together and untie it with the last of them.
class su_CArchive
{
public:
    enum Mode : unsigned
    {
        store = 0,
        load = 1,
        noFlushOnDelete = 2
    };
    static constexpr std::size_t standardBufferSize = 65536;
    static constexpr unsigned maximumDepth = 256;
    static constexpr std::uint64_t freeParts = 1u << 20;
    static constexpr std::uint64_t bytesOfPart = 8;
    static constexpr std::uint32_t noSchema = 0xFFFFFFFF;

    // A buffer of less than 128 bytes becomes one of 128.
    su_CArchive(suFile* file, unsigned mode, std::size_t bufferSize = standardBufferSize);
    // Closes a file that is still there unless the mode says not to; what fails then is lost, so close first.
    ~su_CArchive();
    su_CArchive(const su_CArchive&) = delete;
    su_CArchive& operator=(const su_CArchive&) = delete;

    bool IsLoading() const noexcept { return (m_nMode & load) != 0; }
    bool IsStoring() const noexcept { return (m_nMode & load) == 0; }
    suFile* getFile() const noexcept { return m_pFile; }
    // Gives the file back; nothing is flushed, later reads and writes that need the file fail.
    suFile* detachFile() noexcept { return std::exchange(m_pFile, nullptr); }

    // Storing: writes out what is buffered. Loading: sets the file's position to what the reader has come to.
    void Flush();
    // Flush, then no file.
    void Close();

    // ---- bytes and values ----

    // Returns the bytes read, fewer than count only at the end.
    std::size_t Read(void* buffer, std::size_t count);
    // All or cause end of file.
    void readExactly(void* buffer, std::size_t count);
    void Write(const void* buffer, std::size_t count);
    // What can still be read: what is buffered and what the file knows of itself; the largest value when it does not know.
    std::uint64_t bytesLeft();
    // Cause end of file when fewer bytes are left than count elements of this size take at the least.
    void requireBytes(std::uint64_t count, std::size_t leastSize);
    // To be called for each string (ReadString does) and for what takes about as much memory, 32 bytes; an object counts as
    // four. Cause generic when there are more of them than these bytes can mean.
    void countParts(std::uint32_t parts = 1);

    template <ArchiveValue Value> su_CArchive& operator>>(Value& value)
    {
        if (static_cast<std::size_t>(m_lpReadMax - m_lpReadCur) < sizeof(Value))
            FillBuffer(sizeof(Value));
        std::memcpy(&value, m_lpReadCur, sizeof(Value));
        m_lpReadCur += sizeof(Value);
        return *this;
    }
    template <ArchiveValue Value> su_CArchive& operator<<(Value value)
    {
        if (static_cast<std::size_t>(m_lpWriteMax - m_lpWriteCur) < sizeof(Value))
            iWriteOut();
        std::memcpy(m_lpWriteCur, &value, sizeof(Value));
        m_lpWriteCur += sizeof(Value);
        return *this;
    }
    template <ArchiveValue Value> Value read()
    {
        Value value;
        *this >> value;
        return value;
    }

    // Raw values one behind another. A reader's memory grows with the bytes that really come.
    template <ArchiveValue Value> void readValues(std::vector<Value>& values, std::uint64_t count)
    {
        requireBytes(count, sizeof(Value));
        values.clear();
        while (values.size() < count) {
            const auto piece = std::min<std::uint64_t>(count - values.size(), iPieceOf(values.size(), sizeof(Value)));
            const std::size_t at = values.size();
            values.resize(at + static_cast<std::size_t>(piece));
            readExactly(values.data() + at, static_cast<std::size_t>(piece) * sizeof(Value));
        }
    }
    template <ArchiveValue Value> void writeValues(std::span<const Value> values) { Write(values.data(), values.size_bytes()); }

    // ---- counts and strings ----

    // 16 bits, or 65535 and 32 bits.
    std::uint32_t ReadCount();
    void WriteCount(std::uint64_t count); // above 32 bits: suInvalidArgumentException

    // UTF-16 behind a mark, or text in the ANSI code page; written always as UTF-16.
    std::u16string ReadString();
    void WriteString(std::u16string_view text);
    su_CArchive& operator>>(std::u16string& text)
    {
        text = ReadString();
        return *this;
    }
    su_CArchive& operator<<(std::u16string_view text)
    {
        WriteString(text);
        return *this;
    }
    su_CArchive& operator<<(const std::u16string& text) { return *this << std::u16string_view(text); }
    su_CArchive& operator<<(const char16_t* text) { return *this << std::u16string_view(text); }

    // ---- classes and objects ----

    // The class of the next tag, or null when it is an object tag, which goes to outTag (without outTag that is cause bad
    // index). The file's schema goes to outSchema, else to m_nObjectSchema.
    const suRuntimeClass* ReadClass(const suRuntimeClass* requested = nullptr, std::uint32_t* outSchema = nullptr, std::uint32_t* outTag = nullptr);
    void WriteClass(const suRuntimeClass& runtimeClass);

    // The next object, which may be null. Cause bad class when it is not of the requested class.
    std::shared_ptr<su_CObject> ReadObject(const suRuntimeClass* requested = nullptr);
    template <class Object> std::shared_ptr<Object> ReadObjectOf() { return std::static_pointer_cast<Object>(ReadObject(&Object::runtimeClass)); }
    // A null object is written as such. The object must live as long as the archive: what it was is known by its address.
    void WriteObject(su_CObject* object, const suRuntimeClass& base = su_CObject::runtimeClass);
    void WriteObject(const std::shared_ptr<su_CObject>& object, const suRuntimeClass& base = su_CObject::runtimeClass)
    {
        WriteObject(object.get(), base);
    }

    // The data of the next object goes into this one; the object that the stream asked for is told by replacedBy and stands
    // for it in the stream's numbering.
    void readNextInto(std::shared_ptr<su_CObject> replacement) noexcept { nextReplacement = std::move(replacement); }

    // Whether "moSubSketchMgr_c" is read as "moSketchBlockMgr_c", and whether WriteObject takes any class. For the process.
    static void setRenameSubSketchManager(bool on) noexcept;
    static void setSkipClassCheck(bool on) noexcept;

    // ---- what a serialize operation may look at ----
    suStorageDocument* m_pDocument = nullptr;
    bool m_bForceFlat = true;
    std::uint32_t m_nObjectSchema = noSchema; // the schema of the class that is being read
    std::u16string m_strFileName;             // for exceptions

private:
    friend class dmSerializeContext;

    // A place of the load array: a class or an object. It is told here which; the archive is for one thread, so that no
    // table beside it and no lock is needed.
    struct LoadSlot
    {
        const suRuntimeClass* objectClass = nullptr; // of a class slot
        std::shared_ptr<su_CObject> object;
        unsigned height = 0; // how deep objects nest from here down; 0 while the object is being read
        bool beingRead = false;
    };
    // Objects of one archive. Unties the rings of those from firstOfRing on.
    struct LoadedObjects
    {
        LoadedObjects() = default;
        LoadedObjects(const LoadedObjects&) = delete;
        LoadedObjects& operator=(const LoadedObjects&) = delete;
        ~LoadedObjects();

        std::vector<LoadSlot> slots;
        std::size_t firstOfRing = std::numeric_limits<std::size_t>::max();
    };

    void FillBuffer(std::size_t needed);     // cause end of file when that many cannot be had
    std::size_t iRefill(std::size_t needed); // returns what is buffered then
    template <class Text> Text iReadText(std::uint64_t count);
    void iWriteOut();
    suFile& iFile();
    static std::uint64_t iPieceOf(std::uint64_t have, std::size_t size) noexcept { return std::max<std::uint64_t>(have, standardBufferSize / size); }
    [[noreturn]] void iFail(suArchiveException::Cause cause) const;
    bool iReadLength(std::uint64_t& length); // true for the mark of UTF-16 text
    void iCheckCount() const;
    void iPrepareLoad();
    const suRuntimeClass* iReadClassRecord(std::uint32_t& schema);
    std::uint32_t iSchemaOf(const suRuntimeClass& runtimeClass) const noexcept;
    std::shared_ptr<su_CObject> iReadNewObject(const suRuntimeClass& runtimeClass, std::uint32_t schema);
    std::shared_ptr<su_CObject> iReferTo(std::uint32_t tag, const suRuntimeClass* requested);
    std::shared_ptr<su_CObject> iHandOut(const std::shared_ptr<su_CObject>& object) const;
    void iWriteTag(std::uint32_t index, bool isClass);

    suFile* m_pFile;
    unsigned m_nMode;
    std::size_t m_nBufSize;
    std::unique_ptr<std::uint8_t[]> buffer;
    // An archive that stores has no bytes to read and one that loads no room to write, so that the short ways above need
    // not ask for the direction.
    std::uint8_t* m_lpReadCur = nullptr;
    std::uint8_t* m_lpReadMax = nullptr;
    std::uint8_t* m_lpWriteCur = nullptr;
    std::uint8_t* m_lpWriteMax = nullptr;

    std::uint32_t m_nMapCount = 0;
    std::unordered_map<const void*, std::uint32_t> m_pStoreMap;
    std::shared_ptr<LoadedObjects> m_pLoadArray;
    std::vector<std::pair<const suRuntimeClass*, std::uint32_t>> m_pSchemaMap;
    std::shared_ptr<su_CObject> nextReplacement;
    std::size_t firstOfRead = 0; // the slot of the object that the caller's own read made
    unsigned depth = 0;
    unsigned reachedHeight = 0; // the greatest height below the object being read
    std::uint64_t partsMade = 0;
    std::uint64_t bytesTaken = 0; // from the file
    dmSerializeContext* context = nullptr;
};

} // namespace kvdm
