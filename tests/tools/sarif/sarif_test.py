"""Holds what `kelmscript check --sarif` prints against the published schema of SARIF 2.1.0, and to what that cannot say.

sarif_test.py KELMSCRIPT
"""

import copy
import json
import os
import pathlib
import subprocess
import sys
import tempfile

from jsonschema import Draft4Validator

SCHEMA = json.loads((pathlib.Path(__file__).parent / "sarif-2.1.0-rtm.5.json").read_text())
Draft4Validator.check_schema(SCHEMA)
VALIDATOR = Draft4Validator(SCHEMA)

FILES = {
    "a \u00e4%b.kds": "no.Such {\n",
    "two.kds": "one.More { a = 'x\n } \x01",
    "empty.kds": "",
    "null.kds": "null rest // \u00e4",
}

# What makes a log wrong: the way to a member, and what it becomes.
MISTAKES = [
    (["version"], "2.0"),
    (["runs"], None),
    (["runs", 0, "tool"], {}),
    (["runs", 0, "columnKind"], "octets"),
    (["runs", 0, "invocations", 0, "executionSuccessful"], "yes"),
    (["runs", 0, "results", 0, "level"], "fatal"),
    (["runs", 0, "results", 0, "message"], {}),
    (["runs", 0, "results", 0, "place"], 1),
    (["runs", 0, "results", 0, "locations", 0, "physicalLocation", "region", "startLine"], 0),
]


def is_reference(value):
    """A URI reference: what is no unreserved or reserved character is written as octets."""
    plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~:/?#[]@!$&'()*+,;=%"
    return all(c in plain for c in value)


def hold_place(place):
    assert is_reference(place["artifactLocation"]["uri"]), place
    region = place.get("region")
    if region:
        begin, end = ((region[f"{side}Line"], region[f"{side}Column"]) for side in ("start", "end"))
        assert begin <= end, place


def hold_mistakes(log):
    for way, value in MISTAKES:
        wrong = copy.deepcopy(log)
        part = wrong
        for step in way[:-1]:
            part = part[step]
        part[way[-1]] = value
        assert not VALIDATOR.is_valid(wrong), way


def main():
    with tempfile.TemporaryDirectory() as folder:
        for name, contents in FILES.items():
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(contents)
        for missing in ([], ["missing.kds"]):
            names = sorted(FILES) + missing
            done = subprocess.run([sys.argv[1], "check", "--sarif", *names], capture_output=True, cwd=folder)
            assert done.returncode == 1, done.stderr
            log = json.loads(done.stdout)
            VALIDATOR.validate(log)
            assert is_reference(log["$schema"])
            (run,) = log["runs"]
            for result in run["results"]:
                for location in result["locations"]:
                    hold_place(location["physicalLocation"])
            assert len(run["results"]) >= 3, done.stdout
            assert run["invocations"][0]["executionSuccessful"] == (not missing)
            hold_mistakes(log)


main()
