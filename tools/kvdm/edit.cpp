#include "edit.h"

#include "commands.h"
#include "files.h"
#include "terminal.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <csignal>
#include <iostream>

namespace kvdm::tool {

namespace {

volatile std::sig_atomic_t interrupted = 0;

// The first Ctrl-C ends the work behind the file in hand, the second ends the program; a file is old or new either way.
class InterruptScope
{
public:
    InterruptScope()
        : before(std::signal(SIGINT, [](int) {
              interrupted = 1;
              std::signal(SIGINT, SIG_DFL);
          }))
    {
        interrupted = 0;
    }
    ~InterruptScope() { std::signal(SIGINT, before); }

private:
    void (*before)(int);
};

// A dry run opens for writing too, so that it fails where the edit would.
void editOne(const FileEdit& edit, bool dryRun)
{
    const Document document(edit.file, false);
    document.requireReadable();
    std::vector<std::string> lines;
    try {
        lines = edit.edit(document);
    } catch (const Failure& failure) {
        const std::string reason = failure.what();
        throw Failure(reason.starts_with(edit.file + ": ") ? reason : edit.file + ": " + reason);
    }
    if (!dryRun)
        save(document, edit.file);
    for (const std::string& line : lines)
        std::cout << edit.file << ": " << line << (dryRun ? faint(" (not saved)") : "") << '\n';
}

// The library tells no more than that it did not save.
std::string notSaved(const std::string& file)
{
    const std::string reason = whyNotWritten(file);
    return reason.empty() ? file + ": not saved, the file is as it was ('kvdm check' tells whether it is damaged)"
                          : fmt::format("{}: not saved, the file is as it was: {}", file, reason);
}

// Progress is one line at the end of what a terminal shows; it makes room for every other line.
void clearProgress(bool shown)
{
    if (shown)
        std::cerr << "\r                                        \r" << std::flush;
}

} // namespace

void save(const Document& document, const std::string& file)
{
    KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
    const HRESULT status = document->Save(&error);
    if (FAILED(status))
        throw Failure(fmt::format("{}: not saved: {}", file, statusText(status)));
    if (error != kvDmDocumentSaveErrorNone)
        throw Failure(notSaved(file));
}

int editFiles(const std::vector<FileEdit>& edits, bool dryRun, bool showProgress)
{
    const InterruptScope scope;
    std::size_t done = 0;
    std::size_t failed = 0;
    for (const FileEdit& edit : edits) {
        if (interrupted)
            break;
        clearProgress(showProgress);
        try {
            editOne(edit, dryRun);
        } catch (const std::exception& failure) {
            complain(failure.what());
            ++failed;
        }
        ++done;
        if (showProgress) {
            std::cout.flush();
            std::cerr << fmt::format("{} of {} files", done, edits.size()) << std::flush;
        }
    }
    clearProgress(showProgress);
    if (edits.size() > 1)
        std::cout << fmt::format("{} of {} files {}\n", done - failed, edits.size(), dryRun ? "would be saved" : "saved");
    if (done < edits.size())
        complain(fmt::format("interrupted: {} files were not touched", edits.size() - done));
    return failed || done < edits.size() ? exitFailed : exitDone;
}

int editFiles(const std::vector<std::string>& files, bool dryRun, const Edit& edit)
{
    std::vector<FileEdit> edits;
    for (const std::string& file : files)
        edits.push_back({file, edit});
    return editFiles(edits, dryRun, false);
}

KvDmCustomInfoType typeOfName(const std::string& name)
{
    for (const KvDmCustomInfoType type : {kvDmCustomInfoText, kvDmCustomInfoDate, kvDmCustomInfoNumber, kvDmCustomInfoYesOrNo})
        if (typeName(type) == name)
            return type;
    throw Failure("no type " + name + ": use text, date, number or yes-no");
}

namespace {

constexpr std::size_t longestName = 255; // bytes that the file has room for

std::string notOfType(const std::string& value, LONG type)
{
    switch (type) {
    case kvDmCustomInfoNumber:
        return inQuotes(value) + " is no number that can be stored: digits, with a sign for whole numbers or a point for reals";
    case kvDmCustomInfoDate:
        return inQuotes(value) + " is no date in the form of your language";
    default:
        return "a property of " + typeName(type) + " cannot be changed";
    }
}

bool sameWord(std::u16string_view a, std::u16string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char16_t x, char16_t y) { return x == y || (x < 0x80 && y < 0x80 && std::tolower(x) == std::tolower(y)); });
}

bool sameNumber(std::string_view wanted, std::string_view held)
{
    const auto read = [](std::string_view text, double& number) {
        if (text.starts_with('+'))
            text.remove_prefix(1);
        return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc();
    };
    double a = 0;
    double b = 0;
    return read(wanted, a) && read(held, b) && std::abs(a - b) <= 1e-6 + std::abs(a) * 1e-15; // texts have six digits behind the point
}

// The value as the document has it now. The library fits a value to its type, to the code page and to a greatest length
// without a word; what would come out as another value is refused here.
std::string stored(PropertyFace& face, const std::string& name, const std::string& value)
{
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr held;
    if (FAILED(face.get(OwnedBstr(fromUtf8(name)).get(), &type, held.put())))
        throw Failure(inQuotes(name) + " is a name that the document uses itself");
    const std::u16string wanted = fromUtf8(value);
    const bool kept = type == kvDmCustomInfoText      ? held.view() == wanted
                      : type == kvDmCustomInfoYesOrNo ? sameWord(held.view(), wanted)
                      : type == kvDmCustomInfoNumber  ? sameNumber(value, toUtf8(held.view()))
                                                      : true;
    if (!kept)
        throw Failure(inQuotes(name) + storedOtherwise(wanted, held.view()));
    return printable(held.view());
}

bool add(PropertyFace& face, const std::string& name, KvDmCustomInfoType type, const std::string& value)
{
    VARIANT_BOOL added = VARIANT_FALSE;
    const HRESULT status = face.add(OwnedBstr(fromUtf8(name)).get(), type, OwnedBstr(fromUtf8(value)).get(), &added);
    if (FAILED(status))
        throw Failure(inQuotes(name) + " cannot be added: " + statusText(status));
    return added != VARIANT_FALSE;
}

// Names go through the code page only when the file is written, where two can become one. A text shows now what a name
// would become.
void requireName(PropertyFace& face, const std::string& name)
{
    if (name.empty())
        throw Failure("a property needs a name");
    if (name.size() > longestName)
        throw Failure(fmt::format("{} is longer than {} bytes, which no name can be", inQuotes(name), longestName));
    const bool isAscii = std::all_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
    if (isAscii || !add(face, name, kvDmCustomInfoText, name))
        return;
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr held;
    VARIANT_BOOL removed = VARIANT_FALSE;
    const OwnedBstr wanted(fromUtf8(name));
    face.get(wanted.get(), &type, held.put());
    face.remove(wanted.get(), &removed);
    if (held.view() != wanted.view())
        throw Failure(fmt::format("{} cannot be a name: it would be stored as {}", inQuotes(name), inQuotes(held.view())));
}

bool holds(PropertyFace& face, const std::string& name, KvDmCustomInfoType* type)
{
    OwnedBstr value;
    return SUCCEEDED(face.get(OwnedBstr(fromUtf8(name)).get(), type, value.put()));
}

} // namespace

std::string storedOtherwise(std::u16string_view wanted, std::u16string_view held)
{
    return " cannot hold " + inQuotes(wanted) +
           (wanted.starts_with(held) ? fmt::format(": only {} letters would be stored", held.size()) : ": it would be stored as " + inQuotes(held));
}

bool hasProperty(const Document& document, const PropertyPlace& place, const std::string& name)
{
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    return holds(*PropertyFace::of(document, place), name, &type);
}

std::string addProperty(const Document& document, const PropertyPlace& place, const std::string& name, KvDmCustomInfoType type,
                        const std::string& value)
{
    const auto face = PropertyFace::of(document, place);
    KvDmCustomInfoType other = kvDmCustomInfoUnknown;
    if (holds(*face, name, &other))
        throw Failure(inQuotes(name) + " is there already");
    requireName(*face, name);
    if (!add(*face, name, type, value))
        throw Failure(inQuotes(name) + " cannot be added: " +
                      (add(*face, name, kvDmCustomInfoText, "") ? notOfType(value, type) : "the document uses this name itself"));
    return fmt::format("{} added: {}", inQuotes(name), stored(*face, name, value));
}

std::string setProperty(const Document& document, const PropertyPlace& place, const std::string& name, const std::string& value)
{
    const auto face = PropertyFace::of(document, place);
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    if (!holds(*face, name, &type))
        throw Failure("no property " + inQuotes(name));
    if (FAILED(face->set(OwnedBstr(fromUtf8(name)).get(), OwnedBstr(fromUtf8(value)).get())))
        throw Failure(inQuotes(name) + ": " + notOfType(value, type));
    return fmt::format("{} = {}", inQuotes(name), stored(*face, name, value));
}

std::string deleteProperty(const Document& document, const PropertyPlace& place, const std::string& name)
{
    VARIANT_BOOL deleted = VARIANT_FALSE;
    const HRESULT status = PropertyFace::of(document, place)->remove(OwnedBstr(fromUtf8(name)).get(), &deleted);
    if (FAILED(status) || !deleted)
        throw Failure("no property " + inQuotes(name));
    return inQuotes(name) + " deleted";
}

} // namespace kvdm::tool
