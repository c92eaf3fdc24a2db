// The "~$" file beside a document.
#include "storage/suStructuredStorage.h"
#include "support/CompoundFileBuilder.h"
#include "support/TemporaryFolder.h"

#include <kvdocmgr/text.h>

namespace kvdm::test {
namespace {

TEST(Reservation, NamesTheUserOfADocument)
{
    TemporaryFolder folder;
    EXPECT_EQ(getReservationName(u"C:\\dir\\part.kvdprt"), u"C:\\dir\\~$part.kvdprt");
    EXPECT_EQ(getReservationName(u"part"), u"~$part");
    const std::string mark = folder / "~$part.kvdprt";
    const std::u16string part = fromUtf8(folder / "part.kvdprt");
    std::u16string user = u"x";
    EXPECT_FALSE(whoIsUsing(part, user));
    EXPECT_EQ(user, u"");
    ASSERT_TRUE(reserve(part));
    ASSERT_TRUE(whoIsUsing(part, user));
    ASSERT_FALSE(user.empty());
    EXPECT_TRUE(user[0] < u'a' || user[0] > u'z') << "the first letter is a capital";
    Bytes record = readWholeFile(mark);
    EXPECT_EQ(record.back(), 0);
    EXPECT_EQ(fromUtf8(std::string(record.begin(), record.end() - 1)), user);
    EXPECT_TRUE(unreserve(part));
    EXPECT_FALSE(std::filesystem::exists(mark));
    EXPECT_FALSE(unreserve(part)) << "there is nothing to remove";

    writeWholeFile(mark, Bytes(200, 'z')); // of someone else, and longer than a record may be
    EXPECT_TRUE(whoIsUsing(part, user));
    EXPECT_EQ(user, std::u16string(56, u'z'));
    EXPECT_FALSE(unreserve(part));
    EXPECT_TRUE(std::filesystem::exists(mark));
    ASSERT_TRUE(reserve(part)) << "reserving does not ask";
    EXPECT_EQ(readWholeFile(mark).size(), 200u) << "nor does it empty the file";
    EXPECT_TRUE(unreserve(part));
    EXPECT_FALSE(reserve(fromUtf8(folder / "no/such/folder/part.kvdprt")));
    EXPECT_TRUE(reserve(static_cast<IStorage*>(nullptr)));
}

} // namespace
} // namespace kvdm::test
