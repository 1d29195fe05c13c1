"""Types of a dump read texts as the types themselves do.

dumped_types_test.py KELMSCRIPT MODULE DATA DOCUMENTS CLASSES: the tool, a module, a folder of data sources of its classes,
the program that writes random documents of its own types, and the module of the tool's tests. KELM_EACH_COMMAND=7 in the
environment runs every seventh command alone.
"""

import itertools
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile


EACH_COMMAND = int(os.environ.get("KELM_EACH_COMMAND", "1"))


def run(command, input=None, **environment):
    done = subprocess.run(command, capture_output=True, text=True, input=input,
                          env={**os.environ, "KELMSCRIPT_MODULES": "", **environment})
    return done.returncode, done.stdout, done.stderr


def damaged(text, seed):
    draw = random.Random(seed)
    words = text.split(" ")
    at = draw.randrange(len(words))
    words[at] = draw.choice(["", words[at] + " " + words[at], "x", "]", "{", "7", "'text'", "null"])
    return " ".join(words)


# Paths and values that commands are given, whether or not a file has them.
PATHS = """.shapes .shapes[0] .shapes[0].outline .shapes[0].position.x .owner .gardener .margins .margins[2] .margins[9]
.layers[0].levels[0] .layers .materials .diary .rainfall .rainfall[[3] .rainfall[[99] .zoom .parcel .format .x .name .age
.samples .samples[[2] .samples[[2].x .note .notes .extent .version .counts .title .wide""".split()
VALUES = """.title='x' .title=5 .revision=99999999999999999999 .margins=[1,2,3,4] .margins=[1,2,3] .shapes[0].level=CANOPY
.shapes[0].level=FOO .shapes[0].level=51 .shapes[0].outline=Circle(-1) .shapes[0].outline=Square(1) .rainfall=[1,2]
.rainfall[[2]=7 .rainfall[[70]=7 .diary=[1->[SPRING->['a']]] .owner=Person{name='Z'} .gardener=null .format=3 .zoom=-1
.materials=['x'->Material{price=1}] .name='b' .age=-4 .samples=[(1,2)] .samples[[3].x=1 .version=4 .extent=radius(2)
.note=Note{} .counts=['a'->2]""".split()

SCENE = """tool.Scene { title = "a" samples = [(1, 2), {}] counts = ["a" -> 1] marks = [1 -> (2, 3), 4 -> {}] tags = ["b"]
    extent = tool.Point(1, 2) first = Note { text = "c" next = Note {} } note = Note {} notes = [null, Note {}] }
"""


def compare(tool, module, folder, files):
    """With a module and with its dump: all that is said."""
    types = os.path.join(folder, "types.json")
    assert run([tool, "types", "--dump", types], KELMSCRIPT_MODULES=module)[0] == 0

    turns = itertools.count()

    def same(command, text):
        if next(turns) % EACH_COMMAND != 0:
            return
        expected = run([tool, *command], text, KELMSCRIPT_MODULES=module)
        mirrored = run([tool, "--catalogue", types, *command], text)
        assert mirrored == expected, f"{command} of {text}\n{expected}\n{mirrored}"

    for text in files:
        for command in (["print", "-"], ["print", "--json", "-"], ["print", "--compact", "-"],
                        ["check", "--all", "--json", "-"], ["convert", "--to", "json", "-"], ["fmt", "-"]):
            same(command, text)
        for path in PATHS:
            same(["get", "-", path], text)
        for value in VALUES:
            for options in ([], ["--replace"], ["--compact"]):
                same(["set", *options, "-", *value.split("=", 1)], text)
        for path in PATHS[:12]:
            same(["unset", "-", path], text)
        for seed in range(8):
            same(["check", "--json", "-"], damaged(text, seed))

    # A dump of a dump's types is that dump.
    again = json.loads(run([tool, "--catalogue", types, "types", "--json"])[1])
    first = json.loads(pathlib.Path(types).read_text())
    for entry, mirrored in zip(first["classes"], again["classes"], strict=True):
        for member, other in zip(entry.get("members", []), mirrored.get("members", []), strict=True):
            if "default" not in member:  # of what cannot be created, or not be written
                other.pop("default", None)
    assert first == again


def main(tool, module, data, documents, classes):
    with tempfile.TemporaryDirectory() as folder:
        compare(tool, module, folder, [file.read_text() for file in sorted(pathlib.Path(data).glob("*.kds"))])
        compare(tool, classes, folder, [SCENE])

        rich = os.path.join(folder, "rich.json")
        pathlib.Path(rich).write_text(run([documents, "types"])[1])
        for row in map(json.loads, run([documents])[1].splitlines()[::6]):
            code, output, errors = run([tool, "--catalogue", rich, "print", "--json", "-"], row["text"])
            assert code == 0, f"{row['text']}\n{errors}"
            assert json.loads(output) == row["document"], f"{row['text']}\n{output}"


main(*sys.argv[1:])
