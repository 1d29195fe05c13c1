"""The language server as editors meet it: whole conversations with `kelmscript lsp`."""

import json
import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

import protocol
from client import Client, uri_of

TOOL = os.environ["KELMSCRIPT"]
MODULE = os.environ["KELM_EXAMPLE_MODULE"]
TRAPS = os.environ["KELM_TRAPS_MODULE"]
DATA = pathlib.Path(os.environ["KELM_EXAMPLE_DATA"])
SCENE = "file:///scene.kds"
WHOLE_SCENE = {"textDocument": {"uri": SCENE}}


def started(*arguments, **params):
    client = Client([TOOL, "lsp", *arguments])
    client.start(**params)
    return client


def labels(result):
    return [item["label"] for item in sorted(result["items"], key=lambda item: item["sortText"])]


def applied(text, edits):
    """A text after edits; of ASCII, where units are octets."""
    lines = text.split("\n")
    starts = [0]
    for line in lines:
        starts.append(starts[-1] + len(line) + 1)

    def place(position):
        return starts[position["line"]] + position["character"]

    for edit in sorted(edits, key=lambda edit: -place(edit["range"]["start"])):
        text = text[: place(edit["range"]["start"])] + edit["newText"] + text[place(edit["range"]["end"]) :]
    return text


class Protocol(unittest.TestCase):
    """By which all that the server and its client send is looked at."""

    def test_refuses_what_it_does_not_know(self):
        place = {"line": 0, "character": 1}
        span = {"start": place, "end": place}
        for method, right, wrong in (
            ("shutdown", None, {}),
            ("textDocument/hover", {"contents": "a", "range": span}, {"contents": "a", "range": place}),
            ("textDocument/hover", {"contents": {"kind": "markdown", "value": ""}}, {"contents": {"kind": "bold", "value": ""}}),
            ("textDocument/definition", {"uri": "a", "range": span}, {"uri": "a"}),
            ("textDocument/inlayHint", [{"position": place, "label": "a", "kind": 2}], [{"position": place, "label": "a", "kind": 3}]),
            ("textDocument/formatting", [{"range": span, "newText": "a"}], [{"range": span, "newtext": "a"}]),
            ("textDocument/semanticTokens/full", {"data": [0, 1]}, {"data": [0, -1]}),
            ("textDocument/semanticTokens/full", {"data": [0, 1]}, {"data": [0, 1.5]}),
            ("textDocument/completion", {"isIncomplete": False, "items": []}, {"isIncomplete": 0, "items": []}),
            ("textDocument/signatureHelp", {"signatures": [{"label": "a", "parameters": [{"label": [0, 1]}]}]},
             {"signatures": [{"label": "a", "parameters": [{"label": [0]}]}]}),
            ("window/showMessage", {"type": 1, "message": "a"}, {"type": 9, "message": "a"}),
        ):
            with self.subTest(method=method, wrong=wrong):
                self.assertEqual(protocol.faults_of_sent(method, right), [])
                self.assertNotEqual(protocol.faults_of_sent(method, wrong), [])
        text = {"uri": "a"}
        for method, right, wrong in (
            ("initialize", {"processId": None, "rootUri": None, "capabilities": {}}, {"capabilities": {}}),
            ("textDocument/hover", {"textDocument": text, "position": place}, {"textDocument": text}),
            ("textDocument/foldingRange", {"textDocument": text}, {"textDocument": text, "position": place}),
            ("textDocument/rename", {"textDocument": text, "position": place, "newName": "a"},
             {"textDocument": text, "position": place, "newName": 1}),
            ("textDocument/didClose", {"textDocument": text}, {"textDocument": "a"}),
        ):
            with self.subTest(method=method, wrong=wrong):
                self.assertEqual(protocol.faults_of_asked(method, right), [])
                self.assertNotEqual(protocol.faults_of_asked(method, wrong), [])


class Lifecycle(unittest.TestCase):
    def test_ends_as_it_is_asked_to(self):
        with started() as client:
            self.assertEqual(client.stop(), 0)

    def test_ends_without_shutdown_as_a_failure(self):
        with started() as client:
            client.notify("exit")
            self.assertEqual(client.process.wait(60), 1)

    def test_ends_with_its_input(self):
        with started() as client:
            client.process.stdin.close()
            self.assertEqual(client.process.wait(60), 1)

    def test_answers_nothing_before_initialize(self):
        with Client([TOOL, "lsp"]) as client:
            self.assertEqual(client.fail("textDocument/hover")["code"], -32002)
            client.start()
            self.assertEqual(client.fail("initialize")["code"], -32600)
            client.ask("shutdown")
            self.assertEqual(client.fail("textDocument/hover")["code"], -32600)

    def test_says_what_it_can(self):
        with Client([TOOL, "lsp"]) as client:
            result = client.start()
            self.assertEqual(result["serverInfo"]["name"], "kelmscript")
            abilities = result["capabilities"]
            self.assertEqual(abilities["positionEncoding"], "utf-16")
            self.assertEqual(abilities["textDocumentSync"], {"openClose": True, "change": 2})
            for name in ("hover", "completion", "signatureHelp", "definition", "references", "documentSymbol",
                         "workspaceSymbol", "foldingRange", "semanticTokens", "inlayHint", "rename", "codeAction"):
                self.assertTrue(abilities[name + "Provider"], name)

    def test_passes_over_whatever_is_no_message(self):
        wrong = [
            (b"Content-Length: 3\r\n\r\n{]}", -32700),
            (b"Content-Length: 2\r\n\r\n[]", -32600),
            (b"Content-Length: 4\r\n\r\nnull", -32600),
            (b"Content-Length: 8\r\n\r\n{\"id\":1}", -32600),
            (b"Content-Length: 22\r\n\r\n{\"id\":1,\"method\":true}", -32600),
            (b"Content-Length: x\r\n\r\n", -32700),
            (b"nonsense\r\n\r\n", -32700),
            (b"Content-Length: 99999999999999999999\r\n\r\n", -32700),
        ]
        for octets, code in wrong:
            with self.subTest(octets=octets), started() as client:
                client.write(octets)
                while True:
                    message = client.read()
                    if "error" in message:
                        break
                self.assertEqual(message["error"]["code"], code)
                self.assertEqual(client.stop(), 0)

    def test_answers_what_stands_behind_a_body_of_unknown_length(self):
        with started() as client:
            client.write(b"Content-Length: abc\r\n\r\n" + json.dumps({"jsonrpc": "2.0", "id": 5}).encode())
            self.assertEqual(client.fail("textDocument/nothing")["code"], -32601)
            self.assertEqual(client.stop(), 0)

    def test_knows_headers_of_other_writings(self):
        with Client([TOOL, "lsp"]) as client:
            body = json.dumps({"jsonrpc": "2.0", "id": "one", "method": "shutdown"}).encode()
            client.write(b"content-type: x\ncontent-length:  %d \n\n" % len(body) + body)
            self.assertEqual(client.read()["id"], "one")

    def test_refuses_parameters_of_another_kind(self):
        with started() as client:
            client.open(SCENE, "garden.Plan {}")
            good = client.at(SCENE, 0, 1)
            for params in ([], {}, {"textDocument": 5}, {"textDocument": {"uri": 7}, "position": good["position"]},
                           {"textDocument": {"uri": "file:///other"}, "position": good["position"]},
                           {**good, "position": {"line": "0", "character": 0}},
                           {**good, "position": {"line": -1, "character": 0}},
                           {**good, "position": {"line": 1.5, "character": 0}}):
                with self.subTest(params=params):
                    self.assertEqual(client.fail("textDocument/hover", params)["code"], -32602)
            self.assertEqual(client.fail("textDocument/nothing")["code"], -32601)
            client.notify("textDocument/didChange", {"textDocument": 3}, is_right=False)
            client.notify("$/nothing", [1], is_right=False)
            client.send({"id": 99, "result": None}, is_right=False)  # of nothing that was asked
            huge = {"line": 2**63, "character": 2**64 - 1}
            asked = client.request("textDocument/hover", {**good, "position": huge}, is_right=False)
            self.assertIsNone(client.answer(asked)["result"])
            self.assertEqual(client.stop(), 0)

    def test_does_not_begin_what_is_cancelled(self):
        with started("--module", MODULE) as client:
            # All in one piece, so that the request waits when the cancellation comes.
            parts = []
            for message in (
                {"id": 500, "method": "workspace/symbol", "params": {"query": ""}},
                {"id": "a", "method": "textDocument/hover", "params": {}},
                {"method": "$/cancelRequest", "params": {"id": "a"}},
                {"method": "$/cancelRequest", "params": {"id": 500000}},
                {"method": "$/cancelRequest", "params": {}},
            ):
                body = json.dumps({"jsonrpc": "2.0", **message}).encode()
                parts.append(b"Content-Length: %d\r\n\r\n" % len(body) + body)
            client.write(b"".join(parts))
            self.assertEqual(client.answer("a")["error"]["code"], -32800)
            self.assertEqual(client.answer(500)["result"], [])
            self.assertEqual(client.stop(), 0)


class Texts(unittest.TestCase):
    def test_follows_changes_in_both_units(self):
        text = "garden.Plan {\n  title = \"\U0001F33B\" revision = 1\n}\n"
        for encoding, column in (("utf-16", 14), ("utf-8", 16)):
            with self.subTest(encoding=encoding), Client([TOOL, "lsp", "--module", MODULE]) as client:
                client.start(capabilities={"general": {"positionEncodings": [encoding]}})
                client.open(SCENE, text)
                self.assertEqual(client.diagnostics(SCENE, 1), [])
                hover = client.ask("textDocument/hover", client.at(SCENE, 1, column + 4))
                self.assertIn("int64 revision", hover["contents"]["value"])
                self.assertEqual(hover["range"]["start"], {"line": 1, "character": column + 1})
                where = {"line": 1, "character": column + 1}
                end = {"line": 1, "character": column + 9}
                client.change(SCENE, 2, {"range": {"start": where, "end": end}, "text": "reason"},
                              {"range": {"start": where, "end": where}, "text": "t"})
                found = client.diagnostics(SCENE, 2)
                self.assertEqual(len(found), 1)
                self.assertEqual(found[0]["range"]["start"], where)
                self.assertEqual(found[0]["range"]["end"]["character"], column + 8)
                self.assertIn("Unknown member 'treason' of class garden::Plan", found[0]["message"])
                client.change(SCENE, 3, {"text": "garden.Point {}"})
                self.assertEqual(client.diagnostics(SCENE, 3), [])

    def test_diagnoses_as_programs_read(self):
        with started("--module", MODULE) as client:
            for file in sorted(DATA.rglob("*.kds")):
                uri = uri_of(file)
                client.open(uri, file.read_bytes().decode("utf-8"))
                found = client.diagnostics(uri, 1)
                told = json.loads(subprocess.run([TOOL, "check", "--json", "--module", MODULE, file],
                                                 capture_output=True, text=True).stdout)
                self.assertEqual([f["message"].split("\n")[0] for f in found],
                                 [d["message"] for d in told["diagnostics"]], file)
                self.assertEqual([f["range"]["start"]["line"] + 1 for f in found],
                                 [d["line"] for d in told["diagnostics"]], file)
                client.notify("textDocument/didClose", {"textDocument": {"uri": uri}})
                self.assertEqual(client.diagnostics(uri, None), [])

    def test_says_that_a_text_is_too_long(self):
        with started("--module", MODULE) as client:
            client.open(SCENE, "garden.Plan { title = \"" + "a" * (16 << 20) + "\" }")
            self.assertIn("longer than 16 MiB", client.diagnostics(SCENE, 1)[0]["message"])
            self.assertEqual(client.fail("textDocument/hover", client.at(SCENE, 0, 1))["code"], -32803)
            self.assertEqual(client.ask("textDocument/foldingRange", WHOLE_SCENE), [])
            self.assertEqual(client.stop(), 0)


class Services(unittest.TestCase):
    TEXT = """garden.Plan {
    title = "Yard" // by the sea
    layers = [
        Layer { name = "Plants" levels = [BED, SHRUB] },
        ("Paths", [GROUND], 1, true)
    ]
    shapes = [
        garden.Shape { name = "Path" outline = Circle(2.5) position = (1, 2) },
        garden.Pond { name = "Pond" outline = polygon [(1, 2), (3, 4)] }
    ]
}
"""

    @classmethod
    def setUpClass(cls):
        cls.client = started("--module", MODULE)
        cls.client.open(SCENE, cls.TEXT)

    @classmethod
    def tearDownClass(cls):
        cls.client.stop()
        cls.client.__exit__()

    def place(self, before, behind=""):
        """Behind a text that is there once."""
        self.assertEqual(self.TEXT.count(before + behind), 1)
        offset = self.TEXT.index(before + behind) + len(before)
        line = self.TEXT.count("\n", 0, offset)
        return self.client.at(SCENE, line, offset - (self.TEXT.rfind("\n", 0, offset) + 1))

    def textAt(self, range):
        lines = self.TEXT.split("\n")
        self.assertEqual(range["start"]["line"], range["end"]["line"])
        return lines[range["start"]["line"]][range["start"]["character"] : range["end"]["character"]]

    def test_completes(self):
        result = self.client.ask("textDocument/completion", self.place("levels = [BE"))
        self.assertEqual(labels(result), ["GROUND", "BED", "SHRUB", "CANOPY"])
        edit = result["items"][0]["textEdit"]
        self.assertEqual(self.textAt(edit["range"]), "BED")
        self.assertEqual(edit["newText"], "GROUND")

    def test_tells(self):
        value = self.client.ask("textDocument/hover", self.place("    layer"))["contents"]["value"]
        self.assertEqual(value, "```cpp\nxvector<garden::Layer> layers = []\n```\n\nMember of `garden::Plan`.")

    def test_shows_signatures(self):
        help = self.client.ask("textDocument/signatureHelp", self.place("(\"Paths\", "))
        self.assertEqual(help["activeParameter"], 1)
        self.assertEqual(help["signatures"][0]["label"],
                         "Layer(xstring name, xvector<garden::Level> levels, float64 opacity, bool isVisible)")
        self.assertEqual(help["signatures"][0]["parameters"][1]["label"], "xvector<garden::Level> levels")

    def test_finds_definitions_and_references(self):
        location = self.client.ask("textDocument/definition", self.place("outline = Cir", "cle"))
        path = pathlib.Path(location["uri"].removeprefix("file://"))
        self.assertIn("Circle", path.read_text().split("\n")[location["range"]["start"]["line"]])
        # Of a member in the workspace's file that describes it.
        source = DATA.parent / "shapes" / "Garden.h"
        with started("--module", MODULE, rootUri=uri_of(DATA.parent.parent)) as client:
            client.open(SCENE, self.TEXT)
            for text, described in (("    title", "KELM_MODEL(title"), ("SHRUB", "KELM_VALUE(SHRUB"),
                                    ("garden.Plan", "")):
                location = client.ask("textDocument/definition", self.place(text))
                end = location["range"]["end"]
                line = source.read_text().split("\n")[end["line"]]
                self.assertEqual(location["uri"], uri_of(source))
                self.assertTrue(line[: end["character"]].endswith(described), line)
                self.assertEqual(line.startswith("KELM_CLASS(garden::Plan"), text != "SHRUB")
        found = self.client.ask("textDocument/references",
                                {**self.place("    title"), "context": {"includeDeclaration": False}})
        self.assertEqual([self.textAt(reference["range"]) for reference in found], ["title"])
        found = self.client.ask("textDocument/documentHighlight", self.place("Shape { na"))
        self.assertEqual([self.textAt(reference["range"]) for reference in found], ["name"])

    def test_outlines(self):
        def shown(symbols, depth=0):
            return [line for symbol in symbols for line in
                    ["  " * depth + symbol["name"] + " " + symbol.get("detail", "")] +
                    shown(symbol.get("children", []), depth + 1)]

        self.assertEqual([line.rstrip() for line in shown(self.client.ask("textDocument/documentSymbol", WHOLE_SCENE))],
                         ["garden.Plan", "  title \"Yard\"", "  layers",
                          "    [0] Layer \"Plants\"", "      name \"Plants\"", "      levels",
                          "    [1] garden::Layer \"Paths\"", "      name \"Paths\"", "      levels",
                          "      opacity 1", "      isVisible true",
                          "  shapes",
                          "    [0] garden.Shape \"Path\"", "      name \"Path\"",
                          "      outline Circle", "        radius 2.5",
                          "      position garden::Point", "        x 1", "        y 2",
                          "    [1] garden.Pond \"Pond\"", "      name \"Pond\"",
                          "      outline polygon",
                          "        [0] garden::Point", "          x 1", "          y 2",
                          "        [1] garden::Point", "          x 3", "          y 4"])
        symbols = self.client.ask("workspace/symbol", {"query": "pOnd"})
        self.assertEqual([symbol["name"] for symbol in symbols], ["[1] garden.Pond \"Pond\""])

    def test_folds(self):
        folds = self.client.ask("textDocument/foldingRange", WHOLE_SCENE)
        self.assertEqual([(fold["startLine"], fold["endLine"]) for fold in folds], [(0, 9), (2, 4), (6, 8)])

    def test_colours(self):
        data = self.client.ask("textDocument/semanticTokens/full", WHOLE_SCENE)["data"]
        kinds = ["namespace", "class", "property", "enumMember", "keyword", "number", "string", "comment"]
        lines = self.TEXT.split("\n")
        line = column = 0
        told = []
        for i in range(0, len(data), 5):
            column = data[i + 1] + (column if data[i] == 0 else 0)
            line += data[i]
            told.append((lines[line][column : column + data[i + 2]], kinds[data[i + 3]]))
        self.assertEqual(told[:12], [
            ("garden", "namespace"), ("Plan", "class"), ("title", "property"), ("\"Yard\"", "string"),
            ("// by the sea", "comment"), ("layers", "property"), ("Layer", "class"), ("name", "property"),
            ("\"Plants\"", "string"), ("levels", "property"), ("BED", "enumMember"), ("SHRUB", "enumMember")])
        self.assertIn(("true", "keyword"), told)
        self.assertIn(("polygon", "class"), told)

    def test_hints(self):
        whole = {"start": {"line": 4, "character": 0}, "end": {"line": 5, "character": 0}}
        hints = self.client.ask("textDocument/inlayHint", {"textDocument": {"uri": SCENE}, "range": whole})
        self.assertEqual([hint["label"] for hint in hints], ["name:", "levels:", "opacity:", "isVisible:"])
        self.assertEqual(hints[1]["position"], self.place("(\"Paths\", ")["position"])

    def test_renames(self):
        place = self.place("levels = [BE")
        self.assertEqual(self.client.ask("textDocument/prepareRename", place)["placeholder"], "BED")
        change = self.client.ask("textDocument/rename", {**place, "newName": "CANOPY"})
        self.assertEqual(applied(self.TEXT, change["changes"][SCENE]), self.TEXT.replace("[BED", "[CANOPY"))
        self.assertEqual(self.client.fail("textDocument/rename", {**place, "newName": "OTHER"})["message"],
                         "'OTHER' cannot stand here: there are GROUND, SHRUB and CANOPY")

    def test_formats(self):
        uri = "file:///unformatted.kds"
        text = "garden.Plan{title=\"a\"   revision=1\n\n\n// b\nformat = 2}\n"
        self.client.open(uri, text)
        asked = {"textDocument": {"uri": uri}, "options": {"tabSize": 2, "insertSpaces": True}}
        edits = self.client.ask("textDocument/formatting", asked)
        formatted = applied(text, edits)
        self.assertEqual("".join(formatted.split()), "".join(text.split()))
        self.assertIn("\n  // b\n", formatted)
        line = {"start": {"line": 4, "character": 0}, "end": {"line": 4, "character": 3}}
        ranged = applied(text, self.client.ask("textDocument/rangeFormatting", {**asked, "range": line}))
        self.assertEqual(ranged.split("\n")[0], text.split("\n")[0])
        self.client.change(uri, 2, {"text": "garden.Plan { ["})
        self.assertIsNone(self.client.ask("textDocument/formatting", asked))

    def test_formats_as_the_project_says(self):
        rows = [
            ("", "\n  revision = 1"),
            ('{"fmt": {"width": 80}}', "\n  revision = 1"),
            ('{"fmt": {"indent": 8}}', "\n        revision = 1"),
            ('{"fmt": {"width": 1000}}', " revision = 1 "),
            ('{"fmt": {"indent": 99}}', "kelm.json: \"indent\" is a number from 1 to 16"),
            ('{"fmt": {', "kelm.json: "),
        ]
        text = f'garden.Plan {{ title = "{"a" * 100}" revision = 1 }}\n'
        with tempfile.TemporaryDirectory() as folder:
            uri = pathlib.Path(folder, "sub", "a b.kds").as_uri()
            self.client.open(uri, text)
            asked = {"textDocument": {"uri": uri}, "options": {"tabSize": 2, "insertSpaces": True}}
            for settings, expected in rows:
                with self.subTest(settings=settings):
                    if settings:
                        pathlib.Path(folder, "kelm.json").write_text(settings)
                    number = self.client.request("textDocument/formatting", asked)
                    answer = self.client.answer(number)
                    told = answer["error"]["message"] if "error" in answer else applied(text, answer["result"])
                    self.assertIn(expected, told)

    def test_acts(self):
        place = self.place("position = (1")["position"]
        actions = self.client.ask("textDocument/codeAction", {"textDocument": {"uri": SCENE},
                                  "range": {"start": place, "end": place}, "context": {"diagnostics": []}})
        self.assertEqual([action["title"] for action in actions], ["Write the members' names"])
        self.assertEqual(applied(self.TEXT, actions[0]["edit"]["changes"][SCENE]),
                         self.TEXT.replace("position = (1, 2)", "position = { x = 1 y = 2 }"))


class Types(unittest.TestCase):
    def test_come_from_a_file(self):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "types.json")
            subprocess.run([TOOL, "types", "--module", MODULE, "--dump", file], check=True)
            for arguments, options in ((["--types", file], None), ([], {"types": file})):
                with self.subTest(arguments=arguments), started(*arguments, initializationOptions=options) as client:
                    client.open(SCENE, "garden.Point { x = 1 z = 2 }")
                    found = client.diagnostics(SCENE, 1)
                    self.assertEqual([f["message"].split("\n")[0] for f in found],
                                     ["Unknown member 'z' of class garden::Point"])
                    self.assertEqual(labels(client.ask("textDocument/completion", client.at(SCENE, 0, 14))), ["y", "x"])
                    self.assertEqual(client.stop(), 0)

    def test_come_from_settings(self):
        with started(initializationOptions={"modules": [MODULE]}) as client:
            client.open(SCENE, "garden.Point { x = 1.5.5 }")
            self.assertEqual(len(client.diagnostics(SCENE, 1)), 1)
            client.notify("workspace/didChangeConfiguration", {"settings": {"kelmscript": {"modules": []}}})
            self.assertEqual(client.ask("textDocument/completion", client.at(SCENE, 0, 14))["items"], [])

    def test_of_a_file_tell_of_values_too(self):
        with tempfile.TemporaryDirectory() as folder:
            file = os.path.join(folder, "types.json")
            subprocess.run([TOOL, "types", "--module", MODULE, "--dump", file], check=True)
            with started("--types", file, "--module", TRAPS) as client:
                client.open("file:///one.kds", "garden.Point { x = 1 y = \"no\" }")
                client.open("file:///two.kds", "trap.Good { x = 1.5 }")
                for uri, message in (("file:///one.kds", "Expected float64 when read \"no\""),
                                     ("file:///two.kds", "Expected int32 when read 1.5")):
                    while not (found := client.diagnostics(uri, 1)):  # until the modules are there
                        pass
                    self.assertEqual([f["message"] for f in found], [message])
                self.assertEqual(client.stop(), 0)
            with started("--types", file) as client:
                client.open(SCENE, "garden.Point { x = 1 y = \"no\" }")
                self.assertEqual([f["message"] for f in client.diagnostics(SCENE, 1)],
                                 ["Expected float64 when read \"no\""])
                hover = client.ask("textDocument/hover", client.at(SCENE, 0, 22))
                self.assertIn("garden::Metres y = 0.0", hover["contents"]["value"])
                # A file that names what is not there cannot be read by.
                catalogue = json.loads(pathlib.Path(file).read_text())
                catalogue["enums"] = []
                pathlib.Path(file).write_text(json.dumps(catalogue))
                client.notify("workspace/didChangeWatchedFiles", {"changes": []})
                self.assertIn("there is no type 'garden::", client.notification("window/showMessage")["message"])
                client.change(SCENE, 2, {"text": "garden.Point { y = \"no\" z = 1 }"})
                self.assertEqual([f["message"].split("\n")[0] for f in client.diagnostics(SCENE, 2)],
                                 ["Unknown member 'z' of class garden::Point"])
                self.assertEqual(client.stop(), 0)

    def test_that_cannot_be_had_are_told(self):
        for arguments, message in ((["--module", "/nothing/libNothing.so"], "cannot load module /nothing/libNothing.so"),
                                   (["--types", "/nothing.json"], "cannot read /nothing.json"), ([], "no types are known")):
            with self.subTest(arguments=arguments), started(*arguments) as client:
                self.assertIn(message, client.notification("window/showMessage")["message"])
                client.open(SCENE, "garden.Point { x = 1 } ]")
                self.assertEqual([f["message"] for f in client.diagnostics(SCENE, 1)], ["This bracket closes nothing"])
                self.assertEqual(client.stop(), 0)

    def test_of_a_module_that_is_built_anew_are_loaded_anew(self):
        name = os.path.basename(MODULE)
        for way in ("given", "in the environment", "in a folder of the environment"):
            with self.subTest(way=way), tempfile.TemporaryDirectory() as folder:
                self.load_anew(os.path.join(folder, name),
                               {"given": {}, "in the environment": {"KELMSCRIPT_MODULES": os.path.join(folder, name)},
                                "in a folder of the environment": {"KELMSCRIPT_MODULES": name,
                                                                   "KELMSCRIPT_MODULE_PATH": "/nothing:" + folder}}[way])

    def load_anew(self, module, environment):
        with Client([TOOL, "lsp", *([] if environment else ["--module", module])], environment) as client:
            client.start()
            client.notification("window/showMessage")
            client.open(SCENE, "garden.Point { z = 1 }")
            self.assertEqual(client.diagnostics(SCENE, 1), [])
            shutil.copy(MODULE, module + ".new")
            os.rename(module + ".new", module)
            client.notify("workspace/didChangeWatchedFiles", {"changes": []})
            self.assertEqual(len(client.diagnostics(SCENE, 1)), 1)
            self.assertEqual(client.stop(), 0)


class Modules(unittest.TestCase):
    """What modules do is no matter of the server's."""

    def started(self, trap="", errors=subprocess.DEVNULL, **options):
        client = Client([TOOL, "lsp", "--module", TRAPS], {"KELM_TRAP": trap}, errors)
        client.start(initializationOptions=options or None)
        return client

    def faults(self, client, version):
        """Of a wrong text: as long as the modules are not there, nothing is known to be wrong."""
        while True:
            if found := client.diagnostics(SCENE, version):
                return found

    def test_that_crash_at_a_text_are_started_anew(self):
        with self.started() as client:
            good, crash = "trap.Good { x = 1.5 }", "trap.Box { crashes = [{}, {}] }"
            for version, text in enumerate((good, crash, good, crash), 1):
                client.open(SCENE, text, version)
                found = self.faults(client, version)
                if text == crash:
                    self.assertIn("ended the process of the modules: signal 6", found[0]["message"])
                else:
                    self.assertEqual(found[0]["message"], "Expected int32 when read 1.5")
                self.assertEqual(labels(client.ask("textDocument/completion", client.at(SCENE, 0, len(text) - 1))),
                                 ["x" if text == good else "crashes"])
            self.assertEqual(client.stop(), 0)

    def test_read_another_text_of_the_same_version(self):
        with self.started() as client:
            for name in ("Crash", "Good"):
                client.open(SCENE, "trap." + name + " { x = 1.5 }")
                found = self.faults(client, 1)
                client.notify("textDocument/didClose", WHOLE_SCENE)
            self.assertEqual(found[0]["message"], "Expected int32 when read 1.5")
            self.assertEqual(client.stop(), 0)

    def test_that_never_come_back_are_ended(self):
        for name, limit, how in (("Hang", 0.3, "it took longer than 0.3 seconds"),
                                 ("Wait", 0.1, "it has waited for longer than 1.0 seconds")):
            with self.subTest(name=name), self.started(readingLimit=limit) as client:
                client.open(SCENE, "trap." + name + " { x = 1 }")
                self.assertIn(how, client.diagnostics(SCENE, 1)[0]["message"])
                self.assertEqual(labels(client.ask("textDocument/completion", client.at(SCENE, 0, 18))), ["x"])
                self.assertEqual(client.stop(), 0)

    def test_of_which_a_class_cannot_be_created_have_types(self):
        text = "trap.Good { x = 1.5 }\n"
        for trap, how in (("crash at birth", "signal 6, Aborted"), ("hang at birth", "it took longer than 0.3 seconds")):
            with self.subTest(trap=trap), self.started(trap, readingLimit=0.3) as client:
                client.open(SCENE, text)
                self.assertEqual(self.faults(client, 1)[0]["message"], "Expected int32 when read 1.5")
                client.open("file:///born.kds", text.replace("Good", "Born"))
                self.assertEqual(client.notification("window/showMessage")["message"],
                                 "what new objects of trap::Born hold is not known, as their creation ended the process "
                                 "that made them: " + how)
                for uri, declared in ((SCENE, "int32 x = 0"), ("file:///born.kds", "int32 x")):
                    hover = client.ask("textDocument/hover", client.at(uri, 0, 12))
                    self.assertEqual(hover["contents"]["value"].split("\n")[1], declared)
                self.assertEqual(client.stop(), 0)

    def test_that_are_no_longer_wanted_are_gone(self):
        with started(initializationOptions={"modules": [TRAPS]}) as client:
            client.open(SCENE, "trap.Hang { x = 1 }")
            self.assertEqual(labels(client.ask("textDocument/completion", client.at(SCENE, 0, 18))), ["x"])
            client.notify("workspace/didChangeConfiguration", {"settings": {"kelmscript": {"modules": []}}})
            client.open("file:///other.kds", "trap.Good { x = 1 ]")
            self.assertEqual(client.diagnostics("file:///other.kds", 1)[0]["message"], "This bracket closes nothing")
            self.assertEqual(client.stop(), 0)

    def test_that_speak_without_end_keep_nobody(self):
        with self.started("speak without end", subprocess.PIPE) as client:  # which nobody reads
            client.open(SCENE, "trap.Good { x = 1.5 }")
            self.assertEqual(client.diagnostics(SCENE, 1)[0]["message"], "Expected int32 when read 1.5")
            self.assertEqual(client.stop(), 0)

    def test_that_crash_or_hang_at_once_leave_the_server(self):
        for trap in ("crash", "hang"):
            with self.subTest(trap=trap), self.started(trap, readingLimit=0.3) as client:
                client.open(SCENE, "trap.Good { x = 1 ")
                self.assertEqual(client.ask("textDocument/hover", client.at(SCENE, 0, 7)), None)
                self.assertIn("the process of the modules has ended",
                              client.notification("window/showMessage")["message"])
                self.assertEqual(client.diagnostics(SCENE, 1)[0]["message"], "This bracket is not closed")
                self.assertEqual(client.stop(), 0)

    def test_that_speak_are_not_taken_for_messages(self):
        with self.started("speak") as client:
            client.open(SCENE, "trap.Good { y = 1 }")
            self.assertIn("Unknown member", client.diagnostics(SCENE, 1)[0]["message"])
            self.assertEqual(client.stop(), 0)


class Workspace(unittest.TestCase):
    def test_is_looked_through(self):
        with tempfile.TemporaryDirectory() as folder:
            (pathlib.Path(folder) / "deep").mkdir()
            (pathlib.Path(folder) / ".hidden").mkdir()
            for name in ("a.kds", "deep/b b.kds", ".hidden/c.kds", "d.txt"):
                (pathlib.Path(folder) / name).write_text("garden.Layer { name = \"one\" }")
            with started("--module", MODULE, rootUri=uri_of(folder)) as client:
                opened = uri_of(os.path.join(folder, "a.kds"))
                client.open(opened, "\ngarden.Layer { name = \"two\" }")
                found = client.ask("textDocument/references",
                                   {**client.at(opened, 1, 17), "context": {"includeDeclaration": False}})
                self.assertEqual([(f["uri"], f["range"]["start"]) for f in found],
                                 [(opened, {"line": 1, "character": 15}),
                                  (uri_of(os.path.join(folder, "deep/b b.kds")), {"line": 0, "character": 15})])
                symbols = client.ask("workspace/symbol", {"query": "layer"})
                self.assertEqual(len(symbols), 2)


if __name__ == "__main__":
    unittest.main()
