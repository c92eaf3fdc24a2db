// Writes archive streams for tests, byte by byte: class records, tags, strings in both forms, the headers of every version.
// It shares no code with the archive, so what the archive reads or writes is compared with bytes made elsewhere.
//
//     ArchiveBuilder stream;
//     stream.object("su_CObList").count(2);     // a new class, or the tag of a known one
//     const auto stamp = stream.object("moStamp_c").lastIndex();
//     stream.u16(1).u16(2).u16(3).u32(1600000000).text(u"user");
//     stream.objectTag(stamp);                  // the same object again
//     Bytes bytes = stream.bytes;
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace kvdm::test {

using Bytes = std::vector<std::uint8_t>;

class ArchiveBuilder
{
public:
    explicit ArchiveBuilder(bool narrowTexts = false) : narrow(narrowTexts) {}

    ArchiveBuilder& u8(std::uint64_t value) { return iPut(value, 1); }
    ArchiveBuilder& u16(std::uint64_t value) { return iPut(value, 2); }
    ArchiveBuilder& u32(std::uint64_t value) { return iPut(value, 4); }
    ArchiveBuilder& u64(std::uint64_t value) { return iPut(value, 8); }
    ArchiveBuilder& raw(const Bytes& more);
    ArchiveBuilder& raw(std::string_view more) { return raw(Bytes(more.begin(), more.end())); }

    ArchiveBuilder& count(std::uint64_t value);      // 16 bits, or 65535 and 32 bits
    ArchiveBuilder& text(std::u16string_view value); // in the form that was chosen; narrow texts are cut to bytes
    ArchiveBuilder& textUtf16(std::u16string_view value);
    ArchiveBuilder& textBytes(std::string_view value);
    ArchiveBuilder& length(std::uint64_t value, std::uint64_t mark); // a length field; mark is the first 16-bit value not free

    // Class records and tags. The builder numbers classes and objects as a reader does.
    ArchiveBuilder& newClass(std::string_view name, unsigned schema = 1);
    ArchiveBuilder& classTag(std::uint32_t index) { return iTag(index, true); }
    ArchiveBuilder& objectTag(std::uint32_t index) { return iTag(index, false); }
    ArchiveBuilder& null() { return u16(0); }
    // The start of an object: what it keeps follows.
    ArchiveBuilder& object(std::string_view className, unsigned schema = 1);
    std::uint32_t lastIndex() const { return next - 1; }

    ArchiveBuilder& strings(const std::vector<std::u16string>& values); // an object su_CStringArray

    Bytes bytes;

private:
    ArchiveBuilder& iPut(std::uint64_t value, unsigned size);
    ArchiveBuilder& iTag(std::uint32_t index, bool isClass);

    bool narrow;
    std::uint32_t next = 1;
    std::map<std::string, std::uint32_t, std::less<>> classes;
};

// What the samples below hold. Each field has a value of its own, so that one read at the wrong place shows.
struct HeaderSample
{
    int version = 3800;
    bool narrow = false;
    std::vector<std::u16string> history{u"Created", u"Saved"};
    std::uint32_t lastUpdateStamp = 7;
    std::uint32_t saveTime = 1700000000;
    std::uint32_t createTime = 1500000000;
    std::uint32_t detachedFlag = 1;
    std::uint32_t modelFlags = 0x2335;
    std::vector<std::u16string> attachments{u"a", u"b"};
    int bodyVersion = -1; // the version that the fields down to value1329 follow, when it is another one
};

// The stream of a moHeader_c: two history strings, one log "log" with a stamp of 1600000000 by "first", a record that is
// external (objectId 10), one that is in-context and broken (11), the own record (1), attachments "a" and "b".
Bytes headerStream(const HeaderSample& sample);
// A moExtObject_c without its tag, and its path record with it.
void appendExtObject(ArchiveBuilder& out, int version, std::uint32_t objectId, std::u16string_view path, int external, int inContext, int broken);
// A configuration of the list. Its stamp is 1341 and the id.
struct ConfigurationSample
{
    std::u16string name;
    int kind = 0; // 1 active, 2 marked deleted
    std::uint32_t id = 0;
    int parent = -1;
    std::u16string description = u"description";
    std::u16string comment = u"comment";
    std::u16string alternateName = u"alternate";
};
// "Default" (kind 1, id 0, parent -1) and "Second" (kind 0, id 7, parent 0).
std::vector<ConfigurationSample> twoConfigurations();

// The stream of a dmConfigMgrHeader_c; from 3028 to 3326 with one referenced record (objectId 99) and a null.
Bytes configMgrHeaderStream(int version, bool narrow = false, const std::vector<ConfigurationSample>& configurations = twoConfigurations());

} // namespace kvdm::test
