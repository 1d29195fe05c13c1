"""Terminal pictures: pictures.py BIN LIB DATA OUT

Types into real terminals, with the tools of the folder BIN, the modules of LIB and a copy of the files of DATA, and draws
what comes as moving pictures, OUT/NAME.svg. Times are made up, so that the same session makes the same picture.
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile

import pexpect

COLUMNS = 96
A_KEY, AN_ENTER, A_COMPLETION, AN_ANSWER = 0.06, 0.4, 0.5, 1.6  # seconds
SHELL, PROMPT = "$ ", "kelm> "

# Each line is typed; a tab completes, and what follows it is typed behind.
PICTURES = {
    "tool": {
        "rows": 24,
        "command": ["bash", "--norc", "--noprofile"],
        "prompt": SHELL,
        "lines": [
            "kelmscript eval '(1.5 + 2.25) * 3.0' \"'Kelm' + 'Script'\"",
            "kelmscript check broken.kds",
            "kelmscript get garden.kds .shapes[0].name",
            "kelmscript set -i garden.kds '.shapes[0].name' '\"Oak\"' && diff old.kds garden.kds",
            "kelmscript each 'name' garden.kds --in .shapes --where 'position.x > 4'",
        ],
    },
    "prompt": {
        "rows": 20,
        "command": ["kelmscript", "repl", "--natural", "--data", "garden.kds"],
        "prompt": PROMPT,
        "lines": [
            "(2.5 + 3.5) / 4",
            "shapes[0].pos\t",
            "sum(shapes, s, s.position.x) / len(shapes)",
            'materials["gravel"].pri\t * 4',
            "shapes[0].nam",
            ":get .shapes[3].ou\t",
        ],
    },
}


class Session:
    """A terminal in which something runs, and a recording of it in the form asciicast 2."""

    def __init__(self, command, prompt, rows, folder, environment):
        self.prompt = prompt
        self.rows = rows
        self.now = 0.0
        self.events = []
        self.terminal = pexpect.spawn(
            command[0], command[1:], cwd=folder, env=environment, dimensions=(rows, COLUMNS), encoding="utf-8", timeout=20
        )
        self.terminal.delaybeforesend = None
        self.show(0.2, self.until_prompt())

    def until_prompt(self):
        self.terminal.expect_exact(self.prompt)
        return self.terminal.before + self.terminal.after

    def until_shown(self, key):
        self.terminal.expect_exact(key)
        return self.terminal.before + self.terminal.after

    def until_quiet(self):
        written = ""
        while True:
            try:
                written += self.terminal.read_nonblocking(65536, timeout=0.3)
            except pexpect.TIMEOUT:
                return written

    def show(self, pause, written):
        self.now += pause
        self.events.append([round(self.now, 3), "o", written])

    def type(self, line):
        for key in line:
            self.terminal.send(key)
            if key == "\t":
                self.show(A_COMPLETION, self.until_quiet())
            else:
                self.show(A_KEY, self.until_shown(key))
        self.terminal.send("\r")
        self.show(AN_ENTER, self.until_prompt())
        self.now += AN_ANSWER

    def write(self, path):
        with open(path, "w") as file:
            print(json.dumps({"version": 2, "width": COLUMNS, "height": self.rows}), file=file)
            for event in self.events:
                print(json.dumps(event), file=file)


def draw(name, picture, environment, data, out):
    with tempfile.TemporaryDirectory() as folder, tempfile.TemporaryDirectory() as home:
        for file in os.listdir(data):
            if file.endswith(".kds"):
                shutil.copy(os.path.join(data, file), folder)
        shutil.copy(os.path.join(data, "garden.kds"), os.path.join(folder, "old.kds"))
        session = Session(picture["command"], picture["prompt"], picture["rows"], folder, {**environment, "HOME": home})
        for line in picture["lines"]:
            session.type(line)
        recording = os.path.join(folder, "recording.cast")
        session.write(recording)
        subprocess.run(
            ["termtosvg", "render", recording, os.path.join(out, name + ".svg"), "-D", "4000", "-t", "window_frame"],
            check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
        )  # fmt: skip


def main(binaries, libraries, data, out):
    environment = {
        "PATH": binaries + ":/usr/bin:/bin",
        "TERM": "xterm-256color",
        "LANG": "C.UTF-8",
        "PS1": SHELL,
        "INPUTRC": "/dev/null",
        "KELMSCRIPT_MODULES": os.path.join(libraries, "libklExampleShapes.so"),
    }
    os.makedirs(out, exist_ok=True)
    for name, picture in PICTURES.items():
        draw(name, picture, environment, data, out)


main(*map(os.path.abspath, sys.argv[1:]))
