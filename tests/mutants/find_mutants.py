"""Finds what can be changed in a source: operators, constants, conditions and calls, one change a mutant.

A mutant is written into the source beside what it changes, and chosen at run time: `(KELM_MUTANT(17) ? a <= b : a < b)`.
So a thousand of them take one build. What is only evaluated at compile time never becomes the mutant, and is not counted.
"""

import bisect
import functools
import hashlib
import os
import re
from dataclasses import dataclass

from clang.cindex import Config, CursorKind, Index, SourceLocation, SourceRange, TokenKind, TranslationUnit, TypeKind

Config.set_library_file("/usr/lib/llvm-14/lib/libclang-14.so.1")


@dataclass
class Mutant:
    file: str
    begin: int  # places in the file's bytes
    end: int
    line: int
    function: str
    before: str
    after: str
    prefix: str  # what is written around the source, in which N stands for the mutant's number
    suffix: str
    is_constexpr: bool
    body: str  # a hash of the function's tokens


FUNCTIONS = {CursorKind.FUNCTION_DECL, CursorKind.CXX_METHOD, CursorKind.CONSTRUCTOR, CursorKind.DESTRUCTOR,
             CursorKind.FUNCTION_TEMPLATE, CursorKind.CONVERSION_FUNCTION}
CONSTANTS = {CursorKind.INTEGER_LITERAL, CursorKind.CHARACTER_LITERAL, CursorKind.CXX_BOOL_LITERAL_EXPR}
# What is not evaluated when a program runs.
UNEVALUATED = {CursorKind.STATIC_ASSERT, CursorKind.CXX_TYPEID_EXPR, CursorKind.ENUM_DECL, CursorKind.TYPE_ALIAS_DECL,
               CursorKind.TYPEDEF_DECL, CursorKind.FIELD_DECL, CursorKind.TYPE_REF, CursorKind.TEMPLATE_REF}

OTHER_RELATION = {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="}
OTHER_LOGICAL = {"&&": "||", "||": "&&"}
OTHER_ARITHMETIC = {"+": "-", "-": "+", "*": "+", "/": "*", "%": "/", "<<": ">>", ">>": "<<", "&": "|", "|": "&", "^": "|"}
OTHER_ASSIGNMENT = {op + "=": other + "=" for op, other in OTHER_ARITHMETIC.items()}
OTHER_STEP = {"++": "--", "--": "++"}

NUMBERS = {TypeKind.BOOL, TypeKind.CHAR_U, TypeKind.UCHAR, TypeKind.CHAR16, TypeKind.CHAR32, TypeKind.USHORT, TypeKind.UINT,
           TypeKind.ULONG, TypeKind.ULONGLONG, TypeKind.UINT128, TypeKind.CHAR_S, TypeKind.SCHAR, TypeKind.WCHAR,
           TypeKind.SHORT, TypeKind.INT, TypeKind.LONG, TypeKind.LONGLONG, TypeKind.INT128, TypeKind.FLOAT,
           TypeKind.DOUBLE, TypeKind.ENUM}
FLOATS = {TypeKind.FLOAT, TypeKind.DOUBLE}


real_path = functools.lru_cache(None)(os.path.realpath)


class Finder:
    """Of a source; of a header by itself, or where it needs what stands before, by the source that includes it."""

    def __init__(self, path, name, arguments, including=None):
        self.real_path = real_path(path)
        self.name = name
        with open(path, "rb") as f:
            self.text = f.read()
        arguments = ["-x", "c++", "-std=c++20", *arguments]
        # A header is looked at as an inclusion, since some are included by what they include.
        main, text = including or path, None
        if main.endswith(".h"):
            main = path + ".cpp"
            text = [(main, f'#include "{path}"\n')]
        self.unit = Index.create().parse(main, arguments, unsaved_files=text,
                                         options=TranslationUnit.PARSE_DETAILED_PROCESSING_RECORD)
        file = self.unit.get_file(path)
        whole = SourceRange.from_locations(SourceLocation.from_offset(self.unit, file, 0),
                                           SourceLocation.from_offset(self.unit, file, len(self.text)))
        self.errors = [d for d in self.unit.diagnostics if d.severity >= 3]
        self.macros = sorted((c.extent.start.offset, c.extent.end.offset) for c in self.unit.cursor.get_children()
                             if c.kind == CursorKind.MACRO_INSTANTIATION and self.is_here(c))
        self.tokens = [t for t in self.unit.get_tokens(extent=whole) if t.kind != TokenKind.COMMENT]
        self.starts = [t.extent.start.offset for t in self.tokens]
        self.found = []
        self.function = ""
        self.body = ""
        self.is_constexpr = False

    def find(self):
        for cursor in self.unit.cursor.get_children():
            if cursor.kind != CursorKind.MACRO_INSTANTIATION and self.is_here(cursor):
                self.declarations(cursor)
        return self.found

    def is_here(self, cursor):
        file = cursor.location.file
        return file is not None and real_path(file.name) == self.real_path

    def declarations(self, cursor):
        if cursor.kind in FUNCTIONS:
            self.body_of(cursor)
            return
        if cursor.kind in UNEVALUATED and cursor.kind != CursorKind.FIELD_DECL:
            return
        if not cursor.kind.is_expression():
            for child in cursor.get_children():
                self.declarations(child)

    def body_of(self, cursor):
        body = next((c for c in cursor.get_children() if c.kind == CursorKind.COMPOUND_STMT), None)
        if body is None:
            return
        before = self.function, self.body, self.is_constexpr
        parent = cursor.semantic_parent
        scope = parent.spelling + "::" if parent is not None and parent.spelling and parent.kind not in (
            CursorKind.NAMESPACE, CursorKind.TRANSLATION_UNIT) else ""
        self.function = scope + re.sub(r"<.*", "", cursor.spelling)
        whole = self.joined(cursor.extent.start.offset, cursor.extent.end.offset)
        self.body = hashlib.sha256(whole.encode()).hexdigest()[:12]
        head = [t.spelling for t in self.between(cursor.extent.start.offset, body.extent.start.offset)]
        self.is_constexpr = "constexpr" in head
        if "consteval" not in head:
            self.statement(body, None)
        self.function, self.body, self.is_constexpr = before

    # The tokens that begin in a range.
    def between(self, begin, end):
        return self.tokens[bisect.bisect_left(self.starts, begin):bisect.bisect_left(self.starts, end)]

    def joined(self, begin, end):
        return " ".join(t.spelling for t in self.between(begin, end))

    # Whether a range holds macros' names as a whole, or none at all.
    def is_plain(self, begin, end):
        if end <= begin or b"#" in self.text[begin:end]:
            return False
        return not any(b < begin < e or b < end < e or (b == begin and e >= end) for b, e in self.macros)

    def add(self, cursor, before, after, prefix, suffix):
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        if self.is_plain(begin, end):
            self.found.append(Mutant(self.name, begin, end, cursor.extent.start.line, self.function, before, after, prefix,
                                     suffix, self.is_constexpr, self.body))

    def instead(self, cursor, after):
        if any(c.kind == CursorKind.LAMBDA_EXPR for c in cursor.walk_preorder()):
            return
        before = self.joined(cursor.extent.start.offset, cursor.extent.end.offset)
        self.add(cursor, before, after, f"(KELM_MUTANT(N) ? ({after}) : (", "))")

    def statement(self, cursor, parent):
        kind = cursor.kind
        if kind in UNEVALUATED:
            return
        if kind == CursorKind.VAR_DECL and "constexpr" in [
                t.spelling for t in self.between(cursor.extent.start.offset, cursor.location.offset)]:
            return
        children = list(cursor.get_children())
        if kind == CursorKind.CASE_STMT:
            children = children[1:]
        elif kind in (CursorKind.IF_STMT, CursorKind.WHILE_STMT):
            if "constexpr" in [t.spelling for t in self.between(cursor.extent.start.offset, cursor.extent.end.offset)[:2]]:
                children = children[1:]
            elif children and self.is_whole_condition(children[0]):
                self.condition(children[0])
        elif kind == CursorKind.CONDITIONAL_OPERATOR:
            self.condition(children[0])
        elif kind == CursorKind.BINARY_OPERATOR and len(children) == 2:
            self.binary(cursor, *children)
        elif kind == CursorKind.COMPOUND_ASSIGNMENT_OPERATOR and len(children) == 2:
            self.binary(cursor, *children)
        elif kind == CursorKind.UNARY_OPERATOR and len(children) == 1:
            self.unary(cursor, children[0])
        elif kind in CONSTANTS:
            self.constant(cursor)
        elif kind == CursorKind.CALL_EXPR and parent is not None and parent.kind in (
                CursorKind.COMPOUND_STMT, CursorKind.IF_STMT):
            self.call(cursor, parent)
        for child in children:
            if not self.is_of_a_type(child, cursor):
                self.statement(child, cursor)

    # Template arguments and bounds of arrays.
    def is_of_a_type(self, child, parent):
        begin = child.extent.start.offset
        if parent.kind in (CursorKind.DECL_REF_EXPR, CursorKind.MEMBER_REF_EXPR):
            return begin >= parent.location.offset
        if parent.kind == CursorKind.VAR_DECL:
            if begin < parent.location.offset:
                return True
            return [t.spelling for t in self.between(parent.location.offset, begin)][1:2] == ["["]
        return parent.kind in (CursorKind.LAMBDA_EXPR, ) and child.kind != CursorKind.COMPOUND_STMT

    def is_whole_condition(self, cursor):
        if not cursor.kind.is_expression():
            return False
        i = bisect.bisect_left(self.starts, cursor.extent.start.offset)
        j = bisect.bisect_left(self.starts, cursor.extent.end.offset)
        return self.tokens[i - 1].spelling == "(" and self.tokens[j].spelling == ")" and \
            self.tokens[i - 2].spelling in ("if", "while")

    def condition(self, cursor):
        before = self.joined(cursor.extent.start.offset, cursor.extent.end.offset)
        self.add(cursor, before, f"! ( {before} )", "(static_cast<bool>(", ") != KELM_MUTANT(N))")

    def binary(self, cursor, left, right):
        between = [t.spelling for t in self.between(left.extent.end.offset, right.extent.start.offset)
                   if t.spelling not in "()"]
        if len(between) != 1:
            return
        operator = between[0]
        kinds = [c.type.get_canonical().kind for c in (left, right)]
        are_numbers = all(k in NUMBERS for k in kinds)
        is_dependent = any(k in (TypeKind.DEPENDENT, TypeKind.UNEXPOSED, TypeKind.INVALID) for k in kinds)
        whole = self.joined(cursor.extent.start.offset, cursor.extent.end.offset)
        if is_dependent and operator in OTHER_RELATION:
            self.instead(cursor, f"! ( {whole} )")
            return
        other = OTHER_RELATION.get(operator) or OTHER_LOGICAL.get(operator)
        if operator in OTHER_ARITHMETIC and (are_numbers or (operator in "+-" and kinds[0] == TypeKind.POINTER
                                                             and kinds[1] in NUMBERS)):
            other = OTHER_ARITHMETIC[operator]
        if operator in OTHER_ASSIGNMENT and (are_numbers or kinds[0] == TypeKind.POINTER):
            other = OTHER_ASSIGNMENT[operator]
        if other is None:
            return
        # The operator stands between the operands, in whatever parentheses.
        middle = self.joined(left.extent.end.offset, right.extent.start.offset)
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        changed = " ".join(filter(None, [
            self.joined(begin, left.extent.end.offset),
            middle.replace(operator, other) if middle == operator else
            " ".join(other if t == operator else t for t in middle.split(" ")),
            self.joined(right.extent.start.offset, end)]))
        self.instead(cursor, changed)

    def unary(self, cursor, operand):
        tokens = self.between(cursor.extent.start.offset, cursor.extent.end.offset)
        if len(tokens) < 2:
            return
        inner = self.joined(operand.extent.start.offset, operand.extent.end.offset)
        first, last = tokens[0].spelling, tokens[-1].spelling
        if first == "!":
            self.instead(cursor, f"static_cast < bool > ( {inner} )")
        elif first in ("-", "~") and operand.type.get_canonical().kind in NUMBERS:
            self.instead(cursor, f"+ ( {inner} )")
        elif first in OTHER_STEP:
            self.instead(cursor, f"{OTHER_STEP[first]} {inner}")
        elif last in OTHER_STEP:
            self.instead(cursor, f"{inner} {OTHER_STEP[last]}")

    def constant(self, cursor):
        tokens = self.between(cursor.extent.start.offset, cursor.extent.end.offset)
        if len(tokens) != 1:
            return
        text = tokens[0].spelling
        if cursor.kind == CursorKind.CXX_BOOL_LITERAL_EXPR:
            self.instead(cursor, "false" if text == "true" else "true")
        elif cursor.kind == CursorKind.CHARACTER_LITERAL:
            self.instead(cursor, f"static_cast < char > ( {text} + 1 )")
        else:
            self.instead(cursor, f"{text} + 1")

    def call(self, cursor, parent):
        begin, end = cursor.extent.start.offset, cursor.extent.end.offset
        if parent.kind == CursorKind.IF_STMT:
            condition = next(iter(parent.get_children()))
            if begin <= condition.extent.start.offset:
                return
        i = bisect.bisect_left(self.starts, end)
        if i >= len(self.tokens) or self.tokens[i].spelling != ";":
            return
        self.add(cursor, self.joined(begin, end), "(left out)", "(KELM_MUTANT(N) ? static_cast<void>(0) : static_cast<void>(",
                 "))")
