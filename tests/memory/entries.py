#!/usr/bin/env python3
"""Whether a program comes to every public entry of libraries.

    entries.py KEPT PROGRAM LIBRARY[=FOLDER]...

An entry is a function that tests/exports says the library gives, and whose name stands in a header of its folder, which is
called as the library where nothing is said. A program comes to those that its dynamic symbols ask for. What is left must be
in KEPT, an entry and the reason on each line, and every line of KEPT be needed.
"""

import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


def entries_of(library, folder):
    words = set(re.findall(r"\w+", "".join(path.read_text() for path in (ROOT / folder).glob("*.h"))))
    for entry in (ROOT / "tests/exports" / f"{library}.txt").read_text().splitlines():
        name = entry.split("(")[0].replace("[abi:cxx11]", "")
        if "(" in entry and set(re.findall(r"\w+", name)) <= words:
            yield entry


def asked_for_by(program):
    symbols = subprocess.run(["nm", "-D", "--undefined-only", program], capture_output=True, text=True, check=True).stdout
    names = "\n".join(line.split()[-1].split("@")[0] for line in symbols.splitlines())
    return set(subprocess.run(["c++filt"], input=names, capture_output=True, text=True, check=True).stdout.splitlines())


def main():
    kept = dict(line.split("\t") for line in Path(sys.argv[1]).read_text().splitlines() if not line.startswith("#"))
    asked = asked_for_by(sys.argv[2])
    entries = [entry for library in sys.argv[3:] for entry in entries_of(*(library.split("=") * 2)[:2])]
    missing = {entry for entry in entries if entry not in asked}
    for entry in sorted(missing - set(kept)):
        print("No operation comes to", entry)
    for entry in sorted(set(kept) - missing):
        print("Comes to it, or is none:", entry)
    print(f"{len(entries) - len(missing)} of {len(entries)} entries")
    return missing != set(kept)


if __name__ == "__main__":
    sys.exit(main())
