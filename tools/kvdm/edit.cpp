#include "edit.h"

#include "commands.h"
#include "terminal.h"

#include <fmt/format.h>

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

std::string quoted(const std::string& name)
{
    return "\"" + printable(fromUtf8(name)) + "\"";
}

void editOne(const FileEdit& edit, bool dryRun)
{
    const Document document(edit.file, dryRun);
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

} // namespace

void save(const Document& document, const std::string& file)
{
    KvDmDocumentSaveError error = kvDmDocumentSaveErrorNone;
    const HRESULT status = document->Save(&error);
    if (FAILED(status))
        throw Failure(fmt::format("{}: not saved: {}", file, statusText(status)));
    if (error != kvDmDocumentSaveErrorNone)
        throw Failure(file + ": not saved; the file is as it was");
}

int editFiles(const std::vector<FileEdit>& edits, bool dryRun, bool showProgress)
{
    const InterruptScope scope;
    std::size_t done = 0;
    std::size_t failed = 0;
    for (const FileEdit& edit : edits) {
        if (interrupted)
            break;
        try {
            editOne(edit, dryRun);
        } catch (const std::exception& failure) {
            complain(failure.what());
            ++failed;
        }
        ++done;
        if (showProgress)
            std::cerr << fmt::format("\r{} of {} files", done, edits.size()) << (done == edits.size() ? "\n" : "") << std::flush;
    }
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

bool hasProperty(const Document& document, const PropertyPlace& place, const std::string& name)
{
    KvDmCustomInfoType type = kvDmCustomInfoUnknown;
    OwnedBstr value;
    return SUCCEEDED(PropertyFace::of(document, place)->get(OwnedBstr(fromUtf8(name)).get(), &type, value.put()));
}

std::string addProperty(const Document& document, const PropertyPlace& place, const std::string& name, KvDmCustomInfoType type,
                        const std::string& value)
{
    VARIANT_BOOL added = VARIANT_FALSE;
    const HRESULT status = PropertyFace::of(document, place)->add(OwnedBstr(fromUtf8(name)).get(), type, OwnedBstr(fromUtf8(value)).get(), &added);
    if (FAILED(status))
        throw Failure(quoted(name) + " cannot be added: " + statusText(status));
    if (!added)
        throw Failure(hasProperty(document, place, name) ? quoted(name) + " is there already"
                                                         : quoted(name) + " cannot be added: the name is taken or the value is no " + typeName(type));
    return fmt::format("{} added: {}", quoted(name), printable(fromUtf8(value)));
}

std::string setProperty(const Document& document, const PropertyPlace& place, const std::string& name, const std::string& value)
{
    if (FAILED(PropertyFace::of(document, place)->set(OwnedBstr(fromUtf8(name)).get(), OwnedBstr(fromUtf8(value)).get())))
        throw Failure(hasProperty(document, place, name) ? quoted(name) + ": the value does not fit its type" : "no property " + quoted(name));
    return fmt::format("{} = {}", quoted(name), printable(fromUtf8(value)));
}

std::string deleteProperty(const Document& document, const PropertyPlace& place, const std::string& name)
{
    VARIANT_BOOL deleted = VARIANT_FALSE;
    const HRESULT status = PropertyFace::of(document, place)->remove(OwnedBstr(fromUtf8(name)).get(), &deleted);
    if (FAILED(status) || !deleted)
        throw Failure("no property " + quoted(name));
    return quoted(name) + " deleted";
}

} // namespace kvdm::tool
