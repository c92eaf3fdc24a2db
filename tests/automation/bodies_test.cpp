// Bodies, imported bodies and partitions as files.
#include "automation/automationTools.h"

#include <filesystem>

#include <unistd.h>

namespace kvdm::test {
namespace {

using PathGetter = HRESULT (IKvDMConfiguration9::*)(BSTR, KvDmBodyError*);
using IndexGetter = HRESULT (IKvDMConfiguration9::*)(LONG, BSTR, KvDmBodyError*);

// The temporary folder of the library is the test's own.
class Bodies : public ::testing::Test
{
protected:
    Bodies()
    {
        std::filesystem::create_directory(folder / "temp");
        setenv("temp", (folder / "temp").c_str(), 1);
    }
    ~Bodies() override { unsetenv("temp"); }

    ComPtr<IKvDMConfiguration9> open(DocumentBuilder& builder, std::u16string_view name = u"Second", const char* file = "a.kvdprt")
    {
        builder.write(folder / file);
        ComPtr<IKvDMConfigurationMgr> manager;
        ComPtr<IKvDMConfiguration> found;
        EXPECT_EQ(mustOpen(folder / file)->get_ConfigurationManager(manager.put()), S_OK);
        EXPECT_EQ(manager->GetConfigurationByName(OwnedBstr(name).get(), found.put()), S_OK);
        return ask<IKvDMConfiguration9>(found.get(), IID_IKvDMConfiguration9);
    }

    // What comes out, or the error in words.
    std::string extract(const std::function<HRESULT(BSTR, KvDmBodyError*)>& get, const std::string& to)
    {
        auto error = static_cast<KvDmBodyError>(99);
        EXPECT_EQ(get(OwnedBstr(fromUtf8(to)).get(), &error), S_OK) << to;
        if (error != kvDmBodyErrorNone)
            return "error " + std::to_string(error);
        const Bytes bytes = readWholeFile(to);
        return {bytes.begin(), bytes.end()};
    }
    std::string body(IKvDMConfiguration9& configuration, LONG index)
    {
        return extract([&](BSTR path, KvDmBodyError* error) { return configuration.GetBody(index, path, error); }, target);
    }
    std::string imported(IKvDMConfiguration9& configuration, LONG index)
    {
        return extract([&](BSTR path, KvDmBodyError* error) { return configuration.GetImportedBody(index, path, error); }, target);
    }
    std::string partition(IKvDMConfiguration9& configuration)
    {
        return extract([&](BSTR path, KvDmBodyError* error) { return configuration.GetPartitionStream(path, error); }, target);
    }
    bool temporaryFolderIsEmpty() const { return std::filesystem::is_empty(folder / "temp"); }
    std::string temporary(const char* name) const { return folder / ("temp/kvx" + std::to_string(getpid()) + "/" + name); }

    TemporaryFolder folder;
    std::string target = folder / "out.bin";
};

LONG bodiesOf(IKvDMConfiguration9& configuration)
{
    return valueFrom(configuration, &IKvDMConfiguration::GetBodiesCount, LONG{99});
}

LONG importedOf(IKvDMConfiguration9& configuration)
{
    return valueFrom(configuration, &IKvDMConfiguration3::GetImportedBodiesCount, LONG{99});
}

Bytes behind(std::size_t prefix, const Bytes& data)
{
    Bytes bytes(prefix + data.size(), 0xEE);
    std::copy(data.begin(), data.end(), bytes.begin() + static_cast<std::ptrdiff_t>(prefix));
    return bytes;
}

// An imploded text of thirteen letters, and a body of the block form.
const Bytes imploded{0x00, 0x04, 0x82, 0x24, 0x25, 0x8f, 0x80, 0x7f};
const char* const explodedText = "AIAIAIAIAIAIA";

TEST_F(Bodies, AreCountedByNameAndListedFromTheLast)
{
    DocumentBuilder builder;
    for (const char16_t* name :
         {u"Config-7-Body-1", u"Config-7-Body-2", u"Config-0-Body-1", u"Config-70-Body", u"xBodyxConfig-7", u"config-7-Body", u"Config-7-body"})
        builder.contents.stream(name, behind(5, zlbNode(toUtf8(name))));
    builder.contents.storage(u"Config-7-BodyFolder");
    const auto second = open(builder);
    EXPECT_EQ(body(*second, 0), "error 1") << "not counted";
    EXPECT_EQ(bodiesOf(*second), 5);
    // The directory runs from short names to long ones.
    const char* const expected[] = {"error 4", "Config-7-Body-2", "Config-7-Body-1", "xBodyxConfig-7", "Config-70-Body", "error 4"};
    for (LONG i = 0; i < 6; ++i)
        EXPECT_EQ(body(*second, i), expected[i]) << i;
    EXPECT_EQ(body(*second, -1), "error 4");
    EXPECT_TRUE(temporaryFolderIsEmpty());
}

TEST_F(Bodies, LieInAttachmentsOfAssemblies)
{
    DocumentBuilder builder;
    builder.contents.stream(u"Config-7-Body", behind(5, zlbNode("contents")));
    builder.root.storage(u"Attachments").stream(u"Config-7-Body", behind(5, zlbNode("attachments")));
    for (const auto& [file, expected] : {std::pair{"a.KVDASM", "attachments"}, {"a.asm", "contents"}, {"a.kvddrw", "contents"}}) {
        const auto second = open(builder, u"Second", file);
        EXPECT_EQ(bodiesOf(*second), 1);
        EXPECT_EQ(body(*second, 0), expected) << file;
    }
    DocumentBuilder without;
    std::filesystem::remove(target);
    const auto second = open(without, u"Second", "b.kvdasm");
    EXPECT_EQ(bodiesOf(*second), 0);
    EXPECT_EQ(body(*second, 0), "") << "counted, and none: no error and no file";
    EXPECT_FALSE(std::filesystem::exists(target));
}

TEST_F(Bodies, HaveAPrefixThatTheVersionDecides)
{
    for (const auto& [version, prefix] : {std::pair{2065, 4}, {2066, 5}, {3800, 5}}) {
        for (const Bytes& data : {zlbNode(explodedText), imploded}) {
            DocumentBuilder builder(version);
            builder.contents.stream(u"Config-7-Body", behind(static_cast<std::size_t>(prefix), data));
            const auto second = open(builder);
            EXPECT_EQ(bodiesOf(*second), 1);
            EXPECT_EQ(body(*second, 0), explodedText) << version;
        }
    }
}

TEST_F(Bodies, ReportWhatTheyHoldNot)
{
    DocumentBuilder builder;
    builder.contents.stream(u"Config-7-Body-3", behind(5, zlbNode("")));  // decompresses to nothing
    builder.contents.stream(u"Config-7-Body-2", behind(5, {9, 9, 9, 9})); // does not decompress
    builder.contents.stream(u"Config-7-Body-1", "ab");                    // shorter than its prefix
    const auto second = open(builder);
    EXPECT_EQ(bodiesOf(*second), 3);
    for (LONG i = 0; i < 3; ++i) {
        std::filesystem::remove(target);
        EXPECT_EQ(body(*second, i), "error 16") << i;
        EXPECT_EQ(std::filesystem::file_size(target), 0u);
        EXPECT_TRUE(temporaryFolderIsEmpty());
    }
    std::filesystem::remove(folder / "a.kvdprt");
}

TEST_F(Bodies, LeaveTheTemporaryFileWhenTheTargetCannotBeMade)
{
    DocumentBuilder builder;
    const Bytes stored = behind(5, zlbNode("body"));
    builder.contents.stream(u"Config-7-Body", stored);
    builder.contents.stream(u"Config-7-Partition", behind(4, zlbNode("partition")));
    const auto second = open(builder);
    bodiesOf(*second);
    const std::string good = std::exchange(target, folder / "no/such/folder/out.bin");
    EXPECT_EQ(body(*second, 0), "error 8");
    EXPECT_EQ(readWholeFile(temporary("tempPS_From_Stream")), stored);
    EXPECT_EQ(partition(*second), "error 8");
    EXPECT_TRUE(std::filesystem::exists(temporary("tempPS_Partition.xmp_bin")));
    target = good;
    EXPECT_EQ(body(*second, 0), "body");
    EXPECT_FALSE(std::filesystem::exists(temporary("tempPS_From_Stream")));
    EXPECT_EQ(partition(*second), "partition");
    EXPECT_TRUE(temporaryFolderIsEmpty());
    setenv("temp", (folder / "a.kvdprt").c_str(), 1); // no folder
    EXPECT_EQ(body(*second, 0), "error 8");
}

TEST_F(Bodies, OfPartitionsExistFromTheVersionThatBroughtThem)
{
    for (const int version : {2269, 2270, 3800}) {
        DocumentBuilder builder(version);
        builder.contents.stream(u"Config-7-Partition", behind(4, imploded));
        builder.contents.stream(u"Config-0-Partition__ZLB", zlbNode("abcd" + std::string(imploded.begin(), imploded.end())));
        const auto second = open(builder);
        EXPECT_EQ(textFrom(*second, &IKvDMConfiguration9::get_PartitionStreamName), version < 2270 ? "(failed)" : "Config-7-Partition");
        EXPECT_EQ(partition(*second), version < 2270 ? "error 4" : explodedText);
        EXPECT_EQ(partition(*open(builder, u"Default")), version < 2270 ? "error 4" : explodedText) << "compressed as a node too";
    }
    DocumentBuilder without;
    Bytes torn = zlbNode(std::string(64, 'x'));
    torn[30] ^= 0xFF;
    without.contents.stream(u"Config-0-Partition__ZLB", torn);
    const auto second = open(without);
    EXPECT_EQ(textFrom(*second, &IKvDMConfiguration9::get_PartitionStreamName), "Config-7-Partition") << "a name, though no stream";
    EXPECT_EQ(partition(*second), "error 4");
    EXPECT_EQ(partition(*open(without, u"Default")), "error 16") << "a node that does not decode gives what did";
    EXPECT_TRUE(temporaryFolderIsEmpty());
}

// ---- imported bodies ------------------------------------------------------------------------------------------------

// One entry; the last byte of the size is 0 and stands before the payload where only four bytes are passed over.
void appendImported(ArchiveBuilder& out, int version, const Bytes& payload)
{
    out.text(u"imported");
    if (version >= 2894)
        out.u32(0xDEADBEEF);
    if (version >= 3228)
        out.u32(0xDEADBEEF);
    out.u8(1).u8(2).u32(payload.size()).raw(payload);
}

TEST_F(Bodies, OfImportedFeaturesAreReadAtEveryVersion)
{
    for (const int version : {2065, 2066, 2893, 2894, 3227, 3228, 3800}) {
        const Bytes data = version < 2066 ? Bytes(imploded.begin() + 1, imploded.end()) : imploded;
        ArchiveBuilder stream;
        stream.u32(3);
        appendImported(stream, version, patternBytes(100000));
        appendImported(stream, version, data);
        appendImported(stream, version, {});
        DocumentBuilder builder(version);
        builder.root.storage(u"Config-7-FeatureBodies").stream(u"LocalBodies", stream.bytes);
        const auto second = open(builder);
        EXPECT_EQ(importedOf(*second), 3);
        EXPECT_EQ(imported(*second, 1), explodedText) << version;
        EXPECT_EQ(imported(*second, 2), "error 16");
        EXPECT_EQ(imported(*second, 3), "error 4");
        EXPECT_EQ(imported(*second, -1), "error 4");
        EXPECT_EQ(importedOf(*open(builder, u"Default")), 0);
        EXPECT_EQ(imported(*open(builder, u"Default"), 0), "error 4");
    }
    EXPECT_TRUE(temporaryFolderIsEmpty());
}

TEST_F(Bodies, OfImportedFeaturesAreMissingWhereTheirStreamEnds)
{
    ArchiveBuilder whole;
    whole.u32(0x7FFFFFFF);
    appendImported(whole, 3800, imploded);
    appendImported(whole, 3800, imploded);
    struct Case
    {
        std::size_t length;
        const char* second;
    };
    for (const Case& c : {Case{whole.bytes.size(), explodedText}, Case{whole.bytes.size() - 1, "error 4"}, Case{20, "error 4"}, Case{3, "error 4"}}) {
        DocumentBuilder builder;
        Bytes bytes = whole.bytes;
        bytes.resize(c.length);
        builder.root.storage(u"Config-7-FeatureBodies").stream(u"LocalBodies", bytes);
        const auto second = open(builder);
        EXPECT_EQ(importedOf(*second), c.length < 4 ? 0 : 0x7FFFFFFF);
        EXPECT_EQ(imported(*second, 1), c.second) << c.length;
        EXPECT_EQ(imported(*second, 0x7FFFFFFE), "error 4");
    }
    ArchiveBuilder boast; // a payload of four gigabytes in a few bytes
    boast.u32(2).text(u"x").u32(0).u32(0).u8(0).u8(0).u32(0xFFFFFFFF);
    DocumentBuilder builder;
    builder.root.storage(u"Config-7-FeatureBodies").stream(u"LocalBodies", boast.bytes);
    builder.root.storage(u"Config-0-FeatureBodies").stream(u"LocalBodies__ZLB", zlbNode(std::string(boast.bytes.begin(), boast.bytes.end())));
    for (const LONG index : {0, 1}) {
        EXPECT_EQ(imported(*open(builder), index), "error 4");
        EXPECT_EQ(imported(*open(builder, u"Default"), index), "error 4") << "of a compressed node";
    }
    EXPECT_TRUE(temporaryFolderIsEmpty());
}

} // namespace
} // namespace kvdm::test
