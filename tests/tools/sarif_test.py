"""Holds what `kelmscript check --sarif` prints to the rules of SARIF 2.1.0: which properties an object must and may have,
and what their values may be.

sarif_test.py KELMSCRIPT
"""

import json
import os
import subprocess
import sys
import tempfile


def text(value):
    return isinstance(value, str)


def at_least(least):
    return lambda value: isinstance(value, int) and not isinstance(value, bool) and value >= least


def one_of(*values):
    return lambda value: value in values


def reference(value):
    """A URI reference: what is no unreserved or reserved character is written as octets."""
    plain = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~:/?#[]@!$&'()*+,;=%"
    return text(value) and all(c in plain for c in value)


# Of each kind of object: what it must have; what a value is: a rule, the kind of an object, or [kind] for a list.
KINDS = {
    "log": (["version", "runs"], {"$schema": reference, "version": one_of("2.1.0"), "runs": ["run"]}),
    "run": (
        ["tool"],
        {
            "tool": "tool",
            "columnKind": one_of("utf16CodeUnits", "unicodeCodePoints"),
            "results": ["result"],
            "invocations": ["invocation"],
        },
    ),
    "tool": (["driver"], {"driver": "component"}),
    "component": (["name"], {"name": text, "version": text}),
    "result": (
        ["message"],
        {"level": one_of("none", "note", "warning", "error"), "message": "message", "locations": ["location"]},
    ),
    "message": (["text"], {"text": text}),
    "location": ([], {"physicalLocation": "place"}),
    "place": (["artifactLocation"], {"artifactLocation": "artifact", "region": "region"}),
    "artifact": ([], {"uri": reference}),
    "region": (
        [],
        {"startLine": at_least(1), "startColumn": at_least(1), "endLine": at_least(1), "endColumn": at_least(1)},
    ),
    "invocation": (
        ["executionSuccessful"],
        {"executionSuccessful": one_of(True, False), "toolExecutionNotifications": ["notification"]},
    ),
    "notification": (["message"], {"level": one_of("none", "note", "warning", "error"), "message": "message"}),
}


def check(value, rule, place):
    if isinstance(rule, list):
        assert isinstance(value, list), f"{place} is no list"
        for i, element in enumerate(value):
            check(element, rule[0], f"{place}[{i}]")
    elif isinstance(rule, str):
        assert isinstance(value, dict), f"{place} is no object"
        required, properties = KINDS[rule]
        for name in required:
            assert name in value, f"{place} has no {name}"
        for name, held in value.items():
            assert name in properties, f"{place} may have no {name}"
            check(held, properties[name], f"{place}.{name}")
        if rule == "region":
            begin, end = ((value[f"{side}Line"], value[f"{side}Column"]) for side in ("start", "end"))
            assert begin <= end, f"{place} ends before it begins"
    else:
        assert rule(value), f"{place} may not be {value!r}"


def main():
    with tempfile.TemporaryDirectory() as folder:
        for name, contents in {
            "a \u00e4%b.kds": "no.Such {\n",
            "two.kds": "one.More { a = 'x\n } \x01",
            "empty.kds": "",
            "null.kds": "null rest // \u00e4",
        }.items():
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(contents)
        for files in ([], ["missing.kds"]):
            names = sorted(os.listdir(folder)) + files
            done = subprocess.run([sys.argv[1], "check", "--sarif", *names], capture_output=True, cwd=folder)
            assert done.returncode == 1, done.stderr
            log = json.loads(done.stdout)
            check(log, "log", "log")
            (run,) = log["runs"]
            assert len(run["results"]) >= 3, done.stdout
            assert run["invocations"][0]["executionSuccessful"] == (not files)


main()
