#!/usr/bin/env python3
"""How the cost of hostile texts grows: each shape of growthShapes at three sizes, each twice the one before.

    growth.py PROGRAM [--size BYTES] [--shape TEXT] [--limit RATIO]

Counts the instructions of reading, which do not depend on the machine's load, and fails where twice the text costs more
than RATIO times as much: the cost between the second and third size, by that between the first and second. (So what the
program does once does not count.)
"""

import argparse
import re
import subprocess
import sys
import tempfile


def count(program, shape, size):
    with tempfile.NamedTemporaryFile() as out:
        run = subprocess.run(
            ["valgrind", "--tool=callgrind", "--toggle-collect=RunShape", "--callgrind-out-file=" + out.name,
             "--max-stackframe=100000000", program, shape, str(size)],
            capture_output=True, text=True)
        if run.returncode != 0:
            sys.exit(f"{shape} of {size} bytes: " + "\n".join(l for l in run.stderr.splitlines() if not l.startswith("==")))
        return int(re.search(r"Collected : (\d+)", run.stderr).group(1))


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("program")
    parser.add_argument("--size", type=int, default=256 * 1024)
    parser.add_argument("--shape", default="")
    parser.add_argument("--limit", type=float, default=2.3)
    options = parser.parse_args()

    names = subprocess.run([options.program], capture_output=True, text=True, check=True).stdout.splitlines()
    too_steep = []
    print(f"{'shape':28} {'instructions a byte':>20} {'twice the text costs':>22}")
    for name in names:
        if options.shape not in name:
            continue
        counts = [count(options.program, name, options.size << i) for i in range(3)]
        ratio = (counts[2] - counts[1]) / max(1, counts[1] - counts[0])
        print(f"{name:28} {(counts[2] - counts[1]) / (2 * options.size):20.1f} {ratio:21.2f}", flush=True)
        if ratio > options.limit:
            too_steep.append(name)
    if too_steep:
        sys.exit("Grow faster than the text: " + ", ".join(too_steep))


if __name__ == "__main__":
    main()
