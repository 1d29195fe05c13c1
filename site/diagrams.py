"""Railroad diagrams of a grammar's rules, as SVG that takes its colours from the page."""

import io

import ebnf
import railroad

MOST_IN_A_ROW = 7


TOKENS_PAGE = "language.html"


def _named(name):
    page = TOKENS_PAGE if ebnf.is_token(name) else ""
    return railroad.NonTerminal(name, href=page + "#rule-" + name)


def _shown(text):
    return text.replace("\n", "end of line")


def _set(node):
    characters, is_negated = node[1], node[2]
    ranges = []
    for character in characters:
        if ranges and ord(character) == ord(ranges[-1][-1]) + 1:
            ranges[-1] += character
        else:
            ranges.append(character)
    shown = [run if len(run) < 3 else run[0] + "-" + run[-1] for run in ranges]
    return railroad.NonTerminal(("none of " if is_negated else "one of ") + " ".join(map(_shown, shown)))


def _item(node):
    kind = node[0]
    if kind == "text":
        return railroad.Terminal(node[1])
    if kind == "rule":
        return _named(node[1])
    if kind == "set":
        return _set(node)
    if kind == "choice":
        items = [_item(part) for part in node[1]]
        if len(items) <= MOST_IN_A_ROW:
            return railroad.Choice(0, *items)
        rows = [items[at:at + MOST_IN_A_ROW] for at in range(0, len(items), MOST_IN_A_ROW)]
        return railroad.HorizontalChoice(*(railroad.Choice(0, *row) for row in rows))
    if kind == "sequence":
        return railroad.Sequence(*map(_item, node[1])) if node[1] else railroad.Skip()
    if kind == "but":
        return railroad.Sequence(_item(node[1]), railroad.Comment("but no " + " or ".join(ebnf.names_in(node[2]))))
    repeat = {"*": railroad.ZeroOrMore, "+": railroad.OneOrMore, "?": railroad.Optional}[node[2]]
    return repeat(_item(node[1]))


def figure(name, node):
    """A rule's name and its diagram, as HTML."""
    svg = io.StringIO()
    railroad.Diagram(_item(node), css=None).writeSvg(svg.write)
    drawing = svg.getvalue().replace("\n", "")
    return '<figure class="rule" id="rule-%s"><figcaption>%s</figcaption>%s</figure>' % (name, name, drawing)
