#!/usr/bin/env python3
"""Changes the sources in a thousand places, one at a time, and sees which changes the tests do not notice.

    mutate.py [--group inside|headers] [--seed N] [--count N] [--jobs N] [--only TEXT]

A sample of all mutants (find_mutants.py) is written into a copy of the tree and built once; which of them is there is
chosen when a program starts. A first run of each test by itself tells which mutants it reaches; then every mutant is
tried against the tests that reach it, the quick ones first, until one fails. What survives is listed; `kept.tsv` tells of
survivors that were looked at why they change nothing that can be seen.

It fails where more than 5 % of the sample survive without such a reason. All is kept in build/mutants, and a run that was
interrupted goes on where it ended.
"""

import argparse
import hashlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
from concurrent.futures import ThreadPoolExecutor
from dataclasses import asdict
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HERE = Path(__file__).resolve().parent

TEXT_TESTS = ["klUtilsTests", "klObjectTests", "klKelmScriptTests", "klKelmScriptRegistrationTests", "outOfMemoryTests",
              "allocationTests", "readingTests", "kelmTests", "documentTests"]
# What is compiled into the libraries alone, and what programs include: the latter takes compiling the tests, too.
GROUPS = {
    "inside": {
        "sources": ["src/*.cpp", "src/private/*.cpp", "src/private/*.h", "host/klUtils/text/*.cpp",
                    "host/klUtils/text/private/*.cpp", "host/klUtils/text/private/*.h"],
        "programs": TEXT_TESTS,
    },
    "headers": {
        "sources": ["src/*.h", "host/klUtils/text/*.h", "host/klObject/containers/*.h",
                    "host/klObject/containers/private/*.h"],
        "programs": ["klObjectTests", "klUtilsTests", "klKelmScriptTests"],
    },
}
# Few random cases, always the same.
SETTINGS = {"KELM_READING_CASES": "4000", "RC_PARAMS": "max_success=200 seed=20080824"}
MEMORY = 8 << 30


def write_whole(path, value):
    """What was there stays until all of it is written: a run may be interrupted at any time."""
    new = path.with_suffix(".new")
    new.write_text(json.dumps(value, indent=0))
    new.replace(path)


def say(text):
    print(time.strftime("%H:%M:%S ") + text, flush=True)


class Sample:
    def __init__(self, options):
        self.group = GROUPS[options.group]
        self.programs = options.programs or self.group["programs"]
        self.options = options
        self.folder = ROOT / "build" / "mutants" / options.group
        self.tree = self.folder / "tree"
        self.build = self.tree / "build" / "release"
        self.folder.mkdir(parents=True, exist_ok=True)

    def sources(self):
        files = {f.relative_to(ROOT).as_posix() for pattern in self.group["sources"] for f in ROOT.glob(pattern)}
        return sorted(f for f in files if f not in LEFT_OUT)

    # What is kept of a step is good while what it was made from is the same.
    def kept(self, name, key, make):
        path = self.folder / (name + ".json")
        key = hashlib.sha256(json.dumps(key, sort_keys=True).encode()).hexdigest()
        if path.exists():
            kept = json.loads(path.read_text())
            if kept["key"] == key:
                return kept["value"]
        value = make()
        write_whole(path, {"key": key, "value": value})
        return value

    def candidates(self):
        from find_mutants import Finder
        include = self.folder / "include"
        include.mkdir(exist_ok=True)
        for name, place in (("klKelmScript", "src"), ("kelm", "kelm")):
            if not (include / name).exists():
                (include / name).symlink_to(ROOT / place)
        arguments = [f"-I{include}", f"-I{ROOT}/host"]
        found = []
        for name in self.sources():
            path = ROOT / name
            key = [name, path.read_bytes().hex(), (HERE / "find_mutants.py").read_text()]

            def find():
                finder = Finder(str(path), name, arguments)
                if finder.errors:
                    including = next((f for f in sorted(ROOT.glob(str(Path(name).parent / "*.cpp")))
                                      if path.name + ">" in f.read_text()), None)
                    finder = Finder(str(path), name, arguments, including and str(including))
                for error in finder.errors[:3]:
                    say(f"{name}: {error.spelling}")
                return [asdict(m) for m in finder.find()]
            found += self.kept("found-" + name.replace("/", "-"), key, find)
        return found

    # Numbered from 1. No two of them overlap. Which are chosen depends on each by itself, so that a change of the sources
    # leaves the others in the sample.
    def choose(self):
        candidates = self.candidates()
        say(f"{len(candidates)} mutants in {len(self.sources())} files")
        same = {}
        for mutant in candidates:
            what = mutant["file"], mutant["function"], mutant["before"], mutant["after"]
            same[what] = same.get(what, 0) + 1
            mutant["key"] = "\t".join([*what, str(same[what])])
        candidates.sort(key=lambda m: hashlib.sha256(f"{self.options.seed} {m['key']}".encode()).digest())
        taken = {}
        chosen = {}
        for mutant in candidates:
            if len(chosen) == self.options.count:
                break
            places = taken.setdefault(mutant["file"], [])
            if any(mutant["begin"] < end and begin < mutant["end"] for begin, end in places):
                continue
            places.append((mutant["begin"], mutant["end"]))
            chosen[len(chosen) + 1] = mutant
        return chosen

    def write_tree(self, mutants):
        names = subprocess.run(["git", "ls-files", "--cached", "--others", "--exclude-standard"], cwd=ROOT, check=True,
                               capture_output=True, text=True).stdout.split("\n")
        changed = self.changed_sources(mutants)
        for name in filter(None, names):
            if not (ROOT / name).is_file():
                continue
            content = changed[name] if name in changed else (ROOT / name).read_bytes()
            self.write(self.tree / name, content, (ROOT / name).stat().st_mode)
        for name in ("Mutants.h", "Mutants.cpp"):
            self.write(self.tree / "host/klUtils" / name, (HERE / name).read_bytes(), 0o644)
        # What a mutant is written as gives warnings. All other commands stay as they are, for the compiler's cache.
        for folder in ("src", "host/klUtils", "host/klObject", "host/klPersistStore"):
            lists = f"{folder}/CMakeLists.txt"
            files = " ".join(n[len(folder) + 1:] for n in sorted(changed) if n.startswith(folder + "/") and n.endswith(".cpp"))
            text = (ROOT / lists).read_text()
            if files:
                text += f'set_source_files_properties({files} PROPERTIES COMPILE_OPTIONS "-w;-O1")\n'
            self.write(self.tree / lists, text.encode(), 0o644)
        for folder in ("kelm", "document"):
            lists = f"{folder}/CMakeLists.txt"
            files = " ".join(f.relative_to(ROOT / folder).as_posix() for f in sorted((ROOT / folder).rglob("*.cpp"))
                             if re.search(r"#include <(klKelmScript|klUtils/text)/private/", f.read_text()))
            text = (ROOT / lists).read_text() + f"set_source_files_properties({files} PROPERTIES COMPILE_OPTIONS -w)\n"
            self.write(self.tree / lists, text.encode(), 0o644)

    @staticmethod
    def write(path, content, mode):
        if path.exists() and path.read_bytes() == content:
            return
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        path.chmod(mode & 0o777)

    def changed_sources(self, mutants):
        by_file = {}
        for number, mutant in mutants.items():
            by_file.setdefault(mutant["file"], []).append((int(number), mutant))
        changed = {}
        for name, of_file in by_file.items():
            text = (ROOT / name).read_bytes()
            for number, m in sorted(of_file, key=lambda item: -item[1]["begin"]):
                inner = text[m["begin"]:m["end"]]
                text = text[:m["begin"]] + m["prefix"].replace("(N)", f"({number})").encode() + inner + \
                    m["suffix"].replace("(N)", f"({number})").encode() + text[m["end"]:]
            head = b"#pragma GCC system_header\n" if name.endswith(".h") else b"\n"
            changed[name] = head + b"#include <klUtils/Mutants.h>\n" + text
        return changed

    # What does not compile is no mutant.
    def make(self, mutants):
        environment = dict(os.environ, CCACHE_BASEDIR=str(self.tree), CCACHE_NOHASHDIR="1",
                           CCACHE_SLOPPINESS="pch_defines,time_macros")
        for _ in range(12):
            self.write_tree(mutants)
            log = self.folder / "build.log"
            with open(log, "w") as out:
                configured = (self.build / "build.ninja").exists() or subprocess.run(
                    ["cmake", "--preset", "release", "-DKELM_TESTS=ON", "-DKELM_TOOLS=OFF", "-DKELM_EXAMPLES=OFF"],
                    cwd=self.tree, env=environment, stdout=out, stderr=out).returncode == 0
                made = configured and subprocess.run(
                    ["cmake", "--build", "--preset", "release", "-j", str(self.options.jobs), "--target",
                     *self.programs, "--", "-k", "0"],
                    cwd=self.tree, env=environment, stdout=out, stderr=out).returncode == 0
            if made:
                return
            wrong = self.blamed(mutants, log.read_text(errors="replace"))
            if not wrong:
                sys.exit(f"does not build: {log}")
            say(f"{len(wrong)} do not compile")
            for number in wrong:
                del mutants[number]
        sys.exit(f"does not build: {log}")

    def blamed(self, mutants, log):
        def at(pattern):
            places = {(os.path.normpath(os.path.join(self.build, file)), int(line) - 2)
                      for file, line in re.findall(pattern, log, re.M)}
            return [n for n, m in mutants.items()
                    if any((f"{self.tree}/{m['file']}", line) in places
                           for line in range(m["line"], m["line"] + 1 + m["before"].count("\n") + 3))]

        def exactly(pattern):
            places = {(os.path.normpath(os.path.join(self.build, file)), int(line) - 2)
                      for file, line in re.findall(pattern, log, re.M)}
            return [n for n, m in mutants.items() if (f"{self.tree}/{m['file']}", m["line"]) in places]
        errors = r"^(\S+?):(\d+):\d+: (?:fatal )?error:"
        notes = r"^(\S+?):(\d+):\d+:\s+(?:required|note|in )"
        return exactly(errors) or at(errors) or exactly(notes)

    # --- Running ---------------------------------------------------------------------------------------------------------

    def run(self, program, tests, mutant, seconds, reached=None):
        """Whether all of the tests passed, and the seconds that they took."""
        environment = dict(os.environ, **SETTINGS, KELM_MUTANT=str(mutant), GTEST_FAIL_FAST="1", GTEST_BRIEF="1",
                           GTEST_FILTER=":".join(tests))
        if reached is not None:
            environment["KELM_MUTANTS_REACHED"] = str(reached)

        def limit():
            os.setsid()
            whole = int(seconds) + 1
            resource.setrlimit(resource.RLIMIT_CPU, (whole, whole + 1))
            resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
            resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        process = subprocess.Popen([self.build / "bin" / program], cwd=self.folder, env=environment, preexec_fn=limit,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL)
        deadline = time.monotonic() + 60 + 20 * seconds
        while True:
            pid, status, usage = os.wait4(process.pid, os.WNOHANG)
            if pid != 0:
                break
            if time.monotonic() > deadline:
                os.killpg(process.pid, signal.SIGKILL)
                _, status, usage = os.wait4(process.pid, 0)
                break
            time.sleep(0.002)
        process.returncode = status
        try:
            os.killpg(process.pid, signal.SIGKILL)  # what it has left behind
        except ProcessLookupError:
            pass
        return status == 0, usage.ru_utime + usage.ru_stime

    def list_tests(self, program):
        out = subprocess.run([self.build / "bin" / program, "--gtest_list_tests"], capture_output=True, text=True,
                             check=True).stdout
        tests, suite = [], ""
        for line in out.splitlines():
            name = line.split("#")[0].rstrip()
            if name and not name.startswith(" "):
                suite = name
            elif name.startswith("  "):
                tests.append(suite + name.strip())
        return [t for t in tests if "DISABLED_" not in t]

    def reach(self, program, test):
        path = self.folder / f"reached-{program}-{hashlib.sha256(test.encode()).hexdigest()[:16]}"
        path.write_bytes(bytes(1 << 16))
        passed, seconds = self.run(program, [test], 0, 300, path)
        reached = [i for i, byte in enumerate(path.read_bytes()) if byte]
        path.unlink()
        return [program, test, passed, seconds, reached]

    def reach_all(self):
        reached = []
        for program in self.programs:
            def reach_program():
                with ThreadPoolExecutor(self.options.jobs) as pool:
                    return list(pool.map(lambda test: self.reach(program, test), self.list_tests(program)))
            reached += self.kept("reached-" + program, [self.binaries[program], self.libraries, SETTINGS], reach_program)
        return reached

    def hash_what_runs(self):
        def hash_of(path):
            return hashlib.sha256(path.read_bytes()).hexdigest()[:16]
        self.binaries = {p: hash_of(self.build / "bin" / p) for p in self.programs}
        self.libraries = {p.name: hash_of(p) for p in sorted((self.build / "lib").glob("lib*.so"))}

    def try_mutant(self, number, covering):
        """The test program that noticed; or of each that did not, which it was, so that only others are tried later."""
        covering = sorted(covering, key=lambda item: item[2])
        spent = 0
        for limit in (0.5, 5, self.options.seconds):
            batch = {}
            while covering and (spent < limit or not batch):
                program, test, seconds = covering.pop(0)
                spent += seconds
                batch.setdefault(program, []).append((test, seconds))
            for program, tests in batch.items():
                if not self.run(program, [t for t, _ in tests], number, 1 + 4 * sum(s for _, s in tests))[0]:
                    return program
        return dict(self.binaries)


# What no test can notice, or what is of another processor.
LEFT_OUT = {
    "host/klUtils/text/private/PowersOfFive.h",  # runs at compile time
    "host/klUtils/text/private/NeonBlocks.h",
    "host/klUtils/text/private/WordBlocks.h",  # of processors without vectors
}


def read_kept():
    path = HERE / "kept.tsv"
    kept = {}
    for line in path.read_text().splitlines() if path.exists() else []:
        if line and not line.startswith("#"):
            *key, why = line.split("\t")
            kept[tuple(key)] = why
    return kept


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--group", choices=GROUPS, default="inside")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--count", type=int, default=1000)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--seconds", type=float, default=60, help="of tests for each mutant, those that take long left out")
    parser.add_argument("--programs", nargs="+", help="the tests to try them against, instead of all that there are")
    parser.add_argument("--only", default="", help="mutants whose file or function holds this")
    parser.add_argument("--again", action="store_true", help="try all survivors again, not only against tests that changed")
    options = parser.parse_args()

    sample = Sample(options)
    mutants = sample.choose()
    say(f"{len(mutants)} chosen by seed {options.seed}")
    sample.make(mutants)
    say(f"{len(mutants)} built")

    sample.hash_what_runs()
    reached = sample.reach_all()
    failing = [f"{program} {test}" for program, test, passed, _, _ in reached if not passed]
    if failing:
        say("left out, since they fail by themselves: " + ", ".join(failing))
    covering = {}
    for program, test, passed, seconds, numbers in reached:
        for number in numbers if passed else []:
            covering.setdefault(number, []).append((program, test, seconds))
    say(f"{len(reached)} tests, {sum(r[3] for r in reached):.0f} s, reach {len(covering)}")

    results_file = sample.folder / f"results-{options.seed}.json"
    results = json.loads(results_file.read_text()) if results_file.exists() else {}

    def key_of(m):
        return m["key"] + "\t" + m["body"]

    # What is left to try of a mutant: nothing once it was noticed, and no test program that did not notice before.
    def untried(number):
        result = results.get(key_of(mutants[number]), {})
        if isinstance(result, str):
            return []
        return [item for item in covering.get(number, [])
                if options.again or result.get(item[0]) != sample.binaries[item[0]]]

    wanted = [n for n, m in mutants.items() if options.only in m["file"] + " " + m["function"]]
    left = {n: untried(n) for n in wanted}
    todo = [n for n in wanted if left[n]]
    # The quick ones first.
    todo.sort(key=lambda n: sum(item[2] for item in left[n]))
    say(f"{len(todo)} to try")

    def attempt(number):
        return number, sample.try_mutant(number, left[number])
    done = 0
    with ThreadPoolExecutor(options.jobs) as pool:
        for number, result in pool.map(attempt, todo):
            key = key_of(mutants[number])
            results[key] = result if isinstance(result, str) else {**results.get(key, {}), **result}
            done += 1
            if done % 20 == 0:
                write_whole(results_file, results)
            if done % 100 == 0:
                say(f"{done} tried")
    write_whole(results_file, results)
    sys.exit(report(sample, mutants, wanted, covering, results, key_of, read_kept()))


def report(sample, mutants, wanted, covering, results, key_of, kept):
    rows = {"killed": [], "kept": [], "survived": [], "unreached": [], "at compile time": []}
    for n in wanted:
        m = mutants[n]
        if n not in covering:
            kind = "at compile time" if m["is_constexpr"] else "unreached"
        else:
            kind = "killed" if isinstance(results[key_of(m)], str) else "survived"
        if kind in ("survived", "unreached") and (m["file"], m["function"], m["before"], m["after"]) in kept:
            kind = "kept"
        rows[kind].append(m)
    with open(sample.folder / "report.tsv", "w") as out:
        for kind in ("survived", "unreached", "kept"):
            for m in sorted(rows[kind], key=lambda m: (m["file"], m["line"])):
                print(kind, m["file"], m["line"], m["function"], m["before"], m["after"], sep="\t", file=out)
    counted = sum(len(rows[k]) for k in ("killed", "kept", "survived", "unreached"))
    left = len(rows["survived"]) + len(rows["unreached"])
    print(f"{'file':50} {'tried':>6} {'killed':>6} {'survived':>8} {'unreached':>9} {'kept':>5}")
    for file in sorted({m["file"] for m in (mutants[n] for n in wanted)}):
        c = {k: sum(m["file"] == file for m in v) for k, v in rows.items()}
        tried = c["killed"] + c["survived"] + c["unreached"] + c["kept"]
        print(f"{file:50} {tried:6} {c['killed']:6} {c['survived']:8} {c['unreached']:9} {c['kept']:5}")
    print(f"{counted} mutants: {len(rows['killed'])} killed, {len(rows['kept'])} kept for a reason, "
          f"{len(rows['survived'])} survived, {len(rows['unreached'])} reached by no test "
          f"({100 * left / max(1, counted):.1f} %); {len(rows['at compile time'])} more run at compile time alone")
    print(f"The list: {sample.folder / 'report.tsv'}")
    return 1 if left > 0.05 * counted else 0


if __name__ == "__main__":
    main()
