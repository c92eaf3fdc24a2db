"""Checks that every header compiles alone, so that the order of includes never matters.

    python3 checkHeaders.py FOLDER WORKFOLDER COMPILER [ARGUMENT...]

FOLDER is the top of the sources. Objects go to WORKFOLDER; a compiler behind ccache makes the second run short.
"""

import concurrent.futures
import os
import pathlib
import subprocess
import sys


def compile_alone(top, work, command, header):
    """The compiler's complaint about one header, empty when there is none."""
    place = header.relative_to(top)
    name = place.as_posix().replace("/", "-")
    unit = work / (name + ".cpp")
    text = "#include <%s>\n" % pathlib.PurePosixPath(*place.parts[1:])
    if not unit.exists() or unit.read_text() != text:
        unit.write_text(text)
    done = subprocess.run([*command, "-I", str(top / "src"), "-I", str(top / "include"), "-c", str(unit), "-o", str(work / (name + ".o"))],
                          capture_output=True, text=True)
    return "" if done.returncode == 0 and not done.stderr else "%s does not compile alone:\n%s" % (place, done.stderr[:1000])


def main():
    top, work, command = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3:]
    work.mkdir(parents=True, exist_ok=True)
    headers = [file for folder in ("include", "src") for file in sorted((top / folder).rglob("*.h")) if "windows" not in file.parts]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        complaints = [text for text in pool.map(lambda header: compile_alone(top, work, command, header), headers) if text]
    print("\n".join(complaints + ["%d headers, %d faults" % (len(headers), len(complaints))]))
    return 1 if complaints or len(headers) < 50 else 0


if __name__ == "__main__":
    sys.exit(main())
