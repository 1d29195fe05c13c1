"""Holds the schemas that the tool writes against a public validator, and documents against the schemas.

schema_test.py KELMSCRIPT MODULE DATA DOCUMENTS: the tool, a module, a folder of data sources of its classes, and the
program that writes random documents with their schemas.
"""

import copy
import json
import os
import pathlib
import subprocess
import sys

from jsonschema import Draft202012Validator


def run(command, environment=None):
    return subprocess.run(command, check=True, capture_output=True, text=True, env=environment).stdout


# What is done to a garden.Plan, each of which makes it wrong.
def set_in(way, value):
    def edit(document):
        for step in way[:-1]:
            document = document[step]
        document[way[-1]] = value
    return edit


def remove(name):
    return lambda document: document.pop(name)


MISTAKES = [
    set_in(["$class"], "garden::Plant"),
    remove("$class"),
    set_in(["unknown"], 1),
    set_in(["title"], 5),
    set_in(["title"], None),
    set_in(["format"], 1.5),
    set_in(["format"], "1"),
    set_in(["format"], 2147483648),
    set_in(["revision"], -9223372036854775809),
    set_in(["parcel"], -1),
    set_in(["parcel"], 18446744073709551616),
    set_in(["owner"], 5),
    set_in(["owner", "$class"], "garden::Plan"),
    set_in(["owner", "role"], "BOSS"),
    set_in(["owner", "middleInitial"], "AB"),
    set_in(["gardener"], []),
    set_in(["margins"], [1, 2, 3]),
    set_in(["margins"], [1, 2, 3, 4, 5]),
    set_in(["margins", 0], "wide"),
    set_in(["margins", 0], 3.5e38),
    set_in(["margins", 0], -1e300),
    set_in(["layers"], {}),
    set_in(["layers", 0, "levels"], "GROUND"),
    set_in(["layers", 0, "levels", 0], "SKY"),
    set_in(["materials"], []),
    set_in(["materials", "gravel"], 1),
    set_in(["materials", "gravel", "symbol"], "\u00e9"),
    set_in(["materials", "gravel", "symbol"], "ab"),
    set_in(["shapes", 0, "outline"], {}),
    set_in(["shapes", 0, "outline"], {"garden::Circle": {}, "garden::Rectangle": {}}),
    set_in(["shapes", 0, "outline"], {"Circle": {}}),
    set_in(["diary"], {}),
    set_in(["diary"], [[1]]),
    set_in(["zoom"], "huge"),
]

# And what is right, though the tool does not write it so.
RIGHT = [
    set_in(["revision"], 5.0),
    set_in(["format"], -2e9),
    set_in(["margins", 0], 3.4028235e38),
    set_in(["materials", "gravel", "symbol"], "\u007f"),
]


def main(tool, module, data, documents):
    environment = dict(os.environ, KELMSCRIPT_MODULES=module)
    plan = None
    for file in sorted(pathlib.Path(data).glob("**/*.kds")):
        converted = subprocess.run([tool, "convert", str(file)], capture_output=True, text=True, env=environment)
        if converted.returncode != 0:
            assert file.name.startswith("broken"), f"{file}: {converted.stderr}"
            continue
        document = json.loads(converted.stdout)
        schema = json.loads(run([tool, "schema", document["$class"]], environment))
        Draft202012Validator.check_schema(schema)
        Draft202012Validator(schema).validate(document)
        if file.name == "garden.kds":
            plan = (schema, document)

    schema, document = plan
    validator = Draft202012Validator(schema)
    validator.validate({"$class": "garden::Plan"})
    for number, mistake in enumerate(MISTAKES):
        wrong = copy.deepcopy(document)
        mistake(wrong)
        assert not validator.is_valid(wrong), f"mistake {number} is valid"
        text = json.dumps(wrong)
        refused = subprocess.run([tool, "convert", "--to", "kds", "-"], input=text, capture_output=True, text=True,
                                 env=environment)
        # A class named elsewhere is another object, and right.
        assert refused.returncode == 1 or mistake in MISTAKES[:1], f"mistake {number} is converted"

    for number, change in enumerate(RIGHT):
        right = copy.deepcopy(document)
        change(right)
        assert validator.is_valid(right), f"change {number} is not valid"
        subprocess.run([tool, "convert", "--to", "kds", "-"], input=json.dumps(right), check=True, capture_output=True,
                       text=True, env=environment)

    for line in run([documents]).splitlines():
        row = json.loads(line)
        if row["schema"] is not None:
            Draft202012Validator.check_schema(row["schema"])
            validator = Draft202012Validator(row["schema"])
        validator.validate(row["document"])


main(*sys.argv[1:])
