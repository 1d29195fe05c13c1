"""Grammars in the notation of the W3C's recommendations (https://www.w3.org/TR/xml/#sec-notation): reading them.

A grammar is a dictionary from a rule's name to what it stands for:

    ("sequence", [node...])      ("choice", [node...])     ("repeat", node, "*" or "+" or "?")
    ("text", characters)         ("set", characters, isNegated)
    ("rule", name)               ("but", node, node)       the first where it is not the second
"""

import re

_TOKEN = re.compile(
    r"""\s+|/\*.*?\*/
      |(?P<name>[A-Za-z][\w-]*)(?P<begins>\s*::=)?
      |'(?P<single>[^']*)'|"(?P<double>[^"]*)"
      |\[(?P<negated>\^?)(?P<set>[^\]]+)\]
      |(?P<sign>[()|*+?-])""",
    re.VERBOSE | re.DOTALL)


def _tokens(text):
    at = 0
    while at < len(text):
        match = _TOKEN.match(text, at)
        if match is None:
            raise ValueError("line %d: what is this? %s" % (text.count("\n", 0, at) + 1, text[at:at + 20]))
        at = match.end()
        if match["begins"] is not None:
            yield "begin", match["name"]
        elif match["name"] is not None:
            yield "rule", match["name"]
        elif match["single"] is not None:
            yield "text", match["single"]
        elif match["double"] is not None:
            yield "text", match["double"]
        elif match["set"] is not None:
            yield "set", (match["set"], bool(match["negated"]))
        elif match["sign"] is not None:
            yield "sign", match["sign"]
    yield "end", None


def _characters(text):
    """What stands in the brackets of a set: characters, ranges, and code points such as #xA."""
    text = re.sub(r"#x([0-9A-Fa-f]+)", lambda code: chr(int(code[1], 16)), text)
    return re.sub(r"(.)-(.)", lambda ends: "".join(map(chr, range(ord(ends[1]), ord(ends[2]) + 1))), text, flags=re.DOTALL)


class _Reader:
    def __init__(self, text):
        self._tokens = list(_tokens(text))
        self._at = 0

    def _is(self, kind, value=None):
        token = self._tokens[self._at]
        return token[0] == kind and (value is None or token[1] == value)

    def _take(self):
        self._at += 1
        return self._tokens[self._at - 1]

    def grammar(self):
        rules = {}
        while not self._is("end"):
            kind, name = self._take()
            if kind != "begin" or name in rules:
                raise ValueError("expected a new rule, not %s" % (name,))
            rules[name] = self._choice()
        return rules

    def _choice(self):
        branches = [self._but()]
        while self._is("sign", "|"):
            self._take()
            branches.append(self._but())
        return branches[0] if len(branches) == 1 else ("choice", branches)

    def _but(self):
        node = self._sequence()
        if not self._is("sign", "-"):
            return node
        self._take()
        return ("but", node, self._sequence())

    def _sequence(self):
        nodes = []
        while self._is("rule") or self._is("text") or self._is("set") or self._is("sign", "("):
            nodes.append(self._repeated())
        return nodes[0] if len(nodes) == 1 else ("sequence", nodes)

    def _repeated(self):
        node = self._single()
        while any(self._is("sign", sign) for sign in "*+?"):
            node = ("repeat", node, self._take()[1])
        return node

    def _single(self):
        kind, value = self._take()
        if kind == "set":
            return ("set", _characters(value[0]), value[1])
        if kind in ("rule", "text"):
            return (kind, value)
        node = self._choice()
        if self._take() != ("sign", ")"):
            raise ValueError("expected )")
        return node


def read_rules(text):
    """Rules, which may name others that are not among them."""
    return _Reader(text).grammar()


def read(text):
    """The grammar that a text describes."""
    rules = read_rules(text)
    for name, node in rules.items():
        for other in names_in(node):
            if other not in rules:
                raise ValueError("%s: there is no rule %s" % (name, other))
    return rules


def names_in(node):
    """The rules that a node names."""
    if node[0] == "rule":
        yield node[1]
    for part in node[1:]:
        if isinstance(part, tuple):
            yield from names_in(part)
        elif isinstance(part, list):
            for each in part:
                yield from names_in(each)


def is_token(name):
    """Tokens' rules have a capital."""
    return name[0].isupper()
