"""Reads the documents that a file lists with olefile and prints the seconds of the processor: version marker, property sets, metadata."""
import sys
import time

import olefile

SUMMARY = "\x05SummaryInformation"
DOCUMENT_SUMMARY = "\x05DocumentSummaryInformation"
INVISIBLE = "IKestrovaneInformation"


def read(path):
    with olefile.OleFileIO(path) as file:
        if not any(kid.name.startswith("_MO_VERSION_") for kid in file.root.kids):
            raise ValueError("no version marker in " + path)
        for stream in (SUMMARY, DOCUMENT_SUMMARY, INVISIBLE):
            if file.exists(stream):
                file.getproperties(stream, convert_time=True)


with open(sys.argv[1]) as listed:
    paths = listed.read().split("\n")[:-1]
for path in paths[:50]:
    read(path)
start = time.process_time()
for path in paths:
    read(path)
print(time.process_time() - start)
