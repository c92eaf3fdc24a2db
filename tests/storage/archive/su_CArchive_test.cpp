#include "archiveTools.h"

namespace kvdm::test {
namespace {

// A file of unknown length that gives its bytes piece by piece.
class TricklingFile final : public suFile
{
public:
    explicit TricklingFile(std::uint64_t bytes) : left(bytes) {}
    std::size_t Read(void* buffer, std::size_t count) override
    {
        const std::size_t piece = std::min<std::uint64_t>({count, left, 1000});
        std::memset(buffer, 'x', piece);
        left -= piece;
        return piece;
    }
    void Write(const void*, std::size_t) override { throw suFileException(suFileException::diskFull); }
    std::uint64_t Seek(std::int64_t, Origin) override { return 0; }
    std::uint64_t GetPosition() override { return 0; }
    std::uint64_t GetLength() override { return 0; }
    void SetLength(std::uint64_t) override {}
    void Flush() override {}
    void Close() override {}
    std::u16string GetFileName() const override { return u"trickle.kvdprt"; }

    std::uint64_t left;
};

TEST(Archive, ValuesLieLittleEndianInTheStream)
{
    Storer out;
    out.archive << std::uint8_t{1} << std::int16_t{-2} << std::uint32_t{0x01020304} << std::uint64_t{0x0102030405060708} << 1.0f << -2.0;
    ArchiveBuilder expected;
    expected.u8(1).u16(0xFFFE).u32(0x01020304).u64(0x0102030405060708).u32(0x3F800000).u64(0xC000000000000000);
    EXPECT_EQ(out.bytes(), expected.bytes);

    Loader in(expected);
    EXPECT_EQ(in.archive.read<std::uint8_t>(), 1);
    EXPECT_EQ(in.archive.read<std::int16_t>(), -2);
    EXPECT_EQ(in.archive.read<std::uint32_t>(), 0x01020304u);
    EXPECT_EQ(in.archive.read<std::uint64_t>(), 0x0102030405060708u);
    EXPECT_EQ(in.archive.read<float>(), 1.0f);
    EXPECT_EQ(in.archive.read<double>(), -2.0);
    EXPECT_EQ(causeOf([&] { in.archive.read<std::uint8_t>(); }), suArchiveException::endOfFile);
}

TEST(Archive, ValuesAcrossTheEdgesOfTheBufferKeepTheirBytes)
{
    ArchiveBuilder expected;
    Storer out(1); // becomes 128
    for (std::uint32_t i = 0; i < 1000; ++i) {
        expected.u8(i).u64(i * 0x0101010101010101ull);
        out.archive << static_cast<std::uint8_t>(i) << i * std::uint64_t{0x0101010101010101};
    }
    EXPECT_EQ(out.bytes(), expected.bytes);
    Loader in(expected.bytes, 128);
    for (std::uint32_t i = 0; i < 1000; ++i) {
        ASSERT_EQ(in.archive.read<std::uint8_t>(), static_cast<std::uint8_t>(i));
        ASSERT_EQ(in.archive.read<std::uint64_t>(), i * 0x0101010101010101ull);
    }
}

TEST(Archive, LargePiecesPassTheBufferInOrder)
{
    Bytes large(300000);
    for (std::size_t i = 0; i < large.size(); ++i)
        large[i] = static_cast<std::uint8_t>(i * 7 + i / 256);
    Storer out;
    out.archive << std::uint8_t{9};
    out.archive.Write(large.data(), large.size());
    out.archive << std::uint8_t{8};
    ArchiveBuilder expected;
    expected.u8(9).raw(large).u8(8);
    ASSERT_EQ(out.bytes(), expected.bytes);

    Loader in(expected);
    Bytes back(large.size() + 100);
    EXPECT_EQ(in.archive.read<std::uint8_t>(), 9);
    EXPECT_EQ(in.archive.Read(back.data(), back.size()), large.size() + 1);
    EXPECT_EQ(back[large.size()], 8);
    back.resize(large.size());
    EXPECT_EQ(back, large);
    EXPECT_EQ(in.archive.Read(back.data(), 1), 0u);
}

TEST(Archive, FlushWhileLoadingLeavesTheFileWhereTheReaderIs)
{
    Loader in(ArchiveBuilder().u32(1).u32(2));
    in.archive.read<std::uint32_t>();
    EXPECT_EQ(in.file.GetPosition(), 8u);
    in.archive.Flush();
    EXPECT_EQ(in.file.GetPosition(), 4u);
    EXPECT_EQ(in.archive.read<std::uint32_t>(), 2u);
}

TEST(Archive, DestructorWritesUnlessTheModeSaysNotTo)
{
    for (const unsigned mode : {unsigned{su_CArchive::store}, unsigned{su_CArchive::noFlushOnDelete}}) {
        suMemoryFile file;
        {
            su_CArchive archive(&file, mode);
            archive << std::uint16_t{1};
        }
        EXPECT_EQ(file.content().size(), mode == su_CArchive::store ? 2u : 0u);
    }
}

TEST(Archive, RefusesTheWrongDirectionAndAFileThatIsGone)
{
    Loader in(ArchiveBuilder().u32(1));
    EXPECT_EQ(causeOf([&] { in.archive << std::uint8_t{1}; }), suArchiveException::generic);
    Storer out;
    EXPECT_EQ(causeOf([&] { out.archive.read<std::uint8_t>(); }), suArchiveException::generic);
    char byte = 0;
    EXPECT_EQ(causeOf([&] { out.archive.Read(&byte, 1); }), suArchiveException::generic);
    in.archive.detachFile();
    EXPECT_EQ(causeOf([&] { in.archive.read<std::uint8_t>(); }), suArchiveException::generic);
}

TEST(Archive, CountsTakeSixteenBitsBelow65535)
{
    const std::pair<std::uint32_t, std::size_t> cases[] = {{0, 2}, {65534, 2}, {65535, 6}, {0xFFFFFFFF, 6}};
    for (const auto& [count, size] : cases) {
        Storer out;
        out.archive.WriteCount(count);
        const Bytes expected = ArchiveBuilder().count(count).bytes;
        EXPECT_EQ(out.bytes(), expected) << count;
        EXPECT_EQ(expected.size(), size);
        Loader in(expected);
        EXPECT_EQ(in.archive.ReadCount(), count);
    }
}

TEST(Archive, StringsAreWrittenBehindTheMarkWithAFittingLength)
{
    const std::pair<std::size_t, std::size_t> cases[] = {{0, 4},          {1, 6},          {254, 512},      {255, 516},
                                                         {65533, 131072}, {65534, 131078}, {65535, 131080}, {70000, 140010}};
    for (const auto& [length, size] : cases) {
        const std::u16string text(length, u'\u00DF');
        Storer out;
        out.archive << text;
        const Bytes expected = ArchiveBuilder().textUtf16(text).bytes;
        EXPECT_EQ(out.bytes(), expected) << length;
        EXPECT_EQ(expected.size(), size);
        Loader in(expected);
        EXPECT_EQ(in.archive.ReadString(), text) << length;
    }
}

TEST(Archive, SingleByteStringsCountBytes)
{
    for (const std::size_t length : {0u, 254u, 255u, 65533u, 65534u, 70000u}) {
        Loader in(ArchiveBuilder().textBytes(std::string(length, 'a')).u8(77));
        EXPECT_EQ(in.archive.ReadString(), std::u16string(length, u'a')) << length;
        EXPECT_EQ(in.archive.read<std::uint8_t>(), 77);
    }
}

TEST(Archive, StringsThatLieAboutThemselvesAreRefused)
{
    const auto huge = [](bool wide) {
        ArchiveBuilder out;
        if (wide)
            out.u8(255).u16(65534);
        return out.u8(255).u16(65535).u32(0xFFFFFFFF).raw("abcd").bytes;
    };
    const std::tuple<const char*, Bytes, int> cases[] = {
        {"two marks", ArchiveBuilder().u8(255).u16(65534).u8(255).u16(65534).u8(0).bytes, suArchiveException::generic},
        {"huge, wide", huge(true), suArchiveException::endOfFile},
        {"huge, narrow", huge(false), suArchiveException::endOfFile},
        {"one byte short", ArchiveBuilder().u8(255).u16(65534).u8(2).raw("abc").bytes, suArchiveException::endOfFile},
        {"length cut", ArchiveBuilder().u8(255).u8(1).bytes, suArchiveException::endOfFile},
        {"nothing", {}, suArchiveException::endOfFile},
    };
    for (const auto& [name, bytes, cause] : cases) {
        Loader in(bytes);
        EXPECT_EQ(causeOf([&] { in.archive.ReadString(); }), cause) << name;
    }
}

TEST(Archive, LengthsAreNotBelievedWhenTheFileDoesNotKnowItsOwn)
{
    TricklingFile file(100000);
    su_CArchive archive(&file, su_CArchive::load);
    std::vector<std::uint32_t> values;
    try {
        archive.readValues(values, 0xFFFFFFFF);
        FAIL();
    } catch (const suArchiveException& failure) {
        EXPECT_EQ(failure.cause, suArchiveException::endOfFile);
        EXPECT_EQ(failure.fileName, u"trickle.kvdprt");
    }
    EXPECT_LE(values.capacity() * sizeof(std::uint32_t), 1u << 20);
    TricklingFile enough(400000);
    su_CArchive second(&enough, su_CArchive::load);
    second.readValues(values, 100000);
    EXPECT_EQ(values.size(), 100000u);
    EXPECT_EQ(values.back(), 0x78787878u);
}

} // namespace
} // namespace kvdm::test
