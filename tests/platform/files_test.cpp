// What the rooms above count on: names, cases, maps, errors, locks.
#include "platform/files/files.h"

#include "platform/environment.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

using namespace kvdm;

namespace {

class Files : public testing::Test
{
protected:
    Files()
    {
        char name[] = "/tmp/kvdm-files-XXXXXX";
        root = ::mkdtemp(name);
    }
    ~Files() override { std::filesystem::remove_all(root); }

    std::string write(const std::string& name, const std::string& content = "x") const
    {
        const std::filesystem::path path = std::filesystem::path(root) / name;
        std::filesystem::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << content;
        return path;
    }
    static std::string read(const std::string& path)
    {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::u16string wide(const std::string& name) const { return pathFromNative(root + '/' + name); }
    std::unique_ptr<OpenFile> open(const std::string& name, FileAccess access = FileAccess::readWrite,
                                   FileCreation creation = FileCreation::openExisting)
    {
        return openFile(wide(name), access, creation, error);
    }

    std::string root;
    std::uint32_t error = 0;
};

TEST_F(Files, PathsSplitAsOnWindowsWithBothSeparators)
{
    struct
    {
        const char16_t *path, *drive, *directory, *name, *extension;
    } const cases[] = {
        {u"C:\\parts\\a.b.kvdprt", u"C:", u"\\parts\\", u"a.b", u".kvdprt"},
        {u"\\\\server\\share\\a", u"", u"\\\\server\\share\\", u"a", u""},
        {u"/srv/vault\\x.y/a", u"", u"/srv/vault\\x.y/", u"a", u""},
        {u"C:a.txt", u"C:", u"", u"a", u".txt"},
        {u".profile", u"", u"", u"", u".profile"},
        {u"a.", u"", u"", u"a", u"."},
        {u"..", u"", u"", u".", u"."},
        {u"C:\\", u"C:", u"\\", u"", u""},
        {u"", u"", u"", u"", u""},
    };
    for (const auto& each : cases) {
        const PathParts parts = splitPath(each.path);
        EXPECT_EQ(parts.drive, each.drive);
        EXPECT_EQ(parts.directory, each.directory);
        EXPECT_EQ(parts.name, each.name);
        EXPECT_EQ(parts.extension, each.extension);
        EXPECT_EQ(parts.drive + parts.directory + parts.name + parts.extension, each.path);
    }
}

TEST_F(Files, MapsDrivesAndSharesByTheLongestPrefix)
{
    write("vault/c/parts/a.kvdprt");
    write("vault/special/a.kvdprt");
    write("share/b.kvdprt");
    const std::string map =
        "C:=" + root + "/vault/c;c:\\Parts\\Special\\=" + root + "/vault/special/;\\\\Server\\Share=" + root + "/share;junk;=x;D:=";
    const ScopedVariable variable("KESTROVANE_PATH_MAP", map.c_str());
    struct
    {
        const char16_t* path;
        const char* expected; // below the root; null: nowhere
    } const cases[] = {
        {u"C:\\parts\\a.kvdprt", "/vault/c/parts/a.kvdprt"},
        {u"c:/PARTS/A.KVDPRT", "/vault/c/parts/a.kvdprt"},
        {u"C:\\parts\\special\\a.kvdprt", "/vault/special/a.kvdprt"},
        {u"C:\\parts\\specials\\a", "/vault/c/parts/specials/a"}, // a prefix ends with a component
        {u"C:\\parts\\new.kvdprt", "/vault/c/parts/new.kvdprt"},
        {u"C:\\x\\..\\..\\..\\etc\\passwd", "/vault/c/etc/passwd"}, // nothing leads out of a drive
        {u"C:", "/vault/c"},
        {u"C:\\", "/vault/c"},
        {u"\\\\server\\SHARE\\B.kvdprt", "/share/b.kvdprt"},
        {u"//server/share/b.kvdprt", "/share/b.kvdprt"},
        {u"\\\\?\\C:\\parts\\a.kvdprt", "/vault/c/parts/a.kvdprt"},
        {u"\\\\?\\UNC\\server\\share\\b.kvdprt", "/share/b.kvdprt"},
        {u"\\\\.\\pipe\\x", nullptr},
        {u"\\\\server\\shareless\\b", nullptr},
        {u"D:\\a", nullptr},
        {u"E:\\a", nullptr},
        {u"", nullptr},
    };
    for (const auto& each : cases) {
        const auto native = nativePath(each.path);
        EXPECT_EQ(native.value_or("nowhere"), each.expected ? root + each.expected : "nowhere") << pathFromNative(root).size();
    }
    EXPECT_FALSE(nativePath(std::u16string_view(u"/tmp\0x", 6)));
    EXPECT_TRUE(fileAccess(u"C:\\Parts\\A.kvdprt", 0));
    EXPECT_FALSE(fileAccess(u"E:\\", 0));
}

TEST_F(Files, CaseIsResolvedWhereTheExactNameIsMissing)
{
    write("Dir/Sub/File.txt");
    write("Dir/Sub/file.TXT");
    write("Dir/\xC3\x84.txt");
    write("only\\one");
    EXPECT_EQ(*nativePath(wide("Dir/Sub/file.TXT")), root + "/Dir/Sub/file.TXT"); // an exact name goes first
    EXPECT_EQ(*nativePath(wide("dir\\SUB\\FILE.txt")), root + "/Dir/Sub/File.txt");
    EXPECT_EQ(*nativePath(wide("DIR/\xC3\xA4.TXT")), root + "/Dir/\xC3\x84.txt");
    EXPECT_EQ(*nativePath(wide("dir/sub/New Name.txt")), root + "/Dir/Sub/New Name.txt"); // the new part stays as asked
    EXPECT_EQ(*nativePath(wide("dir/none/New.txt")), root + "/Dir/none/New.txt");
    EXPECT_EQ(*nativePath(wide("only\\one")), root + "/only\\one"); // a native name may hold the other separator
    EXPECT_EQ(*nativePath(u"/"), "/");

    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(root);
    EXPECT_EQ(*nativePath(u"dir\\sub"), "Dir/Sub");
    EXPECT_EQ(*nativePath(u"none.txt"), "none.txt");
    std::filesystem::current_path(before);
}

TEST_F(Files, AListingKeptInMemoryFollowsTheFolder)
{
    write("old.txt");
    const timespec longAgo[2] = {{1'000'000, 0}, {1'000'000, 0}};
    ::utimensat(AT_FDCWD, root.c_str(), longAgo, 0);
    EXPECT_TRUE(fileAccess(wide("OLD.TXT"), 0));
    EXPECT_FALSE(fileAccess(wide("NEW.TXT"), 0));
    write("new.txt");
    EXPECT_TRUE(fileAccess(wide("NEW.TXT"), 0));
    std::filesystem::remove(root + "/old.txt");
    EXPECT_FALSE(fileAccess(wide("OLD.TXT"), 0));
}

TEST_F(Files, NamesThatAreNotUtf8Survive)
{
    for (const std::string& name : {std::string("caf\xE9"), std::string("\xED\xA0\x80"), std::string("\xC0\xAF"), std::string("\xF0\x9F\x98"),
                                    std::string("\xF0\x9F\x98\x80 ok"), std::string("\xF5\x80")}) {
        const std::string path = write(name);
        const std::u16string text = pathFromNative(path);
        EXPECT_EQ(*nativePath(text), path);
        EXPECT_TRUE(fileAccess(text, 4));
    }
    EXPECT_EQ(pathFromNative("a\xE9"), std::u16string(u"a") + char16_t(0xDCE9));
}

TEST_F(Files, OpeningTellsWhyItFailed)
{
    write("plain", "12345");
    write("dir/inside");
    ASSERT_EQ(::mkfifo((root + "/fifo").c_str(), 0600), 0);
    ::symlink("loop", (root + "/loop").c_str());
    struct
    {
        const char* name;
        FileCreation creation;
        std::uint32_t error;
    } const cases[] = {
        {"none", FileCreation::openExisting, 2},      {"none/none", FileCreation::openExisting, 3}, {"plain/x", FileCreation::openExisting, 3},
        {"none/none", FileCreation::createAlways, 3}, {"dir", FileCreation::openExisting, 5},       {"dir", FileCreation::createAlways, 5},
        {"plain", FileCreation::createNew, 80},       {"PLAIN", FileCreation::createNew, 80},       {"fifo", FileCreation::openExisting, 5},
        {"fifo", FileCreation::openAlways, 5},        {"loop", FileCreation::openExisting, 1921},
    };
    for (const auto& each : cases) {
        for (const FileAccess access : {FileAccess::read, FileAccess::readWrite}) {
            EXPECT_FALSE(open(each.name, access, each.creation)) << each.name;
            EXPECT_EQ(error, each.error) << each.name;
        }
    }
    EXPECT_FALSE(openFile(u"Q:\\x", FileAccess::read, FileCreation::openExisting, error));
    EXPECT_EQ(error, errorPathNotFound);
    EXPECT_FALSE(openFile(u"/dev/null", FileAccess::read, FileCreation::openExisting, error));
    EXPECT_EQ(error, errorAccessDenied);
    EXPECT_FALSE(openFile(pathFromNative(root + '/' + std::string(300, 'n')), FileAccess::read, FileCreation::openAlways, error));
    EXPECT_EQ(error, 206u);
    EXPECT_EQ(read(root + "/plain"), "12345");

    EXPECT_TRUE(open("plain", FileAccess::read, FileCreation::openAlways));
    EXPECT_EQ(read(root + "/plain"), "12345");
    EXPECT_TRUE(open("PLAIN", FileAccess::read, FileCreation::createAlways));
    EXPECT_EQ(read(root + "/plain"), "");
    EXPECT_TRUE(open("new", FileAccess::readWrite, FileCreation::createNew));
    EXPECT_TRUE(std::filesystem::exists(root + "/new"));
    EXPECT_TRUE(open("private", FileAccess::readWrite, FileCreation::createPrivate));
    EXPECT_EQ(std::filesystem::status(root + "/private").permissions(), std::filesystem::perms(0600));
    EXPECT_FALSE(open("private", FileAccess::readWrite, FileCreation::createPrivate));
}

TEST_F(Files, ReadsAndWritesByPosition)
{
    const auto file = open("data", FileAccess::readWrite, FileCreation::createNew);
    ASSERT_TRUE(file);
    std::size_t done = 0;
    std::uint64_t size = 0;
    EXPECT_EQ(file->writeAt(3, "abc", 3, done), 0u);
    EXPECT_EQ(done, 3u);
    char buffer[8] = {};
    EXPECT_EQ(file->readAt(4, buffer, 8, done), 0u);
    EXPECT_EQ(std::string(buffer, done), "bc");
    EXPECT_EQ(file->readAt(100, buffer, 8, done), 0u);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(file->readAt(~0ull, buffer, 8, done), 0u);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(file->writeAt(~0ull - 1, "abc", 3, done), errorDiskFull);
    EXPECT_EQ(file->setSize(~0ull), errorDiskFull);
    EXPECT_EQ(file->flush(), 0u);

    constexpr std::uint64_t far = 5'000'000'000; // past what 32 bits can say
    EXPECT_EQ(file->setSize(far), 0u);
    EXPECT_EQ(file->writeAt(far - 1, "zz", 2, done), 0u);
    EXPECT_EQ(file->size(size), 0u);
    EXPECT_EQ(size, far + 1);
    EXPECT_EQ(file->readAt(far - 2, buffer, 8, done), 0u);
    EXPECT_EQ(std::string(buffer, done), std::string("\0zz", 3));
    EXPECT_EQ(file->setSize(5), 0u);
    EXPECT_EQ(read(root + "/data"), std::string("\0\0\0ab", 5));

    const auto reader = open("data", FileAccess::read);
    EXPECT_EQ(reader->writeAt(0, "x", 1, done), errorAccessDenied);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(reader->setSize(0), errorAccessDenied);
    EXPECT_EQ(reader->flush(), 0u);

    std::uint64_t bytes = 0;
    FILETIME created, accessed, modified;
    EXPECT_EQ(file->sizeAndTimes(bytes, created, accessed, modified), 0u);
    const timespec moment[2] = {{1'000'000'000, 0}, {1'234'567'890, 500}};
    ::utimensat(AT_FDCWD, (root + "/data").c_str(), moment, 0);
    EXPECT_EQ(file->sizeAndTimes(bytes, created, accessed, modified), 0u);
    EXPECT_EQ(bytes, 5u);
    EXPECT_EQ((std::uint64_t{modified.dwHighDateTime} << 32) | modified.dwLowDateTime, 128790414900000005u);
    EXPECT_EQ((std::uint64_t{accessed.dwHighDateTime} << 32) | accessed.dwLowDateTime, 126444736000000000u);
}

TEST_F(Files, LocksHoldBetweenHandlesOfOneProcess)
{
    write("locked");
    const auto first = open("locked"), second = open("locked");
    const auto reader = open("locked", FileAccess::read);
    EXPECT_EQ(first->lock(0x7FFFFF92, 16), 0u); // a range far behind the end
    EXPECT_EQ(second->lock(0x7FFFFF92 + 15, 1), errorLockViolation);
    EXPECT_EQ(second->lock(0x7FFFFF92 + 16, 1), 0u);
    EXPECT_EQ(reader->lock(0x7FFFFF92, 1), errorLockViolation);
    EXPECT_EQ(first->lock(0x7FFFFF92, 1), errorLockViolation); // its own as well
    EXPECT_EQ(first->unlock(0x7FFFFF92, 1), 158u);             // only what was locked
    {
        const auto third = open("locked");
    } // closing a handle frees its own locks alone
    EXPECT_EQ(second->lock(0x7FFFFF92, 1), errorLockViolation);
    EXPECT_EQ(first->unlock(0x7FFFFF92, 16), 0u);
    EXPECT_EQ(reader->lock(0x7FFFFF92, 1), 0u); // a reader's lock is exclusive too
    EXPECT_EQ(second->lock(0x7FFFFF92, 1), errorLockViolation);
    EXPECT_EQ(first->lock(5, 0), 0u); // nothing
    EXPECT_EQ(second->lock(5, 1), 0u);
    EXPECT_EQ(first->lock(~0ull, 1), 87u);
    EXPECT_EQ(first->lock(1ull << 40, ~0ull), 0u); // up to the end of all files
    EXPECT_EQ(second->lock((1ull << 63) - 1, 1), errorLockViolation);
    EXPECT_EQ(first->unlock(1ull << 40, ~0ull), 0u);
    EXPECT_EQ(second->lock((1ull << 63) - 1, 1), 0u);
}

TEST_F(Files, LocksHoldBetweenProcessesAndEndWithTheirHolder)
{
    write("locked");
    int ready[2], go[2];
    ASSERT_EQ(::pipe(ready), 0);
    ASSERT_EQ(::pipe(go), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        std::uint32_t ignored = 0;
        const auto file = openFile(wide("locked"), FileAccess::readWrite, FileCreation::openExisting, ignored);
        char answer = file && file->lock(10, 10) == 0 ? 'y' : 'n';
        (void)!::write(ready[1], &answer, 1);
        (void)!::read(go[0], &answer, 1);
        ::_exit(0);
    }
    char answer = 0;
    ASSERT_EQ(::read(ready[0], &answer, 1), 1);
    EXPECT_EQ(answer, 'y');
    const auto file = open("locked");
    EXPECT_EQ(file->lock(19, 1), errorLockViolation);
    EXPECT_EQ(file->lock(20, 1), 0u);
    ASSERT_EQ(::write(go[1], "g", 1), 1);
    ::waitpid(child, nullptr, 0);
    EXPECT_EQ(file->lock(10, 10), 0u);
    for (const int end : {ready[0], ready[1], go[0], go[1]})
        ::close(end);
}

TEST_F(Files, CopyingReplacesTheTargetWholeOrLeavesIt)
{
    const std::string big(700'000, 'b');
    write("source", big);
    write("target", "old");
    ::chmod((root + "/target").c_str(), 0640);
    ::symlink("target", (root + "/link").c_str());
    EXPECT_TRUE(copyFile(wide("source"), wide("link")));
    EXPECT_EQ(read(root + "/target"), big);
    EXPECT_TRUE(std::filesystem::is_symlink(root + "/link"));
    struct stat status, source;
    ::stat((root + "/target").c_str(), &status);
    ::stat((root + "/source").c_str(), &source);
    EXPECT_EQ(status.st_mode & 0777, 0640u);
    EXPECT_EQ(status.st_mtim.tv_nsec, source.st_mtim.tv_nsec); // the time of the last change comes along
    EXPECT_FALSE(copyFile(wide("source"), wide("SOURCE")));    // onto itself
    EXPECT_FALSE(copyFile(wide("none"), wide("target")));
    EXPECT_FALSE(copyFile(wide("source"), wide("none/target")));
    write("dir/x");
    EXPECT_FALSE(copyFile(wide("source"), wide("dir")));
    EXPECT_FALSE(copyFile(wide("dir"), wide("target")));
    EXPECT_EQ(read(root + "/target"), big);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(root), {}), 4); // no work file is left
}

TEST_F(Files, RenamingNeverReplacesAFile)
{
    write("a", "A");
    write("b", "B");
    EXPECT_FALSE(renameFile(wide("a"), wide("B")));
    EXPECT_FALSE(renameFile(wide("none"), wide("c")));
    EXPECT_EQ(read(root + "/b"), "B");
    EXPECT_TRUE(renameFile(wide("a"), wide("A"))); // another case is another name
    EXPECT_TRUE(std::filesystem::exists(root + "/A"));
    EXPECT_FALSE(std::filesystem::exists(root + "/a"));
    EXPECT_TRUE(renameFile(wide("a"), wide("c")));
    EXPECT_EQ(read(root + "/c"), "A");
}

TEST_F(Files, FoldersAndAccess)
{
    EXPECT_TRUE(makePrivateFolder(wide("new")));
    EXPECT_EQ(std::filesystem::status(root + "/new").permissions(), std::filesystem::perms::owner_all);
    for (const auto& [mode, serves] : {std::pair{0777, false}, {0770, false}, {0702, false}, {0755, true}, {0700, true}}) {
        ::chmod((root + "/new").c_str(), static_cast<mode_t>(mode));
        EXPECT_EQ(makePrivateFolder(wide("NEW")), serves) << mode;
    }
    std::filesystem::create_symlink(root + "/new", root + "/link");
    EXPECT_FALSE(makePrivateFolder(wide("link")));
    if (::geteuid() == 0 && ::chown((root + "/new").c_str(), 1, 1) == 0) {
        EXPECT_FALSE(makePrivateFolder(wide("new"))) << "somebody else's";
    }
    write("new/inside");
    EXPECT_FALSE(removeFolder(wide("new")));
    EXPECT_FALSE(deleteFile(wide("new")));
    EXPECT_TRUE(deleteFile(wide("new/INSIDE")));
    EXPECT_TRUE(removeFolder(wide("new")));
    for (const int mode : {0, 2, 4, 6})
        EXPECT_TRUE(fileAccess(pathFromNative(root), mode));
    EXPECT_FALSE(fileAccess(wide("none"), 0));
    write("readonly");
    ::chmod((root + "/readonly").c_str(), 0444);
    EXPECT_TRUE(fileAccess(wide("readonly"), 4));
    EXPECT_EQ(fileAccess(wide("readonly"), 2), ::geteuid() == 0); // the superuser may write anywhere
    EXPECT_TRUE(freeDiskSpace(wide("none/none")));
    EXPECT_FALSE(freeDiskSpace(u"Q:\\"));
}

TEST_F(Files, TemporaryFilesAreTheOwnersAlone)
{
    const ScopedVariable first("TMP", nullptr), second("TEMP", root.c_str());
    EXPECT_EQ(temporaryFolder(), wide(""));
    const auto one = temporaryFile(temporaryFolder(), u"kvprefix");
    const auto two = temporaryFile(pathFromNative(root), u"kvprefix");
    ASSERT_TRUE(one && two);
    EXPECT_NE(*one, *two);
    EXPECT_TRUE(one->starts_with(wide("kvp"))) << "three units of the prefix";
    EXPECT_TRUE(one->ends_with(u".tmp"));
    struct stat status;
    ASSERT_EQ(::stat(nativePath(*one)->c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    EXPECT_EQ(status.st_size, 0);
    EXPECT_FALSE(temporaryFile(wide("none"), u"kv"));
    EXPECT_FALSE(temporaryFile(pathFromNative(root), u"../"));
    const ScopedVariable missing("TEMP", "/none/such"), third("TMPDIR", nullptr);
    EXPECT_EQ(temporaryFolder(), u"/tmp/");
}

TEST(Environment, VariablesHaveNoCase)
{
    const ScopedVariable variable("KVDM_Test_Variable", "v\xC3\xA4lue");
    EXPECT_EQ(environmentVariable(u"KVDM_Test_Variable"), u"v\u00E4lue");
    EXPECT_EQ(environmentVariable(u"kvdm_test_variable"), u"v\u00E4lue");
    EXPECT_FALSE(environmentVariable(u"kvdm_test"));
    EXPECT_FALSE(environmentVariable(u""));
    EXPECT_TRUE(userName());
    EXPECT_EQ(processId(), static_cast<std::uint32_t>(::getpid()));
}

} // namespace
