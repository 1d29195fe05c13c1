"""A client of the language server, as editors are: for the tests beside it."""

import json
import os
import pathlib
import select
import subprocess
import time

import protocol

LONGEST_WAIT = 60  # seconds until a test is given up


class Client:
    """Starts the server, and talks to it in frames."""

    def __init__(self, command, environment=None, errors=subprocess.DEVNULL):
        settings = {**os.environ, "KELMSCRIPT_MODULES": "", **(environment or {})}
        self.process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=errors, env=settings
        )
        self.octets = b""
        self.next_id = 0
        self.notifications = []
        self.answers = {}
        self.methods = {}  # of requests, by their ids

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        if self.process.stderr:
            self.process.stderr.close()

    # --- Frames

    def write(self, octets):
        self.process.stdin.write(octets)
        self.process.stdin.flush()

    def send(self, message, is_right=True):
        """What is right is one of the protocol."""
        faults = protocol.faults_of_asked(message["method"], message["params"]) if is_right else []
        if faults:
            raise AssertionError(f"{faults} of {message}")
        if "id" in message and "method" in message:
            self.methods[message["id"]] = message["method"]
        body = json.dumps({"jsonrpc": "2.0", **message}).encode()
        self.write(b"Content-Length: %d\r\n\r\n" % len(body) + body)

    def read(self):
        """The next message of the server, which must be one of the protocol; None at its end."""
        end = time.monotonic() + LONGEST_WAIT
        while True:
            head, found, rest = self.octets.partition(b"\r\n\r\n")
            if found:
                length = int(head.split(b":")[1])
                if len(rest) >= length:
                    self.octets = rest[length:]
                    message = json.loads(rest[:length])
                    faults = protocol.faults_of_message(message, self.methods)
                    if faults:
                        raise AssertionError(f"{faults} of {message}")
                    return message
            if not select.select([self.process.stdout], [], [], max(0, end - time.monotonic()))[0]:
                raise TimeoutError("the server says nothing")
            octets = os.read(self.process.stdout.fileno(), 1 << 16)
            if not octets:
                return None
            self.octets += octets

    # --- Messages

    def notify(self, method, params=None, is_right=True):
        self.send({"method": method, "params": params if params is not None else {}}, is_right)

    def request(self, method, params=None, is_right=True):
        """Sends a request; its id."""
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params if params is not None else {}}
        self.send(message, is_right)
        return self.next_id

    def take(self):
        """Reads one message, and keeps it for whoever asks for it."""
        message = self.read()
        if message is None:
            raise EOFError("the server has ended")
        if "method" in message:
            self.notifications.append(message)
        else:
            self.answers[message["id"]] = message

    def answer(self, number):
        """The whole answer to a request."""
        while number not in self.answers:
            self.take()
        return self.answers.pop(number)

    def ask(self, method, params=None):
        """The result of a request, which must have one."""
        answer = self.answer(self.request(method, params))
        if "error" in answer:
            raise AssertionError(f"{method}: {answer['error']}")
        return answer["result"]

    def fail(self, method, params=None):
        """The error of a request, which must have one, and may be wrong."""
        return self.answer(self.request(method, params, is_right=False))["error"]

    def notification(self, method, is_meant=lambda params: True):
        """The parameters of the next notification of that name."""
        while True:
            for index, message in enumerate(self.notifications):
                if message["method"] == method and is_meant(message["params"]):
                    del self.notifications[index]
                    return message["params"]
            self.take()

    # --- What editors do

    def start(self, **params):
        capabilities = {
            "textDocument": {
                "completion": {"completionItem": {"snippetSupport": True}},
                "documentSymbol": {"hierarchicalDocumentSymbolSupport": True},
            },
            **params.pop("capabilities", {}),
        }
        result = self.ask("initialize", {"processId": None, "rootUri": None, "capabilities": capabilities, **params})
        self.notify("initialized")
        return result

    def open(self, uri, text, version=1):
        self.notify(
            "textDocument/didOpen",
            {"textDocument": {"uri": uri, "languageId": "kds", "version": version, "text": text}},
        )

    def change(self, uri, version, *changes):
        self.notify(
            "textDocument/didChange",
            {"textDocument": {"uri": uri, "version": version}, "contentChanges": list(changes)},
        )

    def diagnostics(self, uri, version):
        return self.notification(
            "textDocument/publishDiagnostics",
            lambda params: params["uri"] == uri and params.get("version") == version,
        )["diagnostics"]

    def at(self, uri, line, character, **more):
        return {"textDocument": {"uri": uri}, "position": {"line": line, "character": character}, **more}

    def stop(self):
        """Ends the server as the protocol says; its exit code."""
        self.ask("shutdown")
        self.notify("exit")
        return self.process.wait(LONGEST_WAIT)


def uri_of(path):
    return pathlib.Path(path).resolve().as_uri()
