#!/usr/bin/env python3
"""What of src/ and host/ has not run in a build with counters: a row for each file, and the lines of those named.

    missing.py [--lines PERCENT] [--branches PERCENT] [--room PATTERN]... BUILD [FILE...]

Counts are taken from gcov as data, since only there branches that were never reached say whether they are the compiler's for
exceptions; these are left out. A template's branch counts as taken where one of its instances took it. Lines marked
GCOVR_EXCL_LINE, or between GCOVR_EXCL_START and GCOVR_EXCL_STOP, are not counted, nor are branches of those marked
GCOVR_EXCL_BR_LINE: a reason stands behind the mark. Nor are lines of brackets alone: what runs there is what an exception
destroys on its way. Nor are the branches of lines that decide nothing themselves, but construct a value in place, which an
exception may leave, or a static variable, which is constructed once.

It fails below the limits.
"""

import argparse
import json
import os
import re
import subprocess
import sys
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


CONSTRUCTS = re.compile(r"::new \(|^\s*static .*=")
DECIDES = re.compile(r"\?|&&|\|\||\b(if|for|while|switch)\b")


class Counts:
    """Of one file: for each line of code whether it has run, and for each of its branches."""

    def __init__(self, name):
        self.ran = {}
        self.branches = {}
        self.excluded = set()
        self.branchless = set()
        within = False
        for number, text in enumerate((ROOT / name).read_text().splitlines(), 1):
            within = (within or "GCOVR_EXCL_START" in text) and "GCOVR_EXCL_STOP" not in text
            if within or "GCOVR_EXCL_LINE" in text or not text.strip(" {}()[];,"):
                self.excluded.add(number)
            if "GCOVR_EXCL_BR_LINE" in text or (CONSTRUCTS.search(text) and not DECIDES.search(text)):
                self.branchless.add(number)

    def add(self, line, function):
        number = line["line_number"]
        if number in self.excluded:
            return
        self.ran[number] = self.ran.get(number, False) or line["count"] > 0
        if number in self.branchless:
            return
        of_function = self.branches.setdefault(number, {}).setdefault(function, [])
        of_function.append(decisions(line["branches"]))

    # Of some lambdas in templates gcov names no function: their instances stand one behind the other, and the fewest that
    # an object has are those of one.
    def taken_at(self, number):
        named = {function: lists for function, lists in self.branches[number].items() if function}
        if named:
            return [is_taken for lists in named.values() for is_taken in merged(lists)]
        lists = list(filter(None, self.branches[number][None]))
        size = min(map(len, lists), default=1)
        return merged([counts[i:i + size] for counts in lists for i in range(0, len(counts), size)])

    def taken(self):
        return {number: self.taken_at(number) for number in self.branches}

    def missed(self):
        return [n for n, ran in self.ran.items() if not ran]

    def untaken(self):
        return {n: taken.count(False) for n, taken in self.taken().items() if not all(taken)}

    def sums(self):
        return [len(self.missed()), len(self.ran), sum(self.untaken().values()), sum(map(len, self.taken().values()))]


def merged(lists):
    """Which of the branches at a line were taken in any instance of the function."""
    return [any(counts[i] > 0 for counts in lists if i < len(counts)) for i in range(max(map(len, lists), default=0))]


def decisions(branches):
    """The counts of branches that are no way past an exception, nor the other way at such a place."""
    left = []
    i = 0
    while i < len(branches):
        pair = branches[i:i + 2]
        if any(b["throw"] for b in pair):
            i += 2
        else:
            left.append(branches[i]["count"])
            i += 1
    return left


def read_counts(build, room):
    files = {}
    data = [Path(folder) / name for folder, _, names in os.walk(build) for name in names if name.endswith(".gcda")]
    if not data:
        sys.exit(f"Nothing has been counted in {build}")

    def gcov(path):
        out = subprocess.run(["gcov", "--json-format", "--branch-probabilities", "--stdout", str(path)], cwd=build,
                             capture_output=True, text=True, check=True).stdout
        return [json.loads(line) for line in out.splitlines() if line.startswith("{")]
    with ThreadPoolExecutor(os.cpu_count()) as pool:
        for of_object in pool.map(gcov, data):
            for unit in of_object:
                for file in unit["files"]:
                    path = Path(build, file["file"]).resolve()
                    if ROOT not in path.parents:
                        continue
                    name = path.relative_to(ROOT).as_posix()
                    if room.match(name):
                        counts = files.setdefault(name, None) or Counts(name)
                        files[name] = counts
                        # A template's instances, and what each object has of a header, are one function.
                        places = {f["name"]: (f["start_line"], f["start_column"]) for f in file["functions"]}
                        for line in file["lines"]:
                            counts.add(line, places.get(line.get("function_name")))
    return files


def ranges(numbers):
    """1-3 5: lines that follow each other as one."""
    rows = []
    for n in sorted(numbers):
        if rows and rows[-1][1] == n - 1:
            rows[-1][1] = n
        else:
            rows.append([n, n])
    return " ".join(str(a) if a == b else f"{a}-{b}" for a, b in rows)


def percent(missed, whole):
    return 100.0 * (whole - missed) / whole if whole else 100.0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--lines", type=float, default=0)
    parser.add_argument("--branches", type=float, default=0)
    parser.add_argument("--room", action="append", help="what files' names begin with, as a regular expression")
    parser.add_argument("build")
    parser.add_argument("files", nargs="*")
    options = parser.parse_args()

    files = read_counts(Path(options.build).resolve(), re.compile("|".join(options.room or ["src/", "host/"])))
    rooms = {}
    print(f"{'':58} {'lines':>7} {'branches':>9}  lines that have not run")
    for name, counts in sorted(files.items()):
        sums = counts.sums()
        room = rooms.setdefault(name.rsplit("/", 1)[0], [0] * 4)
        room[:] = [a + b for a, b in zip(room, sums)]
        if sums[0] or percent(*sums[2:]) < options.branches:
            print(f"{name:58} {percent(*sums[:2]):6.1f}% {percent(*sums[2:]):8.1f}%  {ranges(counts.missed())}")
    print()
    whole = [sum(column) for column in zip(*rooms.values())]
    for name, room in [*sorted(rooms.items()), ("all", whole)]:
        print(f"{name:58} {percent(*room[:2]):6.1f}% {percent(*room[2:]):8.1f}%")
    for name in options.files:
        counts = files[name]
        untaken = counts.untaken()
        print(f"\n{name}")
        for i, text in enumerate((ROOT / name).read_text().splitlines(), 1):
            if counts.ran.get(i) is False:
                print(f"{i:5} not run     {text}")
            elif i in untaken:
                print(f"{i:5} {untaken[i]:2} untaken  {text}")
    if percent(*whole[:2]) < options.lines or percent(*whole[2:]) < options.branches:
        sys.exit(f"Below the limits: {options.lines} % of the lines, {options.branches} % of the branches")


if __name__ == "__main__":
    main()
