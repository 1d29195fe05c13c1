"""What the site has beside the pages of docs/: its first page, the way to the C++ reference, diagrams of the grammar, and a
search that needs no server."""

import json
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent))

import diagrams
import ebnf
from mkdocs.structure.files import File

ROOT = pathlib.Path(__file__).resolve().parent.parent
MADE = ROOT / "build" / "docs-made"

REFERENCE = """# C++ reference

<a href="reference/index.html">The reference</a> is made from the public headers: every class and function with what it means, what
it throws and when, and who owns what.
"""


def first_page():
    """The README, whose links are those of the repository."""
    text = (ROOT / "README.md").read_text()
    return re.sub(r"\]\(docs/", "](", text).replace("](CONTRIBUTING.md)", "](contributing.md)")


def on_files(files, config):
    pages = {"index.md": first_page(), "reference.md": REFERENCE, "contributing.md": (ROOT / "CONTRIBUTING.md").read_text()}
    MADE.mkdir(parents=True, exist_ok=True)
    for name, text in pages.items():
        (MADE / name).write_text(text)
        files.append(File(name, str(MADE), config["site_dir"], config["use_directory_urls"]))
    for asset in (ROOT / "site" / "assets").iterdir():
        files.append(File("assets/" + asset.name, str(MADE), config["site_dir"], config["use_directory_urls"]))
        (MADE / "assets").mkdir(exist_ok=True)
        (MADE / "assets" / asset.name).write_bytes(asset.read_bytes())
    return files


def with_diagrams(block):
    """A block of rules, and before it their diagrams."""
    figures = [diagrams.figure(name, node) for name, node in ebnf.read_rules(block[1]).items()]
    return "\n\n".join(figures) + "\n\n" + block[0]


def on_page_markdown(markdown, **_):
    """Behind a block's language stands how the tests take it, which is not for readers."""
    markdown = re.sub(r"^```ebnf\n(.*?)^```$", with_diagrams, markdown, flags=re.MULTILINE | re.DOTALL)
    return re.sub(r"^(```\w+) .*$", r"\1", markdown, flags=re.MULTILINE)


def on_post_build(config):
    """A page read from a disk may fetch nothing, but it may load a script."""
    site = pathlib.Path(config["site_dir"])
    (site / "404.html").unlink(missing_ok=True)  # is for servers
    folder = site / "search"
    index = json.loads((folder / "search_index.json").read_text())
    script = "var __search = { index: Promise.resolve(" + json.dumps(index, separators=(",", ":")) + ") };\n"
    (folder / "search_index.js").write_text(script)
