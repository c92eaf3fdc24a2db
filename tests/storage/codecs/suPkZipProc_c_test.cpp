#include "storage/codecs/suPkZipProc_c.h"

#include "common/exceptions.h"
#include "platform/files/files.h"
#include "platform/ui/messageHook.h"
#include "storage/archive/suMemoryFile.h"
#include "storage/codecs/codecSupport.h"
#include "storage/codecs/conversionFolder.h"

#include <cstdlib>
#include <filesystem>

namespace kvdm::test {
namespace {

std::u16string shown;

struct PkZipConversion : testing::Test
{
    std::filesystem::path base = std::filesystem::path(testing::TempDir()) / ("kvdmPkZip" + std::to_string(processId()));
    std::filesystem::path folder = base / ("kvx" + std::to_string(processId()));

    PkZipConversion()
    {
        std::filesystem::create_directories(base);
        ::setenv("temp", base.c_str(), 1);
        shown.clear();
        setMessageHook([](std::u16string_view text) { shown += text; });
    }
    ~PkZipConversion() override
    {
        setMessageHook(nullptr);
        ::unsetenv("temp");
        std::filesystem::remove_all(base);
    }
};

TEST_F(PkZipConversion, CompressesTheWholeSourceAndTellsTheRatio)
{
    for (const Bytes& clear : {Bytes{}, corpusBytes("tables.xml"), noise(0x180000)}) {
        suMemoryFile source(clear), target;
        const std::uint32_t ratio = suPkZipProc_c(source, target, true).compress();
        EXPECT_EQ(ratio, target.content().size() * 100 / std::max<std::size_t>(clear.size(), 1) / (clear.empty() ? 100 : 1));
        EXPECT_EQ(target.GetPosition(), 0U);
        EXPECT_EQ(Bytes(target.content().begin(), target.content().begin() + 16), magic());
        suMemoryFile back;
        EXPECT_EQ(suPkZipProc_c(target, back, false).decompress(0), 1);
        EXPECT_EQ(back.content(), clear);
    }
    EXPECT_TRUE(std::filesystem::is_empty(base)) << "nothing is left behind";
    EXPECT_TRUE(shown.empty());
}

TEST_F(PkZipConversion, DataDecidesTheFormWhateverTheHint)
{
    const Bytes clear = corpusBytes("tables.xml");
    const struct
    {
        const char* name;
        Bytes input;
        Bytes output;
    } cases[] = {
        {"blocks", corpusBytes("tables.blocks"), clear},
        {"imploded", corpusBytes("tables.imploded"), clear},
        {"short and imploded", {0x00, 0x04, 0x82, 0x24, 0x25, 0x8F, 0x80, 0x7F}, bytesOf("AIAIAIAIAIAIA")},
        {"chunks are no form of whole files", corpusBytes("tables.chunks"), {}},
        {"empty", {}, {}},
    };
    for (const auto& each : cases) {
        for (const int hint : {0, 2994, 2995}) {
            suMemoryFile source(bytesOf("1234") + each.input), target;
            source.Seek(4, suFile::Origin::begin); // behind a prefix
            EXPECT_EQ(suPkZipProc_c(source, target, false).decompress(hint), 1) << each.name;
            EXPECT_EQ(target.content(), each.output) << each.name;
        }
    }
}

TEST_F(PkZipConversion, FailuresAreShownAndLeaveNothingBehind)
{
    ScriptedFile source(noise(0x20000));
    source.failReadAt = 0x18000;
    source.failure = [this] {
        const auto status = std::filesystem::status(folder / "temp0097pin").permissions();
        EXPECT_EQ(status, std::filesystem::perms::owner_read | std::filesystem::perms::owner_write) << "for nobody else";
        EXPECT_TRUE(std::filesystem::exists(folder / "temp0097pout"));
        throw suFileException(suFileException::hardIO);
    };
    suMemoryFile target;
    EXPECT_EQ(suPkZipProc_c(source, target, true).compress(), suCompressProc_c::failed);
    EXPECT_EQ(shown, u"Error while compressing");
    shown.clear();
    source.position = 0;
    EXPECT_EQ(suPkZipProc_c(source, target, false).decompress(0), 0);
    EXPECT_EQ(shown, u"Error in Decompression");
    EXPECT_TRUE(target.content().empty());
    EXPECT_TRUE(std::filesystem::is_empty(base));

    shown.clear();
    ::setenv("temp", (base / "missing").c_str(), 1);
    suMemoryFile fine(noise(10));
    EXPECT_EQ(suPkZipProc_c(fine, target, true).compress(), suCompressProc_c::failed);
    EXPECT_EQ(suPkZipProc_c(fine, target, false).decompress(0), 0);
    EXPECT_TRUE(shown.empty());
}

TEST_F(PkZipConversion, LinkUnderATemporaryNameIsNotFollowed)
{
    const std::filesystem::path victim = base / "victim";
    std::ofstream(victim) << "precious";
    std::filesystem::create_directories(folder);
    std::filesystem::create_symlink(victim, folder / "temp0097pin");
    std::filesystem::create_symlink(victim, folder / "temp0097pout");
    suMemoryFile source(noise(5000)), target;
    EXPECT_NE(suPkZipProc_c(source, target, true).compress(), suCompressProc_c::failed);
    std::string content;
    std::getline(std::ifstream(victim), content);
    EXPECT_EQ(content, "precious");
    EXPECT_FALSE(std::filesystem::exists(folder));

    // Nor a link in the place of the folder, nor is anything put where others can exchange it.
    std::filesystem::create_directories(base / "other");
    std::filesystem::create_directory_symlink(base / "other", folder);
    EXPECT_EQ(suPkZipProc_c(source, target, true).compress(), suCompressProc_c::failed);
    std::filesystem::remove(folder);
    std::filesystem::create_directories(folder);
    std::filesystem::permissions(folder, std::filesystem::perms::all);
    EXPECT_EQ(suPkZipProc_c(source, target, true).compress(), suCompressProc_c::failed);
    EXPECT_TRUE(std::filesystem::is_empty(folder));
    EXPECT_TRUE(std::filesystem::is_empty(base / "other"));
}

} // namespace
} // namespace kvdm::test
