"""Installs a build into an empty folder, moves it elsewhere, and builds and runs the example against it: by CMake and by pkg-config.

    python3 checkInstall.py BUILD SOURCE COMPILER
"""

import os
import pathlib
import shlex
import shutil
import subprocess
import sys
import tempfile


def run(*command, **options):
    done = subprocess.run([str(part) for part in command], capture_output=True, text=True, **options)
    if done.returncode != 0:
        sys.exit("%s\nended with %d:\n%s%s" % (" ".join(map(str, command)), done.returncode, done.stdout, done.stderr))
    return done.stdout


def main():
    build, source, compiler = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    part = source / "tests/corpus/bracket.kvdprt"
    expected = "%s: version 3800\n  Material = Steel 1.4301\n  Item = -1234567\n" % part
    environment = {name: value for name, value in os.environ.items() if name not in ("LD_LIBRARY_PATH", "CMAKE_PREFIX_PATH", "CPATH")}
    environment.update(LC_ALL="en_US.UTF-8", TZ="UTC")

    def checkOutput(how, text):
        if not text.startswith(expected):
            sys.exit("the example built by %s prints\n%s\ninstead of\n%s..." % (how, text, expected))

    with tempfile.TemporaryDirectory(prefix="kvdm-install-") as folder:
        work = pathlib.Path(folder)
        first, prefix = work / "first", work / "moved to another place"
        run("cmake", "--install", build, "--prefix", first)
        shutil.move(first, prefix)  # nothing in it may name the place where it was put first
        example = work / "examples"  # a copy, so that no header of the source tree is found by chance
        shutil.copytree(source / "examples", example)

        if run(prefix / "bin/kvdm", "props", "list", part, env=environment).splitlines()[1] != "Item\tnumber\t-1234567":
            sys.exit("the installed kvdm lists other properties")

        run("cmake", "-G", "Ninja", "-S", example, "-B", work / "by-cmake", "-DCMAKE_PREFIX_PATH=" + str(prefix), "-DCMAKE_CXX_COMPILER=" + compiler, env=environment)
        run("cmake", "--build", work / "by-cmake", env=environment)
        checkOutput("CMake", run(work / "by-cmake/listProperties", part, env=environment))

        packages = next(prefix.glob("lib*/**/kvdocmgr.pc")).parent
        environment["PKG_CONFIG_PATH"] = str(packages)
        flags = shlex.split(run("pkg-config", "--cflags", "--libs", "kvdocmgr", env=environment))
        program = work / "byPkgConfig"
        run(compiler, "-std=c++20", example / "listProperties.cpp", "-o", program, *flags, "-Wl,-rpath," + str(packages.parent), env=environment)
        checkOutput("pkg-config", run(program, part, env=environment))


main()
