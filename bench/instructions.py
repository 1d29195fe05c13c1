"""Counts instructions under callgrind: ours, row by row, and our peers'.

instructions.py show PROGRAM [--row TEXT] [--contender NAME]... [--seed N]
    prints what the rows cost whose name contains TEXT, for each contender, or the named ones
instructions.py count OUT.json [--peers] [--process NAME COMMAND]... PROGRAM...
    counts ours, and with --peers everybody's, and keeps it; of a COMMAND its whole process
instructions.py compare COUNTED.json STORED.json
    prints what rose or fell; exit code 1 where something rose by more than half a percent

A program without arguments lists its rows, each a line: units of one call, what a unit is, name. With the argument
"contenders" it lists those who can do them, ours first. With ROW CONTENDER CALLS it does the work so many times. The
difference between two numbers of calls is what the calls between them cost; the start of the program and the making of
the texts cancel out.
"""

import argparse
import json
import re
import subprocess
import sys

MAX_EXTRA_CALLS = 100
EXTRA_UNITS = 20_000  # about so many units are counted
LARGEST_RISE = 0.005


def run(command):
    return subprocess.run(command, capture_output=True, text=True)


def count(command):
    """The instructions of one run, or None where the program fails: a peer may refuse a text, or not know the row."""
    done = run(["valgrind", "--tool=callgrind", "--callgrind-out-file=/dev/null", *command])
    return int(re.search(r"Collected : (\d+)", done.stderr)[1]) if done.returncode == 0 else None


def list_rows(program):
    for line in run([program]).stdout.splitlines():
        units, unit, name = line.split("\t")
        yield int(units), unit, name


def list_contenders(program):
    return run([program, "contenders"]).stdout.splitlines()


def count_row(program, row, contender, units, more=()):
    """Instructions a unit, or None."""
    extra = max(1, min(MAX_EXTRA_CALLS, EXTRA_UNITS // units))
    # The first call warms up what lasts as long as the process.
    one = count([program, row, contender, "1", *more])
    if one is None:
        return None
    return round((count([program, row, contender, str(1 + extra), *more]) - one) / extra / units, 1)


def shown(counted):
    return "-" if counted is None else f"{counted:,.0f}"


def show(options):
    contenders = options.contender or list_contenders(options.program)
    print(f"{'':50}" + "".join(f"{name:>24}" for name in contenders))
    for units, unit, name in list_rows(options.program):
        if options.row not in name:
            continue
        print(f"{name + ' (a ' + unit + ')':50}", end="", flush=True)
        for contender in contenders:
            counted = count_row(options.program, name, contender, units, options.seed)
            print(f"{shown(counted):>24}", end="", flush=True)
        print(flush=True)


def count_all(options):
    rows = []
    for program in options.programs:
        ours, *peers = list_contenders(program)
        for units, unit, name in list_rows(program):
            row = {"name": name, "unit": unit, "instructions": count_row(program, name, ours, units)}
            if row["instructions"] is None:
                sys.exit(f"{program} fails at its row {name}")
            if options.peers and peers:
                row["peers"] = {peer: count_row(program, name, peer, units) for peer in peers}
            rows.append(row)
            figures = [row["instructions"], *row.get("peers", {}).values()]
            print(f"{name + ' (a ' + unit + ')':50}" + "".join(f"{shown(figure):>12}" for figure in figures), flush=True)
    for name, command in options.process:
        row = {"name": name, "unit": "process", "instructions": count(command.split())}
        rows.append(row)
        print(f"{name:50}{shown(row['instructions']):>12}", flush=True)
    with open(options.out, "w") as file:
        json.dump({"rows": rows}, file, indent=2)
        file.write("\n")


def compare(options):
    counted, stored = (
        {row["name"]: row["instructions"] for row in json.load(open(path))["rows"]}
        for path in (options.counted, options.stored)
    )
    has_risen = False
    for name, before in stored.items():
        now = counted.get(name)
        if now is None:
            print(f"{name:50} {shown(before):>12}  is not counted any more")
        elif abs(now - before) > LARGEST_RISE * before:
            has_risen = has_risen or now > before
            print(f"{name:50} {shown(before):>12} -> {shown(now):>12}  {'RISES' if now > before else 'falls'}")
    for name in counted.keys() - stored.keys():
        print(f"{name:50} {'':>12}    {shown(counted[name]):>12}  is new")
    print("Some rows cost more than they did." if has_risen else "No row costs more than it did.")
    return 1 if has_risen else 0


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    commands = parser.add_subparsers(required=True)
    command = commands.add_parser("show")
    command.set_defaults(do=show)
    command.add_argument("program")
    command.add_argument("--row", default="")
    command.add_argument("--contender", action="append")
    command.add_argument("--seed", nargs=1, default=[])
    command = commands.add_parser("count")
    command.set_defaults(do=count_all)
    command.add_argument("out")
    command.add_argument("--peers", action="store_true")
    command.add_argument("--process", nargs=2, action="append", default=[])
    command.add_argument("programs", nargs="+")
    command = commands.add_parser("compare")
    command.set_defaults(do=compare)
    command.add_argument("counted")
    command.add_argument("stored")
    options = parser.parse_args()
    return options.do(options)


if __name__ == "__main__":
    sys.exit(main())
