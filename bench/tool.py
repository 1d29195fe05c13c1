"""The command line tool beside others that do the same: tool.py BIN LIB OUT.json

- `kelmscript check` of a data source of 64 MiB, and `jq empty` of the same data as JSON;
- `kelmscript eval` of 100,000 lines, and the same lines evaluated by LuaJIT and Lua, and printed by a mawk program.

Times are processor times of whole processes, in turns; a ratio is the median of the rounds' ratios. What evaluates must write
the same. OUT.json has rows as the comparison of bench_peers has them.
"""

import json
import os
import random
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile

ROUNDS = 21
RECORDS_OF_64_MIB = "records, pretty-printed"
MIB = 1 << 20
LUA_LOOP = "local load = loadstring or load for line in io.lines() do print(load('return ' .. line)()) end"


def spent(command, stdin, environment):
    """(processor time, what was written) of one run, which must succeed."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    with open(stdin) as file:
        written = subprocess.run(command, stdin=file, stdout=subprocess.PIPE, check=True, env=environment).stdout
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime, written


def compare(name, unit, units, contenders, environment, stdin=os.devnull, write_the_same=True):
    """A row; `contenders` are commands by name, ours first."""
    contenders = {who: command for who, command in contenders.items() if shutil.which(command[0])}
    times = {who: [] for who in contenders}
    for _ in range(ROUNDS):
        outputs = set()
        for who, command in contenders.items():
            time, written = spent(command, stdin, environment)
            times[who].append(time)
            outputs.add(written)
        if write_the_same and len(outputs) != 1:
            sys.exit(f"{name}: not all write the same")
    ours = next(iter(times.values()))
    row = {"name": name, "unit": unit, "contenders": []}
    for who, spent_times in times.items():
        ratio = statistics.median(theirs / our for theirs, our in zip(spent_times, ours))
        row["contenders"].append({"name": who, "ns": statistics.median(spent_times) / units * 1e9, "ratio": ratio})
        print(f"{name:45} {who:12} {statistics.median(spent_times):8.3f} s   x {ratio:.2f}", flush=True)
    return row


def integer_lines(count, seed):
    """Sums and products that every one of the languages computes and writes alike."""
    generator = random.Random(seed)
    number = lambda: str(generator.randint(1, 10 ** generator.randint(1, 3)))
    lines = []
    for _ in range(count):
        text = number()
        for _ in range(generator.randint(1, 6)):
            text += generator.choice(["+", "-", "*", " + ", " - ", " * "])
            text += number() if generator.random() < 0.8 else f"({number()}+{number()})"
            if text.count("*") > 2:
                break
        lines.append(text)
    return lines


def main(binaries, libraries, out):
    tool = os.path.join(binaries, "kelmscript")
    environment = {**os.environ, "KELMSCRIPT_MODULES": os.path.join(libraries, "libkelmBenchTypes.so")}
    rows = []
    with tempfile.TemporaryDirectory() as folder:
        ours, json_text = os.path.join(folder, "data.kds"), os.path.join(folder, "data.json")

        def write_texts(scale):
            command = [os.path.join(binaries, "bench_texts"), "text", RECORDS_OF_64_MIB, "1", str(scale), ours, json_text]
            subprocess.run(command, check=True)
            return os.path.getsize(ours)

        size = write_texts(64 * MIB / write_texts(1))
        rows.append(
            compare(
                "check of 64 MiB", "byte", size,
                {"KelmScript": [tool, "check", ours], "jq": ["jq", "empty", json_text]}, environment,
                write_the_same=False,
            )
        )  # fmt: skip

        lines = integer_lines(100_000, 1)
        source, program = os.path.join(folder, "lines"), os.path.join(folder, "program.awk")
        with open(source, "w") as file:
            file.write("\n".join(lines) + "\n")
        with open(program, "w") as file:
            file.write("BEGIN { OFMT = \"%.15g\"\n" + "\n".join(f"print {line}" for line in lines) + "\n}\n")
        rows.append(
            compare(
                "eval of 100,000 lines", "line", len(lines),
                {
                    "KelmScript": [tool, "eval"],
                    "LuaJIT": ["luajit", "-e", LUA_LOOP],
                    "Lua 5.4": ["lua5.4", "-e", LUA_LOOP],
                    "mawk": ["mawk", "-f", program],
                },
                environment, source,
            )
        )  # fmt: skip
    with open(out, "w") as file:
        json.dump({"rows": rows}, file, indent=2)


main(*map(os.path.abspath, sys.argv[1:]))
