#include "platform/files/posix/folderIndex.h"

#include "platform/files/files.h"
#include "platform/text/casing.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <list>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace kvdm {

namespace {

constexpr std::size_t mostFolders = 32;
constexpr std::size_t mostEntries = 100'000; // of all listings that are kept; a larger folder is listed anew each time
// A folder that changed less than this before it was listed may change again without a change of its time.
constexpr std::int64_t settledAfter = 2;

using Names = std::unordered_map<std::u16string, std::string>; // upper-cased to actual

struct Listing
{
    std::string folder;
    dev_t device;
    ino_t inode;
    timespec changed;
    std::shared_ptr<const Names> names;
};

bool sameMoment(const timespec& left, const timespec& right)
{
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

struct DirCloser
{
    void operator()(DIR* folder) const noexcept { ::closedir(folder); }
};

std::shared_ptr<const Names> listFolder(int descriptor)
{
    const std::unique_ptr<DIR, DirCloser> folder(::fdopendir(descriptor));
    if (!folder) {
        ::close(descriptor);
        return nullptr;
    }
    auto names = std::make_shared<Names>();
    while (const dirent* entry = ::readdir(folder.get())) {
        const std::string_view name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        const auto [at, isNew] = names->try_emplace(upperText(pathFromNative(name)), name);
        if (!isNew && name < at->second)
            at->second = name;
    }
    return names;
}

class FolderIndex
{
public:
    static FolderIndex& instance()
    {
        static FolderIndex& index = *new FolderIndex; // kept for good: the process may still look for files while it ends
        return index;
    }

    std::shared_ptr<const Names> namesOf(const std::string& folder)
    {
        struct stat now;
        if (::stat(folder.empty() ? "." : folder.c_str(), &now) != 0 || !S_ISDIR(now.st_mode))
            return nullptr;
        if (auto known = iFind(folder, now))
            return known;
        const int descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK);
        if (descriptor < 0)
            return nullptr;
        if (::fstat(descriptor, &now) != 0) { // before the listing: what changes after it shows
            ::close(descriptor);
            return nullptr;
        }
        timespec clock{};
        ::clock_gettime(CLOCK_REALTIME, &clock);
        auto names = listFolder(descriptor);
        if (names && names->size() <= mostEntries && clock.tv_sec - now.st_mtim.tv_sec > settledAfter)
            iKeep({folder, now.st_dev, now.st_ino, now.st_mtim, names});
        return names;
    }

private:
    std::shared_ptr<const Names> iFind(const std::string& folder, const struct stat& now)
    {
        const std::lock_guard lock(guard);
        for (auto at = listings.begin(); at != listings.end(); ++at) {
            if (at->folder != folder)
                continue;
            if (at->device == now.st_dev && at->inode == now.st_ino && sameMoment(at->changed, now.st_mtim)) {
                listings.splice(listings.begin(), listings, at);
                return listings.front().names;
            }
            listings.erase(at);
            break;
        }
        return nullptr;
    }

    void iKeep(Listing listing)
    {
        const std::lock_guard lock(guard);
        listings.remove_if([&](const Listing& each) { return each.folder == listing.folder; });
        listings.push_front(std::move(listing));
        std::size_t folders = 0, entries = 0;
        const auto firstTooMany = std::find_if(listings.begin(), listings.end(), [&](const Listing& each) {
            entries += each.names->size();
            return ++folders > mostFolders || entries > mostEntries;
        });
        listings.erase(firstTooMany, listings.end());
    }

    std::mutex guard;
    std::list<Listing> listings; // last used first
};

} // namespace

std::optional<std::string> findEntryNoCase(const std::string& folder, std::string_view name)
{
    const std::shared_ptr<const Names> names = FolderIndex::instance().namesOf(folder);
    if (!names)
        return std::nullopt;
    const auto at = names->find(upperText(pathFromNative(name)));
    return at == names->end() ? std::nullopt : std::optional(at->second);
}

} // namespace kvdm
