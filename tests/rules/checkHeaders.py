"""Checks that every header compiles alone, so that the order of includes never matters.

    python3 checkHeaders.py FOLDER WORKFOLDER [--without PLACE] COMPILER [ARGUMENT...]

FOLDER is the top of the sources. Objects go to WORKFOLDER; a compiler behind ccache makes the second run short.
"""

import concurrent.futures
import os
import pathlib
import subprocess
import sys

# Where headers lie, and the folders that those who include them look in, the one that their names begin at first.
PLACES = {
    "include": ["include"],
    "src": ["src", "include"],
    "tools/kvdm": ["tools/kvdm", "include"],
    "tests/support": ["tests", "src", "include"],
    "fuzz": ["fuzz", "tests", "src", "include"],
    "bench/support": ["bench", "tests", "src", "include"],
}


def compile_alone(top, work, command, place, header):
    """The compiler's complaint about one header, empty when there is none."""
    shown = header.relative_to(top).as_posix()
    name = shown.replace("/", "-")
    unit = work / (name + ".cpp")
    folders = [top / folder for folder in PLACES[place]]
    text = "#include <%s>\n" % header.relative_to(folders[0]).as_posix()
    if not unit.exists() or unit.read_text() != text:
        unit.write_text(text)
    includes = [part for folder in folders for part in ("-I", str(folder))]
    done = subprocess.run([*command, *includes, "-c", str(unit), "-o", str(work / (name + ".o"))], capture_output=True, text=True)
    return "" if done.returncode == 0 and not done.stderr else "%s does not compile alone:\n%s" % (shown, done.stderr[:1000])


def main():
    top, work, command = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3:]
    left_out = []
    while command[0] == "--without":
        left_out.append(command[1])
        command = command[2:]
    own = ["-idirafter%s" % (top / folder) for folder in ("include", "src", "tests")]  # those are PLACES' affair
    command = [argument for argument in command if argument not in own]
    work.mkdir(parents=True, exist_ok=True)
    places = [place for place in PLACES if place not in left_out]
    headers = [(place, file) for place in places for file in sorted((top / place).rglob("*.h")) if "windows" not in file.parts]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        complaints = [text for text in pool.map(lambda each: compile_alone(top, work, command, *each), headers) if text]
    print("\n".join(complaints + ["%d headers, %d faults" % (len(headers), len(complaints))]))
    return 1 if complaints or len(headers) < 100 else 0


if __name__ == "__main__":
    sys.exit(main())
