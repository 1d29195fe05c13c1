"""Counts the instructions of our rows under callgrind: instructions.py BENCH_CALLS OUT.json

The difference between two runs with different numbers of calls is what the calls between them cost; the start of the
program and the making of the texts cancel out.
"""

import json
import re
import subprocess
import sys

MAX_EXTRA_CALLS = 100
EXTRA_UNITS = 20_000  # about so many units are counted


def count(program, row, calls):
    command = ["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", program, row, str(calls)]
    done = subprocess.run(command, capture_output=True, text=True, check=True)
    return int(re.search(r"Collected : (\d+)", done.stderr)[1])


def main(program, out):
    rows = []
    listing = subprocess.run([program], capture_output=True, text=True, check=True).stdout
    for line in listing.splitlines():
        units, unit, name = line.split("\t")
        units = int(units)
        extra = max(1, min(MAX_EXTRA_CALLS, EXTRA_UNITS // units))
        # The first call warms up what lasts as long as the process.
        instructions = (count(program, name, 1 + extra) - count(program, name, 1)) / extra / units
        rows.append({"name": name, "unit": unit, "instructions": round(instructions, 1)})
        print(f"{name:45} {instructions:12,.1f} instructions a {unit}", flush=True)
    with open(out, "w") as file:
        json.dump({"rows": rows}, file, indent=2)


main(*sys.argv[1:])
