#include "support/ArchiveBuilder.h"

namespace kvdm::test {

ArchiveBuilder& ArchiveBuilder::iPut(std::uint64_t value, unsigned size)
{
    for (unsigned i = 0; i < size; ++i)
        bytes.push_back(static_cast<std::uint8_t>(value >> (8 * i)));
    return *this;
}

ArchiveBuilder& ArchiveBuilder::raw(const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
    return *this;
}

ArchiveBuilder& ArchiveBuilder::count(std::uint64_t value)
{
    return value < 65535 ? u16(value) : u16(65535).u32(value);
}

ArchiveBuilder& ArchiveBuilder::length(std::uint64_t value, std::uint64_t mark)
{
    if (value < 255)
        return u8(value);
    return value < mark ? u8(255).u16(value) : u8(255).u16(65535).u32(value);
}

ArchiveBuilder& ArchiveBuilder::textUtf16(std::u16string_view value)
{
    u8(255).u16(65534).length(value.size(), 65534);
    for (const char16_t unit : value)
        u16(unit);
    return *this;
}

ArchiveBuilder& ArchiveBuilder::textBytes(std::string_view value)
{
    return length(value.size(), 65534).raw(value);
}

ArchiveBuilder& ArchiveBuilder::text(std::u16string_view value)
{
    return narrow ? textBytes(std::string(value.begin(), value.end())) : textUtf16(value);
}

ArchiveBuilder& ArchiveBuilder::newClass(std::string_view name, unsigned schema)
{
    classes.emplace(name, next++);
    return u16(0xFFFF).u16(schema).u16(name.size()).raw(name);
}

ArchiveBuilder& ArchiveBuilder::iTag(std::uint32_t index, bool isClass)
{
    if (index < 0x7FFF)
        return u16(index | (isClass ? 0x8000u : 0u));
    return u16(0x7FFF).u32(index | (isClass ? 0x80000000u : 0u));
}

ArchiveBuilder& ArchiveBuilder::object(std::string_view className, unsigned schema)
{
    const auto known = classes.find(className);
    if (known == classes.end())
        newClass(className, schema);
    else
        classTag(known->second);
    ++next;
    return *this;
}

ArchiveBuilder& ArchiveBuilder::strings(const std::vector<std::u16string>& values)
{
    object("su_CStringArray").count(values.size());
    for (const std::u16string& value : values)
        text(value);
    return *this;
}

void appendExtObject(ArchiveBuilder& out, int version, std::uint32_t objectId, std::u16string_view path, int external, int inContext, int broken)
{
    const auto from = [version](int first) { return version == 0 || version >= first; };
    out.object("moObjFileDef_c").text(u"file.kvdprt").u32(17).text(path);
    if (version >= 1249 && version < 1271)
        out.u32(0);
    if (from(2038))
        out.u32(1690000000);
    out.u32(objectId);
    if (!from(69))
        out.u16(0);
    out.u16(2);
    if (from(99))
        out.u32(static_cast<std::uint32_t>(external));
    if (from(109))
        out.u32(static_cast<std::uint32_t>(inContext));
    if (from(2270))
        out.u32(5).u16(1).u16(0xFFFF).u16(3).u32(1690000001).text(u"editor");
    if (from(2769))
        out.u32(static_cast<std::uint32_t>(broken));
    if (from(3478))
        out.u32(1);
}

Bytes headerStream(const HeaderSample& sample)
{
    int version = sample.bodyVersion < 0 ? sample.version : sample.bodyVersion;
    const auto from = [&version](int first) { return version == 0 || version >= first; };
    ArchiveBuilder out(sample.narrow);
    out.object("moHeader_c").strings(sample.history).strings({u"aux"});
    out.object("suObList").count(1).object("moLogs_c").count(1).object("moStamp_c");
    out.u16(1).u16(2).u16(0xFFFE).u32(1600000000).text(u"first").u32(4).text(u"log");
    if (from(241))
        out.u32(sample.saveTime);
    out.u32(5);
    out.object("moExtObjectList_c").count(2);
    out.object("moExtObject_c");
    appendExtObject(out, version, 10, u"C:\\work\\a.kvdprt", 1, 0, 0);
    out.object("moExtObject_c");
    appendExtObject(out, version, 11, u"C:\\work\\ctx.kvdasm", 0, 2, 1);
    if (from(151))
        out.u32(sample.lastUpdateStamp);
    if (from(217)) {
        out.object("moExtObject_c");
        appendExtObject(out, version, 1, u"C:\\work\\own.kvdprt", 0, 0, 0);
    }
    if (from(780))
        out.u32(780);
    if (from(1253))
        out.u32(1253);
    if (from(1281))
        out.u32(sample.detachedFlag);
    if (from(1286))
        out.u32(sample.createTime);
    if (from(1329))
        out.u32(1329);
    version = sample.version;
    if (from(2138))
        out.u32(2138);
    if (from(2335))
        out.u32(sample.modelFlags);
    if (from(2722))
        out.strings(sample.attachments);
    if (from(2957))
        out.u32(2957);
    if (from(3319))
        out.u32(3319);
    if (from(3677))
        out.u32(1650000000);
    return out.bytes;
}

std::vector<ConfigurationSample> twoConfigurations()
{
    return {{.name = u"Default", .kind = 1}, {.name = u"Second", .id = 7, .parent = 0}};
}

Bytes configMgrHeaderStream(int version, bool narrow, const std::vector<ConfigurationSample>& configurations)
{
    ArchiveBuilder out(narrow);
    out.object("dmConfigMgrHeader_c").count(configurations.size());
    for (const ConfigurationSample& sample : configurations) {
        out.object("dmConfigHeader_c").u32(static_cast<std::uint32_t>(sample.kind)).text(sample.name).u32(sample.id);
        if (version >= 1341)
            out.u32(1341 + sample.id);
        if (version >= 2037)
            out.text(sample.description).u32(static_cast<std::uint32_t>(sample.parent));
        if (version >= 2136)
            out.u32(2136);
        if (version >= 2610)
            out.text(sample.comment).text(sample.alternateName);
    }
    if (version >= 3028 && version <= 3326) {
        out.u32(2).object("moExtObject_c");
        appendExtObject(out, version, 99, u"C:\\work\\old.kvdprt", 0, 0, 0);
        out.null();
    }
    return out.bytes;
}

} // namespace kvdm::test
