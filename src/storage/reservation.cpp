// The "~$" file beside a document: up to 56 bytes with the name of the user who works on it.
#include "common/exceptions.h"
#include "common/trace.h"
#include "platform/files/files.h"
#include "platform/text/casing.h"
#include "platform/text/codepages.h"
#include "storage/suStructuredStorage.h"

#include <kvdocmgr/text.h>

#include <algorithm>

namespace kvdm {

namespace {

constexpr std::size_t longestRecord = 56; // bytes, with the terminating zero

std::u16string reservingUser()
{
    std::u16string user = userName().value_or(u"NONAME");
    if (!user.empty())
        user[0] = upperUnit(user[0]);
    return user;
}

} // namespace

std::u16string getReservationName(std::u16string_view storageName)
{
    trace([&] { return "suStructuredStorage::getReservationName(), storageName : " + toUtf8(storageName); });
    const PathParts parts = splitPath(storageName);
    return parts.drive + parts.directory + u"~$" + parts.name + parts.extension;
}

bool reserve(std::u16string_view storageName)
{
    trace([&] { return "suStructuredStorage::reserve(), storageName : " + toUtf8(storageName); });
    const std::u16string path = getReservationName(storageName);
    std::uint32_t error = errorNone;
    const std::unique_ptr<OpenFile> file = openFile(path, FileAccess::readWrite, FileCreation::openAlways, error);
    if (!file)
        return false;
    std::string record = encodeText(codePageSystem, reservingUser());
    record.resize(std::min(record.size(), longestRecord - 1));
    std::size_t written = 0;
    if (file->writeAt(0, record.c_str(), record.size() + 1, written) != errorNone)
        return false;
    hideFile(path);
    return true;
}

bool reserve(IStorage*)
{
    trace("suStructuredStorage::reserve()");
    return true;
}

bool whoIsUsing(std::u16string_view storageName, std::u16string& user)
{
    trace([&] { return "suStructuredStorage::whoIsUsing(), storageName : " + toUtf8(storageName); });
    user.clear();
    std::uint32_t error = errorNone;
    const std::unique_ptr<OpenFile> file = openFile(getReservationName(storageName), FileAccess::read, FileCreation::openExisting, error);
    if (!file)
        return false;
    char record[longestRecord];
    std::size_t read = 0;
    if (file->readAt(0, record, sizeof record, read) == errorNone) {
        user = decodeText(codePageSystem, {record, std::find(record, record + read, '\0')});
        user.resize(std::min<std::size_t>(user.size(), 2 * longestRecord - 1));
    }
    return true;
}

bool unreserve(std::u16string_view storageName)
{
    trace([&] { return "suStructuredStorage::unreserve(), storageName : " + toUtf8(storageName); });
    std::u16string holder;
    if (whoIsUsing(storageName, holder) && !holder.empty() && !equalNoCase(holder, reservingUser()))
        return false;
    return deleteFile(getReservationName(storageName));
}

} // namespace kvdm
