"""Holds the published numbers: the identifiers and the values of the enumerations, which clients have compiled into them.

    python3 checkPublished.py FOLDER [--update]

FOLDER is the top of the sources. published.txt beside this file holds what is published, sorted lines of name=value: a new one is added
there (by --update, to be read before committing); a line that is there never changes.
"""

import difflib
import pathlib
import re
import sys

PATTERNS = {
    "identifiers.h": r"(\w+)\{\s*(0x[^;]*)\}\s*;",
    "enumerations.h": r"^\s*(\w+) = (-?\w+),?$",
}

found = []
for name, pattern in PATTERNS.items():
    text = (pathlib.Path(sys.argv[1]) / "include/kvdocmgr" / name).read_text()
    found += sorted(f"{key}={''.join(value.split())}\n" for key, value in re.findall(pattern, text, re.M))
golden = pathlib.Path(__file__).with_name("published.txt")
if "--update" in sys.argv:
    golden.write_text("".join(found))
known = golden.read_text().splitlines(keepends=True)
sys.stdout.writelines(difflib.unified_diff(known, found, "published.txt", "the headers", n=0))
sys.exit(found != known)
