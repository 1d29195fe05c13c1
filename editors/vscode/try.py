"""Uses the extension as a person would: in a browser, in code-server with the extension installed, on a data source of
the examples. Fails where what is shown is not what should be; takes a picture.

try.py CODE_SERVER EXTENSION KELMSCRIPT MODULE DATA PICTURE: the folder of code-server, the .vsix, the tool, a library of
types, a data source of them, and where the picture goes.
"""

import json
import os
import pathlib
import shutil
import socket
import subprocess
import sys
import tempfile
import urllib.request

from selenium import webdriver
from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

LONGEST_WAIT = 60  # seconds until it is given up
SETTINGS = {
    "security.workspace.trust.enabled": False,
    "workbench.startupEditor": "none",
    "workbench.colorTheme": "Default Light Modern",
    "workbench.secondarySideBar.defaultVisibility": "hidden",
    "telemetry.telemetryLevel": "off",
    "extensions.autoCheckUpdates": False,
    "update.mode": "none",
    "editor.minimap.enabled": False,
    "editor.cursorBlinking": "solid",
    "editor.hover.delay": 100,
}


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


class Editor:
    """code-server, and a browser that shows it."""

    def __init__(self, code_server, extension, settings, folder, file):
        self.folder = folder
        data = folder / "data"
        (data / "User").mkdir(parents=True)
        (data / "User" / "settings.json").write_text(json.dumps({**SETTINGS, **settings}))
        command = ["node", code_server / "out/node/entry.js", "--user-data-dir", data, "--extensions-dir",
                   folder / "extensions", "--config", folder / "config.yaml"]
        self.log = open(folder / "log", "w+b")
        own = dict(env={**os.environ, "HOME": str(folder)}, stdout=self.log, stderr=self.log)
        (folder / "config.yaml").write_text("auth: none\n")
        subprocess.run([*command, "--install-extension", extension], check=True, **own)
        port = free_port()
        self.server = subprocess.Popen(
            [*command, "--auth", "none", "--disable-telemetry", "--disable-update-check", "--bind-addr",
             f"127.0.0.1:{port}", file.parent], **own)
        options = webdriver.ChromeOptions()
        for argument in ("headless=new", "no-sandbox", "disable-gpu", "window-size=1200,800", "force-device-scale-factor=1"):
            options.add_argument(f"--{argument}")
        self.browser = webdriver.Chrome(
            service=webdriver.chrome.service.Service("/usr/bin/chromedriver"), options=options)
        self.wait("the server", lambda: self.answers(port))
        self.browser.get(f"http://127.0.0.1:{port}/?folder={file.parent}&payload="
                         + json.dumps([["openFile", f"vscode-remote://127.0.0.1:{port}{file}"]]))

    def close(self):
        self.browser.quit()
        self.server.terminate()
        self.server.wait()

    def answers(self, port):
        try:
            return urllib.request.urlopen(f"http://127.0.0.1:{port}/healthz").status == 200
        except OSError:
            return False

    def wait(self, what, condition):
        WebDriverWait(self.browser, LONGEST_WAIT).until(lambda _: condition(), f"never came: {what}")

    def texts(self, selector):
        """What is shown in the elements of that kind, at once: they come and go."""
        script = "return [...document.querySelectorAll(arguments[0])].map(element => element.textContent)"
        return [text.replace("\u00a0", " ") for text in self.browser.execute_script(script, selector)]

    def press(self, *keys):
        actions = ActionChains(self.browser)
        for key in keys[:-1]:
            actions.key_down(key)
        actions.send_keys(keys[-1])
        for key in reversed(keys[:-1]):
            actions.key_up(key)
        actions.perform()

    def type(self, text):
        ActionChains(self.browser).send_keys(text).perform()

    def picture(self, name):
        self.browser.save_screenshot(str(name))


def go_to(editor, line, column):
    editor.press(Keys.CONTROL, "g")
    editor.wait("the box for a line", lambda: editor.texts(".quick-input-widget input") != [])
    editor.type(f"{line}:{column}" + Keys.ENTER)
    editor.wait(f"line {line}, column {column}",
                lambda: any(f"Ln {line}, Col {column}" in text for text in editor.texts(".statusbar-item")))


def use(editor, picture):
    def has(selector, text):
        return lambda: any(text in shown for shown in editor.texts(selector))

    editor.wait("the text", has(".view-line", "garden.Plan"))
    editor.browser.find_element(By.CSS_SELECTOR, ".view-lines").click()
    editor.wait("hints of the server", has(".view-line", "red:"))
    # What is completed, and what is wrong while it is typed.
    go_to(editor, 4, 1)
    editor.type(Keys.END + Keys.ENTER + "ga")
    editor.wait("completion", has(".suggest-widget .monaco-list-row", "gardener"))
    editor.type(Keys.ENTER)
    editor.wait("the completed member", has(".view-line", "gardener = "))
    editor.type('"nobody')
    editor.type(Keys.ESCAPE)
    editor.wait("an error under what is wrong", lambda: editor.browser.find_elements(By.CSS_SELECTOR, ".squiggly-error"))
    # What the error says, in the picture too.
    editor.press(Keys.F8)
    editor.wait("the error's message", has(".zone-widget", "when read"))
    editor.picture(picture)
    editor.type(Keys.ESCAPE)


def main():
    code_server, extension, tool, module, data, picture = (pathlib.Path(p).resolve() for p in sys.argv[1:])
    with tempfile.TemporaryDirectory(ignore_cleanup_errors=True) as name:
        folder = pathlib.Path(name)
        file = folder / "garden" / data.name
        file.parent.mkdir()
        shutil.copy(data, file)
        settings = {"kelmscript.server": str(tool), "kelmscript.modules": [str(module)]}
        editor = Editor(code_server, extension, settings, folder, file)
        try:
            use(editor, picture)
        except BaseException:
            editor.picture(picture.with_suffix(".failed.png"))
            print((folder / "log").read_text(), file=sys.stderr)
            raise
        finally:
            editor.close()


main()
