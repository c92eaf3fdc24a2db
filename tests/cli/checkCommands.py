"""Runs the shell sessions of a folder again and compares what they print with what they record.

    python3 checkCommands.py [--update] KVDM CORPUS [SESSION...]

A session is a text: "$ command" lines with, below each, its standard output, its standard error behind "! ", and "= N" when it ends with another
code than 0. Lines of "# " are kept; a blank line parts the commands. Each session starts in a fresh copy of the corpus, so it may change files.
--update records anew: read the difference before it is committed.
"""

import argparse
import difflib
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

SESSIONS = pathlib.Path(__file__).resolve().parent / "sessions"

# Commands see kvdm by its name. As root nothing is unreadable, so "unprivileged" runs a command as nobody there.
PRELUDE = """set -o pipefail
unprivileged() { if [ "$(id -u)" = 0 ]; then setpriv --reuid=65534 --regid=65534 --clear-groups "$@"; else "$@"; fi; }
"""

# What not every machine has: in the text of a command, a command that tries it, and what is said of a session that goes without.
NEEDS = (
    ("unprivileged ", "unprivileged kvdm --version >/dev/null", "no unprivileged user can run this kvdm"),
    ("script -q", "script -qec true /dev/null", "there are no pseudo-terminals here"),
)


class Shell:
    def __init__(self, kvdm, folder):
        self.folder = folder
        names = ("HOME", "TMPDIR", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS")
        self.environment = {name: os.environ[name] for name in names if name in os.environ}
        self.environment.update(PATH="%s:/usr/local/bin:/usr/bin:/bin" % kvdm.parent, LANG="en_US.UTF-8", TZ="UTC", TERM="xterm")

    def run(self, command):
        """What the command prints, in the form of a session."""
        try:
            done = subprocess.run(["bash", "-c", PRELUDE + command], capture_output=True, timeout=60, cwd=self.folder, env=self.environment,
                                  stdin=subprocess.DEVNULL)
        except subprocess.TimeoutExpired:
            return ["= no end within 60 s"]
        output, errors = (text.decode("utf-8", "backslashreplace").splitlines() for text in (done.stdout, done.stderr))
        return output + ["! " + line for line in errors] + (["= %d" % done.returncode] if done.returncode else [])


def replay(shell, recorded):
    """The session as it goes today."""
    lines = []
    for line in recorded:
        if not line.startswith(("# ", "$ ")):
            continue
        if lines and not lines[-1].startswith("# "):
            lines.append("")
        lines.append(line)
        if line.startswith("$ "):
            lines += shell.run(line[2:])
    return lines


def check(options, session):
    recorded = session.read_text(encoding="utf-8").splitlines()
    with tempfile.TemporaryDirectory(prefix="kvdm-cli-") as folder:
        work = pathlib.Path(folder)
        work.chmod(0o755)
        shutil.copytree(options.corpus, work / "files")
        shell = Shell(options.kvdm, work / "files")
        for text, attempt, lack in NEEDS:
            if any(line.startswith("$ ") and text in line for line in recorded) and shell.run(attempt):
                print("%s: left out, since %s" % (session.name, lack))
                return True
        lines = replay(shell, recorded)
    if options.update:
        session.write_text("\n".join(lines) + "\n", encoding="utf-8")
    elif lines != recorded:
        print("\n".join(difflib.unified_diff(recorded, lines, str(session), "today", lineterm="")))
        return False
    return True


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--update", action="store_true", help="record what the commands print today")
    parser.add_argument("kvdm", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("corpus", type=lambda path: pathlib.Path(path).resolve())
    parser.add_argument("session", nargs="*", type=pathlib.Path)
    options = parser.parse_args()
    sessions = options.session or sorted(SESSIONS.glob("*.txt"))
    results = [check(options, session) for session in sessions]
    print("%d of %d sessions go as recorded" % (sum(results), len(results)))
    sys.exit(0 if results and all(results) else 1)


if __name__ == "__main__":
    main()
