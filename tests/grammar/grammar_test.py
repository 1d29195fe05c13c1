"""Holds docs/grammar.ebnf against the parsers: the sentences that it draws are read, and to changed ones the parsers give
the grammar's own answer.

    grammar_test.py ANSWERS [CASES [SEED]]
"""

import collections
import pathlib
import random
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "site"))

import ebnf  # noqa: E402

# What a parser takes, and how much less than the grammar that is: the evaluator knows no names, the front door calls
# nothing but names and members, and the types of a path and of a data source decide what may stand there.
PARSERS = {
    "evaluator": ("expression", "operand ::= literal | built-in | '(' expression ')'"),
    "door": ("expression", """
        postfix ::= ( operand | name arguments ) ( '[' expression ']' | '.' Identifier arguments? )*"""),
    "path": ("path", """
        path ::= ( '.' 'list' '[' ( '+' | '-' )? Place ']' )* ( '.' ( 'name' | 'count' | 'list' ) )?
        Place ::= '0'+ | '0x' '0'+"""),
    "data-source": ("data-source", """
        data-source ::= 'Tree' class-body?
        class-body ::= named-body | '(' Bool ',' whole ',' number ',' String ',' kind ',' list ',' marks ',' either ')'
        named-body ::= '{' member* '}'
        member ::= 'flag' '=' Bool | 'count' '=' whole | 'weight' '=' number | 'name' '=' String | 'kind' '=' kind
                 | 'list' '=' list | 'marks' '=' marks | 'choice' '=' either
        whole ::= ( '+' | '-' )? Integer
        kind ::= 'LEAF' | 'TWIG' | '0' | '1'
        list ::= '[' ( tree ( ',' tree )* )? ']'
        tree ::= 'Tree'? class-body
        marks ::= '[' ( mark ( ',' mark )* )? ']'
        mark ::= String '->' whole
        either ::= 'float64' number | 'string' String"""),
}

SPACES = ["", "", "", " ", "\n", "\t", " /* one */ ", "// two\n", "\n# three\n"]
# Numbers stay small and names short: what is too large, or a function of a list, is no matter of the grammar.
MOST_REPEATS = {"Identifier": 1, "Integer": 3, "Float": 2, "Exponent": 1, "String": 4}
WORDS = re.compile(r"\w$")


def restrict(grammar, text):
    """The grammar with other rules in place of its own."""
    changed = dict(grammar)
    changed.update(ebnf.read_rules(text))
    return changed


# --- Tokens ---------------------------------------------------------------------------------------------------------


def regex(grammar, node):
    kind = node[0]
    if kind == "text":
        return re.escape(node[1])
    if kind == "set":
        return "[%s%s]" % ("^" if node[2] else "", re.escape(node[1]))
    if kind == "rule":
        return regex(grammar, grammar[node[1]])
    if kind == "repeat":
        return "(?:%s)%s" % (regex(grammar, node[1]), node[2])
    if kind == "sequence":
        return "".join(regex(grammar, part) for part in node[1])
    if kind == "choice":
        return "(?:%s)" % "|".join(regex(grammar, part) for part in node[1])
    raise ValueError(kind)


def literals(node):
    if node[0] == "text":
        yield node[1]
    for part in node[1:]:
        for each in part if isinstance(part, list) else [part]:
            if isinstance(each, tuple):
                yield from literals(each)


class Tokens:
    """The tokens of the whole grammar: the longest one that fits is read."""

    SPACE = re.compile(r"[ \t\r\n]+|//[^\n]*|/\*.*?\*/", re.DOTALL)
    LINE = re.compile(r"#[^\n]*")

    def __init__(self, grammar):
        used = {"Unused"}
        texts = set()
        for name, node in grammar.items():
            if not ebnf.is_token(name):
                used.update(filter(ebnf.is_token, ebnf.names_in(node)))
                texts.update(literals(node))
        self.rules = {}
        for name in used:
            branches = grammar[name][1] if grammar[name][0] == "choice" else [grammar[name]]
            self.rules[name] = [re.compile(regex(grammar, branch), re.DOTALL) for branch in branches]
        self.texts = sorted(texts, key=len, reverse=True)

    def read(self, text):
        """The text's tokens, or None where one is malformed."""
        tokens = []
        at = 0
        while at < len(text):
            space = self.SPACE.match(text, at)
            if space is None and (at == 0 or text[at - 1] == "\n"):
                space = self.LINE.match(text, at)
            if space is not None:
                at = space.end()
                continue
            matches = (branch.match(text, at) for rule in self.rules.values() for branch in rule)
            end = max([match.end() for match in matches if match] +
                      [at + len(fixed) for fixed in self.texts if text.startswith(fixed, at)] + [at])
            token = text[at:end]
            is_number = token[:1].isdigit() or (token[:1] == "." and len(token) > 1 and token[1].isdigit())
            if not token or text.startswith("/*", at) or (is_number and re.match(r"\w", text[end:])):
                return None
            tokens.append(token)
            at = end
        return tokens

    def fits(self, name, token):
        return any(branch.fullmatch(token) for branch in self.rules[name])


# --- Sentences ------------------------------------------------------------------------------------------------------


class Writer:
    """Draws sentences; what has become deep or long is ended soon."""

    def __init__(self, grammar, chance):
        self.grammar = grammar
        self.chance = chance
        self.depths = collections.defaultdict(lambda: 1000)
        for _ in grammar:
            for name, node in grammar.items():
                self.depths[name] = min(self.depths[name], 1 + self.depth(node))

    def depth(self, node):
        """How many rules deep the shortest sentence goes."""
        kind = node[0]
        if kind == "rule":
            return self.depths[node[1]]
        if kind == "choice":
            return min(map(self.depth, node[1]))
        if kind == "sequence":
            return max(map(self.depth, node[1]), default=0)
        if kind == "repeat":
            return self.depth(node[1]) if node[2] == "+" else 0
        return self.depth(node[1]) if kind == "but" else 0

    def tokens(self, node, room, most=2):
        kind = node[0]
        if kind == "text":
            self.left -= 1
            return [node[1]]
        if kind == "set":
            return [self.character(node)]
        if kind == "rule":
            name = node[1]
            inner = self.tokens(self.grammar[name], room - 1, MOST_REPEATS.get(name, most))
            return ["".join(inner)] if ebnf.is_token(name) else inner
        if kind == "choice":
            fitting = [part for part in node[1] if self.depth(part) <= room and self.left > 0]
            return self.tokens(self.chance.choice(fitting or [min(node[1], key=self.depth)]), room, most)
        if kind == "sequence":
            return [token for part in node[1] for token in self.tokens(part, room, most)]
        if kind == "repeat":
            least = 1 if node[2] == "+" else 0
            count = least
            tokens = [token for _ in range(least) for token in self.tokens(node[1], room, most)]
            while count < (1 if node[2] == "?" else most) and self.depth(node[1]) <= room and self.goes_on():
                count += 1
                tokens += self.tokens(node[1], room, most)
            return tokens
        while True:  # "but"
            tokens = self.tokens(node[1], room, most)
            if not any(re.fullmatch(regex(self.grammar, node[2]), token) for token in tokens):
                return tokens

    def goes_on(self):
        return self.left > 0 and self.chance.random() < 0.4

    def character(self, node):
        if not node[2]:
            return self.chance.choice(node[1])
        return self.chance.choice([c for c in "abc xyz 09#+/*[]().é'\"" if c not in node[1]])

    def sentence(self, start):
        self.left = self.chance.randrange(1, 25)
        return self.tokens(("rule", start), self.chance.randrange(20, 45))

    def spaced(self, tokens, reader):
        """The tokens as a text, with white space where they would run together."""
        text = ""
        for token in tokens:
            space = self.chance.choice(SPACES)
            if text and reader.read(text + space + token) != (reader.read(text) or []) + [token]:
                space = "\n"
            text += space + token
        return text + self.chance.choice(SPACES)


def change(tokens, pool, chance):
    """One token left out, doubled, replaced, put in, or two exchanged."""
    tokens = list(tokens)
    at = chance.randrange(len(tokens)) if tokens else 0
    kind = chance.randrange(5) if tokens else 3
    if kind == 0:
        del tokens[at]
    elif kind == 1:
        tokens.insert(at, tokens[at])
    elif kind == 2:
        tokens[at] = chance.choice(pool)
    elif kind == 3:
        tokens.insert(at, chance.choice(pool))
    else:
        other = chance.randrange(len(tokens))
        tokens[at], tokens[other] = tokens[other], tokens[at]
    return tokens


# --- Sentences told from others -------------------------------------------------------------------------------------


class Recogniser:
    """Says whether tokens are a sentence, by following every way through the grammar at once."""

    def __init__(self, grammar, reader):
        self.grammar = grammar
        self.reader = reader

    def is_sentence(self, start, tokens):
        self.text = tokens
        self.known = {}
        return len(tokens) in self.ends(("rule", start), 0)

    def ends(self, node, at):
        """Where what stands for a node can end that begins there."""
        key = (id(node) if node[0] != "rule" else node[1], at)
        if key not in self.known:
            self.known[key] = self.find_ends(node, at)
        return self.known[key]

    def find_ends(self, node, at):
        kind = node[0]
        if kind == "text":
            return {at + 1} if self.text[at:at + 1] == [node[1]] else set()
        if kind == "rule" and ebnf.is_token(node[1]):
            return {at + 1} if at < len(self.text) and self.reader.fits(node[1], self.text[at]) else set()
        if kind == "rule":
            return self.ends(self.grammar[node[1]], at)
        if kind == "choice":
            return set().union(*(self.ends(part, at) for part in node[1]))
        if kind == "but":
            return self.ends(node[1], at) - self.ends(node[2], at)
        if kind == "sequence":
            places = {at}
            for part in node[1]:
                places = set().union(*(self.ends(part, place) for place in places))
            return places
        reached = {at} if node[2] != "+" else set()
        fresh = {at}
        while fresh:
            fresh = set().union(*(self.ends(node[1], place) for place in fresh)) - reached
            reached |= fresh
            if node[2] == "?":
                break
        return reached


# --- Both -----------------------------------------------------------------------------------------------------------


def check(answers, parser, grammar, cases, chance):
    start, restriction = PARSERS[parser]
    restricted = restrict(grammar, restriction)
    reader = Tokens(restricted)
    writer = Writer(restricted, chance)
    recogniser = Recogniser(restricted, reader)
    pool = sorted(set(Tokens(grammar).texts)) + ["a", "b1", "true", "sin", "1", "2.5", "'c'", "--", "$", "1..2", "Tree"]
    texts = []
    expected = ""
    for number in range(cases):
        tokens = writer.sentence(start)
        if number % 2 == 1:
            for _ in range(chance.randrange(1, 3)):
                tokens = change(tokens, pool, chance)
        texts.append(writer.spaced(tokens, reader) if number % 4 != 3 else "".join(tokens))
        read = reader.read(texts[-1])
        expected += "y" if read is not None and recogniser.is_sentence(start, read) else "n"
    given = subprocess.run([answers, parser], input="\0".join(texts + [""]).encode(), stdout=subprocess.PIPE, check=True).stdout
    given = given.decode()
    failed = 0
    for text, right, answer in zip(texts, expected, given, strict=True):
        if answer not in (right, "?"):
            failed += 1
            if failed <= 5:
                print("%s: the grammar says %s, the parser %s: %r" % (parser, right, answer, text))
    counts = collections.Counter(zip(expected, given))
    print("%s: %d sentences, %d others; of %d the values are wrong; %d differ" % (
        parser, expected.count("y"), expected.count("n"), given.count("?"), failed))
    # A test that is never told anything would not fail either.
    return failed == 0 and min(counts["y", "y"], counts["n", "n"]) * 50 >= cases


def check_pages(grammar):
    """The rules that pages show are those of the file."""
    shown = set()
    for page in sorted((ROOT / "docs").glob("*.md")):
        for block in re.findall(r"^```ebnf\n(.*?)^```$", page.read_text(), flags=re.MULTILINE | re.DOTALL):
            for name, node in ebnf.read_rules(block).items():
                shown.add(name)
                if grammar.get(name) != node:
                    print("%s: the rule %s is another one in the grammar" % (page.name, name))
                    return False
    missing = set(grammar) - shown - {"Unused"}
    if missing:
        print("no page shows " + ", ".join(sorted(missing)))
    return not missing


def main():
    answers = sys.argv[1]
    cases = int(sys.argv[2]) if len(sys.argv) > 2 else 1000
    chance = random.Random(int(sys.argv[3]) if len(sys.argv) > 3 else 1)
    grammar = ebnf.read((ROOT / "docs" / "grammar.ebnf").read_text())
    passed = [check_pages(grammar)] + [check(answers, parser, grammar, cases, chance) for parser in PARSERS]
    return 0 if all(passed) else 1


if __name__ == "__main__":
    sys.exit(main())
