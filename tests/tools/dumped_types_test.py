"""Types of a dump read texts as the types themselves do.

dumped_types_test.py KELMSCRIPT MODULE DATA DOCUMENTS: the tool, a module, a folder of data sources of its classes, and
the program that writes random documents of its own types.
"""

import os
import json
import pathlib
import random
import subprocess
import sys
import tempfile


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


# What a dump does not tell: the unit of a duration, that an enumeration is not of 32 bits. And keys of its maps take
# nothing over from the key before.
UNTOLD = {"patience", "counts", "heights"}


def told(value):
    if isinstance(value, dict):
        return {name: told(part) for name, part in value.items() if name not in UNTOLD}
    return [told(part) for part in value] if isinstance(value, list) else value


def main(tool, module, data, documents):
    folder = tempfile.TemporaryDirectory()
    types = os.path.join(folder.name, "types.json")
    assert run([tool, "types", "--dump", types], KELMSCRIPT_MODULES=module)[0] == 0

    # With a module and with its dump: what is written of files, and all that is said of wrong ones.
    for file in sorted(pathlib.Path(data).glob("**/*.kds")):
        text = file.read_text()
        for command in (["print", "-"], ["print", "--json", "-"], ["check", "--all", "--json", "-"]):
            expected = run([tool, *command], text, KELMSCRIPT_MODULES=module)
            assert run([tool, "--catalogue", types, *command], text) == expected, f"{command} of {file}"
        for seed in range(8):
            wrong = damaged(text, seed)
            expected = run([tool, "check", "--json", "-"], wrong, KELMSCRIPT_MODULES=module)
            assert run([tool, "--catalogue", types, "check", "--json", "-"], wrong) == expected, f"{file} {seed}"

    # A dump of a dump's types is that dump, but for what only modules have.
    again = json.loads(run([tool, "--catalogue", types, "types", "--json"])[1])
    first = json.loads(pathlib.Path(types).read_text())
    for entry, other in zip(first["classes"], again["classes"], strict=True):
        assert entry["name"] == other["name"]
        for member, mirrored in zip(entry.get("members", []), other.get("members", []), strict=True):
            assert member["name"] == mirrored["name"] and member.get("default") == mirrored.get("default"), member

    rich = os.path.join(folder.name, "rich.json")
    pathlib.Path(rich).write_text(run([documents, "types"])[1])
    rows = run([documents])[1].splitlines()
    for row in map(json.loads, rows[::6]):
        code, output, errors = run([tool, "--catalogue", rich, "print", "--json", "-"], row["text"])
        assert code == 0, f"{row['text']}\n{errors}"
        assert told(json.loads(output)) == told(row["document"]), f"{row['text']}\n{output}"


main(*sys.argv[1:])
