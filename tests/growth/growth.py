#!/usr/bin/env python3
"""How the cost of hostile texts grows: each shape of growthShapes at three sizes, each twice the one before.

    growth.py PROGRAM [--tool KELMSCRIPT] [--size BYTES] [--shape TEXT] [--limit RATIO]

Counts the instructions of reading, which do not depend on the machine's load, and fails where twice the text costs more
than RATIO times as much: the cost between the second and third size, by that between the first and second. (So what the
program does once does not count.)
"""

import argparse
import re
import subprocess
import sys
import tempfile


# What is typed at the tool's prompt, of about so many bytes. All of the tool's instructions are counted.
ENTRIES = {
    "an entry of many lines": lambda n: "(\n" + "1 +\n" * (n // 4) + "1)\n",
    "an entry of many blank lines": lambda n: "(" + "\n" * n + "1)\n",
    "an entry of many open brackets": lambda n: "(\n" * (n // 4) + "1" + "\n)" * (n // 4) + "\n",
    "a command of many lines": lambda n: ":set .a [\n" * (n // 10),
    "many entries": lambda n: "1 +\n2\n" * (n // 6),
}


def collected(program, text=None):
    with tempfile.NamedTemporaryFile() as out:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--callgrind-out-file=" + out.name, "--max-stackframe=100000000", *program],
            capture_output=True, text=True, input=text)
        return run, re.search(r"Collected : (\d+)", run.stderr)


def count(program, shape, size):
    run, instructions = collected(["--toggle-collect=RunShape", program, shape, str(size)])
    if run.returncode != 0:
        sys.exit(f"{shape} of {size} bytes: " + "\n".join(l for l in run.stderr.splitlines() if not l.startswith("==")))
    return int(instructions[1])


def count_entry(tool, shape, size):
    return int(collected([tool, "repl"], text=ENTRIES[shape](size))[1][1])


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--tool")
    parser.add_argument("--size", type=int, default=256 * 1024)
    parser.add_argument("--shape", default="")
    parser.add_argument("--limit", type=float, default=2.3)
    options = parser.parse_args()

    names = subprocess.run([options.program], capture_output=True, text=True, check=True).stdout.splitlines()
    too_steep = []
    print(f"{'shape':28} {'instructions a byte':>20} {'twice the text costs':>22}")
    counted = [(name, count, options.program) for name in names]
    if options.tool:
        counted += [(name, count_entry, options.tool) for name in ENTRIES]
    for name, counter, program in counted:
        if options.shape not in name:
            continue
        counts = [counter(program, name, options.size << i) for i in range(3)]
        ratio = (counts[2] - counts[1]) / max(1, counts[1] - counts[0])
        print(f"{name:28} {(counts[2] - counts[1]) / (2 * options.size):20.1f} {ratio:21.2f}", flush=True)
        if ratio > options.limit:
            too_steep.append(name)
    if too_steep:
        sys.exit("Grow faster than the text: " + ", ".join(too_steep))


if __name__ == "__main__":
    main()
