#!/usr/bin/env python3
"""Which functions of the libraries call themselves, directly or by way of others, without a look at the stack.

    recursions.py KEPT LIBRARY...

What recurses over data must pass IsStackLow, so that its depth is limited by memory alone. The calls are taken from the
machine code: functions that look at the stack are left out, and every circle that remains must be in KEPT, a function of
it and the reason why its depth has a limit on each line. So must every line of KEPT have a circle. Calls through pointers
are not seen.
"""

import re
import subprocess
import sys
from pathlib import Path

# Who calls one of these looks at the stack: the slow half of IsStackLow, and what is called where it may be low.
CHECKS = re.compile("14IsStackLowHere|8NestDeep")
# A function's parts that the compiler cut off.
PART = re.compile(r"(\.(part|constprop|isra|cold)(\.\d+)?)+$")
# The standard library's own: as deep as the logarithm of what they sort or destroy.
STANDARD = re.compile(r"(\w+ )?std::(__|_Rb_tree)")


def output_of(*command, text=None):
    return subprocess.run(command, input=text, capture_output=True, text=True, check=True).stdout


def calls_of(library):
    """For each function those that it calls or jumps to, by their linker names."""
    through_table = dict(re.findall(r"^0*([0-9a-f]+) \S+ +([^\s@+]+)", output_of("objdump", "-R", library), re.M))
    calls = {}
    for line in output_of("objdump", "-d", "--no-show-raw-insn", library).splitlines():
        if begin := re.match(r"[0-9a-f]+ <(.+)>:$", line):
            caller = PART.sub("", begin[1])
            called = calls.setdefault(caller, set())
        elif direct := re.search(r"\t(?:addr32 )?(call|j\w+)\s+[0-9a-f]+ <([^>+]+)>", line):
            name = PART.sub("", direct[2].removesuffix("@plt"))
            if name != caller or (direct[1] == "call" and not PART.search(direct[2])):
                called.add(name)
        elif table := re.search(r"(?:call|jmp)\s+\*.*# ([0-9a-f]+) <", line):
            called.add(through_table.get(table[1], ""))
    return calls


def circles_of(calls):
    """The strongly connected parts that have a circle, by Tarjan's algorithm without recursion."""
    index, low, stack, on_stack, circles = {}, {}, [], set(), []
    for root in calls:
        if root in index:
            continue
        work = [(root, iter(calls[root]))]
        index[root] = low[root] = len(index)
        stack.append(root)
        on_stack.add(root)
        while work:
            at, rest = work[-1]
            for called in rest:
                if called not in index:
                    index[called] = low[called] = len(index)
                    stack.append(called)
                    on_stack.add(called)
                    work.append((called, iter(calls[called])))
                    break
                if called in on_stack:
                    low[at] = min(low[at], index[called])
            else:
                work.pop()
                if work:
                    low[work[-1][0]] = min(low[work[-1][0]], low[at])
                if low[at] == index[at]:
                    circle = stack[stack.index(at):]
                    del stack[-len(circle):]
                    on_stack.difference_update(circle)
                    if len(circle) > 1 or at in calls[at]:
                        circles.append(circle)
    return circles


def main():
    kept = [line.split("\t")[0] for line in Path(sys.argv[1]).read_text().splitlines() if not line.startswith("#")]
    calls = {}
    for library in sys.argv[2:]:
        for caller, called in calls_of(library).items():
            calls.setdefault(caller, set()).update(called)
    checked = {caller for caller, called in calls.items() if any(map(CHECKS.search, called))}
    if not checked:
        sys.exit("Nothing looks at the stack: are these the libraries?")
    unchecked = {caller: [c for c in called if c in calls and c not in checked]
                 for caller, called in calls.items() if caller not in checked}

    unknown, found = [], set()
    for circle in circles_of(unchecked):
        names = output_of("c++filt", text="\n".join(circle)).splitlines()
        rows = {row for row in kept if any(row in name for name in names)}
        found |= rows
        if not rows and not all(map(STANDARD.match, names)):
            unknown.append("\n".join(sorted(names)))
    print(f"{len(calls)} functions, {len(checked)} of them look at the stack, {len(found)} recursions are kept")
    for circle in unknown:
        print(f"\nRecurses without a look at the stack:\n{circle}")
    for row in sorted(set(kept) - found):
        print(f"\nDoes not recurse: {row}")
    if unknown or found != set(kept):
        sys.exit(1)


if __name__ == "__main__":
    main()
