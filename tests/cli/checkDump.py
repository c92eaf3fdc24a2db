"""Runs `kvdm dump` over the documents of a corpus and compares what it prints with the expected JSON.

    python3 checkDump.py [options] KVDM FOLDER

FOLDER/manifest.json lists the documents. Those without an expectation must only be survived: within the time and the memory allowed, ending
neither by a signal nor without an answer. Several documents share a process; when something is wrong with one of them, each is tried alone.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import resource
import subprocess
import sys

# What the interfaces answer today. A key joins when what it stands for is built.
JUDGED_KEYS = """fullName openError version lastUpdateStamp summary customProperties invisibleCustomProperties hyperlinks detachedDrawing
                 smartComponent toolboxPart sheetCount activeSheetName sheetNames linkedAttachments configurations preview previewPNG
                 tags""".split()
NOT_YET = {"components", "references"}  # below "configurations"
BATCH = 12


class Died(Exception):
    """The process did not come to a regular end."""


def run(options, command, paths, folder=None):
    """What the command of kvdm prints for the files, and its exit code."""

    def limit_memory():
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        if options.megabytes:
            resource.setrlimit(resource.RLIMIT_AS, (options.megabytes << 20,) * 2)

    environment = {**os.environ, "LC_ALL": "en_US.UTF-8", "TZ": "UTC"}
    try:
        done = subprocess.run([options.kvdm, *command, *map(str, paths)], capture_output=True, timeout=options.seconds, env=environment,
                              stdin=subprocess.DEVNULL, cwd=folder, preexec_fn=limit_memory)
    except subprocess.TimeoutExpired:
        raise Died("runs longer than %d s" % options.seconds) from None
    # A sanitizer ends the process with a code of its own: every end but 0 and 1 is wrong.
    if done.returncode not in (0, 1):
        raise Died("ends with %d: %s" % (done.returncode, done.stderr.decode("utf-8", "replace")[-2000:].strip()))
    return done.stdout, done.returncode


def differences(expected, actual, path):
    """One text for each place where the two differ; the type of a value and the order of keys count."""
    if isinstance(expected, dict) and isinstance(actual, dict):
        if list(expected) != list(actual):
            yield "%s has the keys %s, not %s" % (path, ", ".join(actual), ", ".join(expected))
        for key in expected:
            if key in actual and key not in NOT_YET:
                yield from differences(expected[key], actual[key], path + "." + key)
    elif isinstance(expected, list) and isinstance(actual, list):
        if len(expected) != len(actual):
            yield "%s has %d items, not %d" % (path, len(actual), len(expected))
        for i, (one, other) in enumerate(zip(expected, actual)):
            yield from differences(one, other, "%s[%d]" % (path, i))
    elif type(expected) is not type(actual) or expected != actual:
        yield "%s is %s, not %s" % (path, json.dumps(actual, ensure_ascii=False)[:200], json.dumps(expected, ensure_ascii=False)[:200])


def judge(options, document, line):
    """What is wrong with the line that was printed for the document."""
    problems = ["prints %r" % word for word in document.get("mustNotContain", []) if word in line]
    try:
        actual = json.loads(line)
    except ValueError as error:
        return problems + ["prints no JSON: %s: %s" % (error, line[:200])]
    if "expected" not in document:
        return problems
    expected = json.loads((options.folder / document["expected"]).read_text(encoding="utf-8"))
    actual["fullName"] = str(actual.get("fullName")).rsplit("/", 1)[-1]  # expected texts name no folder
    ignored = set(document.get("ignore", []))

    def judged(answers):
        return {key: value for key, value in answers.items() if key in JUDGED_KEYS and key not in ignored}

    return problems + list(differences(judged(expected), judged(actual), ""))


def check(options, documents):
    """Texts for all that is wrong with these documents."""
    paths = [options.folder / document["file"] for document in documents]
    baited = any("mustNotContain" in document for document in documents)  # these name files beside themselves
    try:
        lines = run(options, ["dump"], paths, paths[0].parent if baited else None)[0].decode("utf-8").splitlines()
        if len(lines) != len(documents):
            raise Died("prints %d lines" % len(lines))
    except (Died, UnicodeDecodeError) as death:
        if len(documents) == 1:
            return ["%s: %s" % (documents[0]["file"], death)]
        return [problem for document in documents for problem in check(options, [document])]
    return ["%s: %s" % (document["file"], problem) for document, line in zip(documents, lines) for problem in judge(options, document, line)]


def batches(documents):
    """Documents with one outcome to expect go together; one that may only be survived may not spoil others."""
    alone = [[document] for document in documents if "mustNotContain" in document]
    for kind in (True, False):
        same = [document for document in documents if "mustNotContain" not in document and ("expected" in document) == kind]
        alone += [same[i:i + BATCH] for i in range(0, len(same), BATCH)]
    return alone


def arguments(text):
    """The options of a check, and the documents of its corpus."""
    parser = argparse.ArgumentParser(description=text)
    parser.add_argument("--seconds", type=int, default=20, help="time allowed for a process")
    parser.add_argument("--megabytes", type=int, default=1024, help="address space allowed for a process; 0 for no limit, as sanitizers need")
    parser.add_argument("kvdm", type=os.path.abspath)
    parser.add_argument("folder", type=lambda path: pathlib.Path(path).resolve())
    options = parser.parse_args()
    return options, json.loads((options.folder / "manifest.json").read_text(encoding="utf-8"))["documents"]


def report(documents, problems, what):
    """Prints the outcome and ends the program."""
    print("\n".join(problems[:200]))
    bad = len({problem.split(":")[0] for problem in problems})
    print("%d documents, %s; %d with a problem" % (len(documents), what, bad))
    sys.exit(1 if problems else 0)


def main():
    options, documents = arguments(__doc__.split("\n\n")[0])
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        problems = [problem for found in pool.map(lambda batch: check(options, batch), batches(documents)) for problem in found]
    report(documents, problems, "%d compared" % sum("expected" in document for document in documents))


if __name__ == "__main__":
    main()
