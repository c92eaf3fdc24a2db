"""Checks the walls of the house: which file may include which.

    python3 checkIncludes.py FOLDER

FOLDER is the top of the sources. Arrows between rooms run one way; headers of libraries and of the operating system stay behind
src/platform; clients know nothing but the public headers.
"""

import pathlib
import re
import sys

# A room and those that it may include, itself understood.
BELOW = {
    "common": [],
    "platform": ["common"],
    "storage": ["common", "platform"],
    "properties": ["common", "platform", "storage"],
    "references": ["common", "platform", "storage"],
    "xmlcontent": ["common", "platform", "storage"],
    "automation": ["common", "platform", "storage", "properties", "references", "xmlcontent"],
}
# Commands that show a file as it lies on the disk.
RAW_COMMANDS = ["ls.cpp", "cat.cpp", "check.cpp", "nodes.cpp", "nodes.h"]
RAW_ROOMS = re.compile(r"storage/|platform/compoundfile/(checker|exactNames)\.h$")

STANDARD = set("""algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes climits clocale cmath
    codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef cstdint cstdio cstdlib cstring ctime cuchar
    cwchar cwctype deque exception execution filesystem forward_list fstream functional future initializer_list iomanip ios iosfwd iostream
    istream iterator latch limits list locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio
    regex scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf string string_view
    strstream syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map unordered_set utility valarray variant vector
    version""".split())
CODECS = {"zlib.h"}                      # the codecs are the one place above the platform that calls a library
TOOL_LIBRARIES = re.compile(r"(CLI|fmt|nlohmann)/")
WINDOWS = {"windows.h", "ole2.h", "oleauto.h"}

INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.MULTILINE)


def backend_folder(path):
    """The folder of a backend that a path below src/ lies in ("platform/text/icu"), or nothing."""
    parts = path.parts
    if len(parts) > 3 and parts[0] == "platform" and parts[1] not in ("compoundfile", "ole"):
        return "/".join(parts[:3])
    return ""


def faults_in_source(path, quote, name):
    """What is wrong with one include of a file of src/ (path below src/)."""
    room = path.parts[0]
    backend = backend_folder(path)
    if quote == "<":
        allowed = name in STANDARD or name.startswith("kvdocmgr/") or backend or (path.parts[:2] == ("storage", "codecs") and name in CODECS)
        if not allowed:
            yield "is no header of the language or of this library: only a backend below src/platform may include it"
        return
    target = name.split("/")[0]
    if target not in BELOW:
        yield "does not begin with a room"
    elif target != room and target not in BELOW[room]:
        yield "is an arrow upwards: %s may include %s" % (room, ", ".join([room] + BELOW[room]))
    other = backend_folder(pathlib.PurePosixPath(name))
    if other and other != backend:
        yield "is inside a backend: its service has a header"


def faults_in_public(path, quote, name):
    if quote != "<":
        yield "is not written <kvdocmgr/...>"
    elif name not in STANDARD and not name.startswith("kvdocmgr/") and not (path.name == "oletypes.h" and name in WINDOWS):
        yield "is neither public nor of the language"


def faults_in_client(path, quote, name):
    if quote == "<":
        if name not in STANDARD and not name.startswith("kvdocmgr/") and not TOOL_LIBRARIES.match(name):
            yield "is neither public nor of the language nor a library of the tools"
    elif "/" in name and not (path.name in RAW_COMMANDS and RAW_ROOMS.match(name)):
        yield "is inside the library: clients include <kvdocmgr/...>"


def main():
    top = pathlib.Path(sys.argv[1])
    files = 0
    faults = []
    for folder, check in (("src", faults_in_source), ("include", faults_in_public), ("tools", faults_in_client), ("examples", faults_in_client)):
        for file in sorted((top / folder).rglob("*")):
            if file.suffix not in (".h", ".cpp"):
                continue
            files += 1
            path = pathlib.PurePosixPath(file.relative_to(top / folder).as_posix())
            for quote, name in INCLUDE.findall(file.read_text(encoding="utf-8")):
                faults += ["%s/%s: %s %s" % (folder, path, name, why) for why in check(path, quote, name)]
            if file.suffix == ".h" and not file.read_text(encoding="utf-8").count("#pragma once"):
                faults.append("%s/%s: has no #pragma once" % (folder, path))
    print("\n".join(faults + ["%d files, %d faults" % (files, len(faults))]))
    return 1 if faults or files < 100 else 0  # so few files were not found, not read


if __name__ == "__main__":
    sys.exit(main())
