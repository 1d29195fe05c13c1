"""What the measurements say, as tables and plots.

report.py table PEERS.json LIMITS.json    the comparison with peers, for a terminal
report.py check PEERS.json TOOL.json LIMITS.json    which limits are missed; exit code 1 where one is
report.py check-instructions INSTRUCTIONS.json LIMITS.json
    the same for the limits of instructions, which know no slack
report.py document RESULTS LIMITS.json DOCS
    RESULTS is the folder of all results; writes the tables into DOCS/performance.md, between their marks, and
    DOCS/performance/layers.md and the plots
"""

import json
import math
import os
import platform
import re
import subprocess
import sys


def load(path):
    with open(path) as file:
        return json.load(file)


def limits_of_contenders(limits):
    """{(row, contender): (kind, bound)}; the kind is "least" or "most"."""
    return {
        (row, contender): (kind, bound)
        for limit in limits["limits"]
        for kind in ("least", "most")
        for contender, bound in limit.get(kind, {}).items()
        for row in limit["rows"]
    }


def nanoseconds(ns):
    for factor, unit in ((1e6, "ms"), (1e3, "us")):
        if ns >= factor:
            return f"{ns / factor:.3g} {unit}"
    return f"{ns:.3g} ns"


def wanted(limit):
    return f"at {limit[0]} {limit[1]:g}" if limit else ""


def table_rows(peers, limits):
    """(row, contender, time, ratio, limit) for every contender; the row's name with the first of each."""
    by_contender = limits_of_contenders(limits)
    for row in peers["rows"]:
        for index, contender in enumerate(row["contenders"]):
            yield (
                f"{row['name']} (a {row['unit']})" if index == 0 else "",
                contender["name"],
                nanoseconds(contender["ns"]),
                f"{contender['ratio']:.2f}",
                wanted(by_contender.get((row["name"], contender["name"]))),
            )


def print_table(peers, limits):
    for name, contender, time, ratio, limit in table_rows(peers, limits):
        print(f"{name:52.52} {contender:24} {time:>10} {ratio:>8}  {limit}")


def verdict_on(value, kind, bound, slack):
    if value is None:
        return "not measured"
    if kind == "least":
        return "ok" if value >= bound * (1 - slack) else "falls short"
    return "ok" if value <= bound * (1 + slack) else "exceeds"


def check(peers, limits):
    """Prints each limit with what was measured; returns whether all are met, those of peers that are not here left out."""
    ratios = {(row["name"], c["name"]): c["ratio"] for row in peers["rows"] for c in row["contenders"]}
    here = {contender for _, contender in ratios}
    are_all_met = True
    for (row, contender), (kind, bound) in limits_of_contenders(limits).items():
        if contender not in here:
            continue
        ratio = ratios.get((row, contender))
        verdict = verdict_on(ratio, kind, bound, limits["slack"])
        are_all_met = are_all_met and verdict == "ok"
        shown = "-" if ratio is None else f"{ratio:.2f}"
        print(f"{row:45} against {contender:22} {shown:>6}  {wanted((kind, bound)):14} {verdict}")
    return are_all_met


def check_instructions(instructions, limits):
    """Prints each limit with what was counted; returns whether all are met."""
    rows = {row["name"]: row for row in instructions["rows"]}
    are_all_met = True
    for limit in limits["instructions"]:
        for name in limit["rows"]:
            counted = rows[name]["instructions"] if name in rows else None
            base, over = 1, ""
            if "over" in limit and counted is not None:
                base, over = rows[name].get("peers", {}).get(limit["over"]), f"over the {limit['over']}"
            elif "over row" in limit and counted is not None:
                base, over = rows.get(limit["over row"], {}).get("instructions"), f"over {limit['over row']}"
            is_difference = "most more" in limit
            most = limit["most more"] if is_difference else limit["most"]
            value = None
            if counted is not None and base is not None:
                value = counted - base if is_difference else counted / base
            verdict = verdict_on(value, "most", most, 0)
            are_all_met = are_all_met and verdict == "ok"
            shown = "-" if value is None else f"{value:,.2f}" if over and not is_difference else f"{value:,.0f}"
            print(f"{name:45} {shown:>10}  at most {most:9,.10g} {'more, ' * is_difference + over:37} {verdict}")
    return are_all_met


# --- Plots

INK = "#222222"
FAINT = "#d8d8d8"
GREY = "#777777"
COLOURS = ["#1b6ca8", "#d1495b", "#e29c1e", "#4a8f4f", "#7d5ba6", "#5f6b73", "#2a9d9d", "#a05a2c", "#111111",
           "#c77dba", "#8aa000", "#4059ad"]


class Svg:
    def __init__(self, width, height):
        self.size = (width, height)
        self.parts = []

    def line(self, x1, y1, x2, y2, colour=FAINT, width=1.0, dash=""):
        dashes = f' stroke-dasharray="{dash}"' if dash else ""
        self.parts.append(
            f'<line x1="{x1:.1f}" y1="{y1:.1f}" x2="{x2:.1f}" y2="{y2:.1f}" stroke="{colour}" '
            f'stroke-width="{width}"{dashes}/>'
        )

    def text(self, x, y, text, anchor="start", size=12, colour=INK, weight="normal"):
        escaped = text.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;")
        self.parts.append(
            f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}" font-size="{size}" fill="{colour}" '
            f'font-weight="{weight}">{escaped}</text>'
        )

    def dot(self, x, y, colour, radius=4.0):
        self.parts.append(f'<circle cx="{x:.1f}" cy="{y:.1f}" r="{radius}" fill="{colour}"/>')

    def polyline(self, points, colour):
        path = " ".join(f"{x:.1f},{y:.1f}" for x, y in points)
        self.parts.append(f'<polyline points="{path}" fill="none" stroke="{colour}" stroke-width="2"/>')

    def write(self, path):
        width, height = self.size
        with open(path, "w") as file:
            file.write(
                f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {width} {height}" width="{width}" '
                f'height="{height}" font-family="sans-serif">\n<rect width="{width}" height="{height}" '
                'fill="#ffffff"/>\n' + "\n".join(self.parts) + "\n</svg>\n"
            )


def plot_ratios(peers, limits, path):
    """A line for each row: a dot for each peer at its time over ours, a tick where the limit is."""
    by_contender = limits_of_contenders(limits)
    rows = [row for row in peers["rows"] if row["contenders"][0]["name"] == "KelmScript"]
    names = []
    for row in rows:
        names += [c["name"] for c in row["contenders"][1:] if c["name"] not in names]
    colours = dict(zip(names, COLOURS))

    left, top, width, step = 290, 70, 560, 26
    largest = max(c["ratio"] for row in rows for c in row["contenders"])
    smallest = min(c["ratio"] for row in rows for c in row["contenders"])
    low = min(-1, math.floor(math.log2(smallest)))
    high = math.ceil(math.log2(largest))
    svg = Svg(left + width + 30, top + step * len(rows) + 30)

    def x_of(ratio):
        return left + (math.log2(ratio) - low) / (high - low) * width

    bottom = top + step * len(rows)
    svg.text(10, 22, "Time of each peer over ours (logarithmic; right of 1 ours is faster)", size=15, weight="bold")
    x = 10.0
    for name in names:
        svg.dot(x + 5, 42, colours[name])
        svg.text(x + 13, 46, name)
        x += 32 + 6.6 * len(name)
    svg.line(x + 5, 35, x + 5, 49, INK, 2)
    svg.text(x + 13, 46, "wanted")
    for power in range(low, high + 1):
        ratio = 2.0**power
        svg.line(x_of(ratio), top, x_of(ratio), bottom, INK if power == 0 else FAINT)
        svg.text(x_of(ratio), bottom + 16, f"{ratio:g}", "middle", 11, GREY)
    for index, row in enumerate(rows):
        y = top + step * (index + 0.5)
        svg.line(left, y, left + width, y)
        svg.text(left - 10, y + 4, row["name"], "end")
        for contender in row["contenders"][1:]:
            limit = by_contender.get((row["name"], contender["name"]))
            if limit:
                svg.line(x_of(limit[1]), y - 8, x_of(limit[1]), y + 8, colours[contender["name"]], 2)
            svg.dot(x_of(contender["ratio"]), y, colours[contender["name"]])
    svg.write(path)


def bytes_label(size):
    for power, unit in ((20, "MiB"), (10, "KiB")):
        if size >= 2**power:
            return f"{size >> power} {unit}"
    return f"{size} B"


def plot_growth(growth, path):
    """A panel for each kind of input: nanoseconds a byte over the size, a line for each number of threads."""
    kinds = growth["kinds"]
    columns, panel_width, panel_height, margin = 2, 430, 190, 55
    rows = math.ceil(len(kinds) / columns)
    svg = Svg(columns * panel_width + 20, rows * panel_height + 60)
    svg.text(10, 22, "Nanoseconds a byte of input, by the size of the text", size=15, weight="bold")
    threads = sorted({point["threads"] for kind in kinds for point in kind["points"]})
    for index, count in enumerate(threads):
        svg.line(12 + 120 * index, 40, 32 + 120 * index, 40, COLOURS[index], 3)
        svg.text(38 + 120 * index, 44, f"{count} thread" + ("s" if count > 1 else ""))

    low, high = 10, 26  # from 1 KiB to 64 MiB, as powers of two
    for number, kind in enumerate(kinds):
        x0 = (number % columns) * panel_width + margin
        y0 = (number // columns) * panel_height + 90
        width, height = panel_width - margin - 25, panel_height - 75
        top = 1.25 * max(point["ns"] for point in kind["points"])

        def place(point):
            x = x0 + (math.log2(point["bytes"]) - low) / (high - low) * width
            return x, y0 + height * (1 - point["ns"] / top)

        svg.text(x0, y0 - 10, kind["name"], weight="bold")
        for part in (0, 0.5, 1):
            y = y0 + height * (1 - part)
            svg.line(x0, y, x0 + width, y)
            svg.text(x0 - 6, y + 4, f"{top * part:.{1 if top < 10 else 0}f}", "end", 11, GREY)
        for power in range(low, high + 1, 4):
            x = x0 + (power - low) / (high - low) * width
            svg.text(x, y0 + height + 16, bytes_label(2**power), "middle", 11, GREY)
        for index, count in enumerate(threads):
            points = [place(point) for point in kind["points"] if point["threads"] == count]
            svg.polyline(points, COLOURS[index])
            for x, y in points:
                svg.dot(x, y, COLOURS[index], 2.5)
    svg.write(path)


# --- The document


def markdown(header, rows, alignment):
    lines = [header, ["---" if side == "l" else "---:" for side in alignment], *rows]
    return "\n".join("| " + " | ".join(cell.replace("|", "\\|") for cell in line) + " |" for line in lines)


def peers_text(peers, limits):
    return markdown(
        ["workload", "contender", "time", "time over ours", "wanted"], table_rows(peers, limits), "llrrl"
    )


def ahead_text(peers):
    """The rows where a peer is faster than ours."""
    rows = [
        [row["name"], contender["name"], nanoseconds(contender["ns"]), nanoseconds(row["contenders"][0]["ns"])]
        for row in peers["rows"]
        if row["contenders"][0]["name"] == "KelmScript"
        for contender in row["contenders"][1:]
        if contender["ratio"] < 1
    ]
    return markdown(["workload", "peer", "its time", "ours"], rows, "llrr") if rows else "Nowhere."


def instructions_text(instructions):
    peers = []
    for row in instructions["rows"]:
        peers += [peer for peer in row.get("peers", {}) if peer not in peers]
    figure = lambda counted: "" if counted is None else f"{counted:,.0f}"
    rows = [
        [f"{row['name']} (a {row['unit']})", figure(row["instructions"])]
        + [figure(row.get("peers", {}).get(peer)) for peer in peers]
        for row in instructions["rows"]
    ]
    return markdown(["workload", "KelmScript", *peers], rows, "lr" + "r" * len(peers))


def machine_text():
    with open("/proc/cpuinfo") as file:
        text = file.read()
    name, family, model = (
        re.search(rf"^{key}\s*: (.*)", text, re.MULTILINE)[1] for key in ("model name", "cpu family", "model")
    )
    compiler = subprocess.run(["g++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    return f"{name} (family {family}, model {model}), {os.cpu_count()} cores, {platform.system()} {platform.release()}; {compiler}, `-O2`."


def layers_text(results):
    parts = ["# Each layer\n\nWhat `scripts/bench` measured: processor time, rates, allocations an operation. An operation is one call of what its name "
             "says; where a text holds many tokens, values or members, the time is that of the whole text, and the rates tell of each."]
    for layer in ("scanner", "values", "expressions", "paths", "data_sources", "objects"):
        rows = []
        for run in load(os.path.join(results, layer + ".json"))["benchmarks"]:
            rate = lambda name: f"{run[name] / 1e6:,.1f}" if name in run else ""
            rows.append(
                [run["name"], nanoseconds(run["cpu_time"]), rate("bytes"), rate("tokens"), rate("values"),
                 f"{run['allocs/op']:,.0f}"]
            )  # fmt: skip
        header = ["operation", "time", "MB/s", "M tokens/s", "M values/s", "allocations"]
        parts.append(f"## {layer.replace('_', ' ').capitalize()}\n\n" + markdown(header, rows, "lrrrrr"))
    return "\n\n".join(parts) + "\n"


def replace_between_marks(text, name, replacement):
    begin, end = f"<!-- begin {name} -->", f"<!-- end {name} -->"
    before, rest = text.split(begin)
    after = rest.split(end)[1]
    return f"{before}{begin}\n{replacement}\n{end}{after}"


def write_document(results, limits, docs):
    peers = load(os.path.join(results, "peers.json"))
    peers["rows"] += load(os.path.join(results, "tool.json"))["rows"]
    path = os.path.join(docs, "performance.md")
    with open(path) as file:
        text = file.read()
    text = replace_between_marks(text, "machine", machine_text())
    text = replace_between_marks(text, "peers", peers_text(peers, limits))
    text = replace_between_marks(text, "ahead", ahead_text(peers))
    text = replace_between_marks(
        text, "instructions", instructions_text(load("bench/instructions.json"))
    )
    with open(path, "w") as file:
        file.write(text)
    folder = os.path.join(docs, "performance")
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, "layers.md"), "w") as file:
        file.write(layers_text(results))
    plot_ratios(peers, limits, os.path.join(folder, "peers.svg"))
    plot_growth(load(os.path.join(results, "growth.json")), os.path.join(folder, "growth.svg"))


def main(command, *paths):
    if command == "table":
        print_table(*map(load, paths))
    elif command == "check":
        *measured, limits = map(load, paths)
        return 0 if check({"rows": [row for part in measured for row in part["rows"]]}, limits) else 1
    elif command == "check-instructions":
        return 0 if check_instructions(*map(load, paths)) else 1
    elif command == "document":
        write_document(paths[0], load(paths[1]), paths[2])
    else:
        sys.exit(__doc__)
    return 0


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
