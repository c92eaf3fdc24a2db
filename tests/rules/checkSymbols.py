"""Checks what the two libraries show: kvdocmgr its seven functions, kvole the functions that oletypes.h declares, and neither a
static object whose constructor runs while the library is loaded.

    python3 checkSymbols.py FOLDER KVDOCMGR KVOLE [--sanitized]
"""

import pathlib
import re
import subprocess
import sys

SEVEN = """DllCanUnloadNow DllGetClassObject DllRegisterServer DllUnregisterServer GetCustomProperty GetTableDisplayList
           RemoveDynListItems""".split()


def exported(library):
    lines = subprocess.run(["nm", "-D", "--defined-only", library], check=True, capture_output=True, text=True).stdout.splitlines()
    return {line.split()[-1].split("@")[0] for line in lines}


def static_constructors(library):
    lines = subprocess.run(["nm", "-C", library], check=True, capture_output=True, text=True).stdout.splitlines()
    return sorted(line.split(None, 2)[-1] for line in lines if "_GLOBAL__sub_I_" in line)


def compare(library, actual, expected):
    for name in sorted(actual - expected):
        yield "%s shows %s" % (library, name)
    for name in sorted(expected - actual):
        yield "%s does not show %s" % (library, name)


def main():
    top, kvdocmgr, kvole = sys.argv[1:4]
    public = set(re.findall(r"(?m)^\s*KVOLE_API [^;(]*?(\w+)\(", (pathlib.Path(top) / "include/kvdocmgr/oletypes.h").read_text(encoding="utf-8")))
    faults = list(compare("kvdocmgr", exported(kvdocmgr), set(SEVEN)))
    faults += compare("kvole", exported(kvole), public)
    if "--sanitized" not in sys.argv:  # sanitizers add constructors of their own
        for library in (kvdocmgr, kvole):
            faults += ["%s constructs at load: %s" % (pathlib.Path(library).name, name) for name in static_constructors(library)]
    print("\n".join(faults + ["%d public functions of kvole, %d faults" % (len(public), len(faults))]))
    return 1 if faults or len(public) < 40 else 0


if __name__ == "__main__":
    sys.exit(main())
