"""Holds the published numbers: the identifiers and the values of the enumerations, which clients have compiled into them.

    python3 checkPublished.py FOLDER

FOLDER is the top of the sources. What is new is added to the digest; what is there never changes.
"""

import hashlib
import pathlib
import re
import sys

DIGESTS = {
    "identifiers.h": (r"(\w+)\{\s*(0x[^;]*)\}\s*;", 94, "0147f263fde1f1e2fae90627672e68372b805fc0f9cd6fd94a3bf996d48127db"),
    "enumerations.h": (r"^\s*(\w+) = (-?\w+),?$", 74, "daba70cc8d6a9f6c474c28cbf93b3bab34f4dc1ba9cd290656c06a4ce764b98d"),
}

bad = 0
for name, (pattern, count, digest) in DIGESTS.items():
    text = (pathlib.Path(sys.argv[1]) / "include/kvdocmgr" / name).read_text()
    found = sorted(f"{key}={''.join(value.split())}" for key, value in re.findall(pattern, text, re.M))
    assert all(value.count("=") == 1 for value in found)
    made = hashlib.sha256("\n".join(found).encode()).hexdigest()
    if (len(found), made) != (count, digest):
        print(f"{name} publishes {len(found)} values with the digest {made}; {count} with {digest} are known")
        bad = 1
sys.exit(bad)
