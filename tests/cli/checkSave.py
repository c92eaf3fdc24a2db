"""Saves every document of a corpus without a change, in a copy, and looks whether anything was lost.

    python3 checkSave.py [options] KVDM FOLDER

A document that was saved answers as before, its last save aside, and is a sound compound file. Where manifest.json has bytes, the property streams
are those, and a second save changes no stream but the summary. A document that cannot be saved is as it was. Damaged ones end one way or the other.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shutil
import tempfile

from checkDump import Died, arguments, differences, report, run

SET_BY_A_SAVE = ("lastSavedBy", "lastSavedDate")
ANSWER_DIFFERENTLY = {
    "forms/three-elements.kvdprt": "has no version with three elements in its root, and gets a fourth",
    "codepages/before-3321-marker-3321-cyrillic.kvdprt": "loses letters that its code page does not have",
}


def answers(options, path):
    answer = json.loads(run(options, ["dump"], [path])[0])
    for field in SET_BY_A_SAVE:
        answer.get("summary", {}).pop(field, None)
    return answer


def stored(options, path, name):
    return run(options, ["cat", "--stored", path], [name.replace("\\", "\\\\").replace("\x05", "\\x05")])[0]


def streams(options, path):
    """The content of each stream but the summary, which tells the time."""
    nodes = json.loads(run(options, ["ls", "--json"], [path])[0])
    names = ["/".join(node["path"]) for node in nodes if node["kind"] == "stream"]
    return {name: stored(options, path, name) for name in names if name != "\x05SummaryInformation"}


def problems_of(options, document, path):
    before = hashlib.sha256(path.read_bytes()).digest()
    good = "expected" in document
    answered = answers(options, path) if good else {}
    if run(options, ["save"], [path])[1] != 0:
        if hashlib.sha256(path.read_bytes()).digest() != before:
            yield "was not saved, and is not as it was"
        if answered.get("version") is not None:
            yield "was not saved"
        return
    again = answers(options, path)
    if not good:
        return
    if document["file"] not in ANSWER_DIFFERENTLY:
        yield from differences(answered, again, "")
    text, code = run(options, ["check"], [path])
    if code != 0:
        yield text.decode("utf-8").strip()
    for name, expected in document.get("afterSave", {}).items():
        if stored(options, path, name).hex() != expected:
            yield "%s is not the expected stream" % name
    if "afterSave" in document and document["file"] not in ANSWER_DIFFERENTLY:
        first = streams(options, path)
        run(options, ["save"], [path])
        second = streams(options, path)
        yield from ("%s changes with a second save" % name for name in first if second.get(name) != first[name])


def check(options, document, folder):
    try:
        return ["%s: %s" % (document["file"], problem) for problem in problems_of(options, document, folder / document["file"])]
    except (Died, ValueError) as death:
        return ["%s: %s" % (document["file"], death)]


def main():
    options, documents = arguments(__doc__.split("\n\n")[0])
    with tempfile.TemporaryDirectory(prefix="kvdm-save-") as work, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        copy = shutil.copytree(options.folder, pathlib.Path(work) / "corpus")
        found = list(pool.map(lambda document: check(options, document, copy), documents))
    report(documents, [problem for problems in found for problem in problems],
           "%d with bytes to compare" % sum("afterSave" in document for document in documents))


if __name__ == "__main__":
    main()
