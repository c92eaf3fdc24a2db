// Editing documents, one file after another: each is opened, changed and saved on its own, and stays as it was when any
// step fails.
#pragma once

#include "propertyPlace.h"

#include <functional>
#include <string>
#include <vector>

namespace kvdm::tool {

// What an edit did to one document: lines for the user; none means that nothing had to be changed.
using Edit = std::function<std::vector<std::string>(const Document& document)>;

// Applies the edit to each file and saves it; with dryRun the files are opened read-only and nothing is saved. Prints the
// lines of each file and, for several files, a summary. Files that fail are told on standard error; the others are done.
// Ctrl-C ends the work behind the file in hand. Returns the exit code.
int editFiles(const std::vector<std::string>& files, bool dryRun, const Edit& edit);

// The same for edits that differ by file; progress(done, all) is called behind each.
struct FileEdit
{
    std::string file;
    Edit edit;
};
int editFiles(const std::vector<FileEdit>& edits, bool dryRun, bool showProgress);

// Saves; a Failure when it did not work.
void save(const Document& document, const std::string& file);

// "text", "date", "number", "yes-no"; a Failure for any other word.
KvDmCustomInfoType typeOfName(const std::string& name);

// What a document makes of a value that it cannot hold, for a message.
std::string storedOtherwise(std::u16string_view wanted, std::u16string_view held);

// The edits, each of which throws a Failure when the document refuses.
std::string addProperty(const Document& document, const PropertyPlace& place, const std::string& name, KvDmCustomInfoType type,
                        const std::string& value);
std::string setProperty(const Document& document, const PropertyPlace& place, const std::string& name, const std::string& value);
std::string deleteProperty(const Document& document, const PropertyPlace& place, const std::string& name);
bool hasProperty(const Document& document, const PropertyPlace& place, const std::string& name);

} // namespace kvdm::tool
