"""Mutants of a C++ source: small changes that a test should notice, one at a time.

The sources are formatted by clang-format, which tells apart what bare patterns could not: a binary
operator stands between spaces, the brackets of template arguments do not, and a statement begins
behind a bracket, a semicolon or a label.
"""

import hashlib
import re
from typing import NamedTuple

SWAPS = {
    "comparison": {"<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "=="},
    "logic": {"&&": "||", "||": "&&"},
    "arithmetic": {"+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=",
                   "<<": ">>", ">>": "<<", "&": "|", "|": "&"},
}
NO_CODE = re.compile(
    r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])+'"
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|^[ \t]*template <[^;{]*?>$|\bstatic_assert\([^;]*;",
    re.DOTALL | re.MULTILINE)
NUMBER = re.compile(r"(?<![\w.'])(0x[\da-fA-F.]+(?:p[+-]?\d+)?|\d+(?:\.\d+)?(?:e[+-]?\d+)?)"
                    r"(?=[^\w.]|[FU]\b)")
EXPRESSION = re.compile(r"(?:delete |[*+(-]*[\w:]+(?:<[^;]*?>)?(?:\.|->|\(|\[|\+\+|--| [-+*|&]?= )"
                        r"|(?:\+\+|--)\w)")
LOCK = re.compile(r"\blocker\((&\w+)\)|\bwriteLocker\((&\w+)\)")
DROPPED_LOCK = re.compile(r"const SequenceWriter writer\(sequence\)")


class Mutant(NamedTuple):
    path: str
    line: int
    kind: str
    start: int
    end: int
    replacement: str

    def applied_to(self, text):
        return text[:self.start] + self.replacement + text[self.end:]

    def name(self, text):
        """The same for as long as the file stays as it is, so that results can be kept."""
        digest = hashlib.sha1(text.encode()).hexdigest()[:10]
        return f"{self.path}:{self.line}:{self.start}:{self.replacement}:{digest}"

    def describe(self, text):
        before = " ".join(text[self.start:self.end].split())
        return f"{self.path}:{self.line}: {self.kind}: {before} -> {self.replacement or 'nothing'}"


def code_of(text):
    """The text with everything that is no code blanked out, at the same places."""
    return NO_CODE.sub(lambda found: re.sub(r"\S", " ", found.group()), text)


def swapped_operators(code):
    for kind, swaps in SWAPS.items():
        pattern = "|".join(re.escape(operator) for operator in swaps)
        for found in re.finditer(rf"(?<= )(?:{pattern})(?=\s)", code):
            yield kind, found.start(), found.end(), swaps[found.group()]


def changed_constant(number):
    if re.search(r"\.|p|^[^x]*e", number):
        value = float.fromhex(number) if number.startswith("0x") else float(number)
        return f"(2 * {number})" if value else "1.0"
    return str(int(number, 0) + 1)


def changed_constants(code):
    for found in NUMBER.finditer(code):
        is_label = code.endswith("case ", 0, found.start())
        changed = "9" + found.group() if is_label else changed_constant(found.group())
        yield "constant", found.start(), found.end(), changed
    for found in re.finditer(r"\b(true|false)\b", code):
        opposite = "false" if found.group() == "true" else "true"
        yield "constant", found.start(), found.end(), opposite


def statements(code):
    """Where the simple statements of all blocks begin and end, the semicolon included."""
    open_blocks, begin = [], 0
    for place, character in enumerate(code):
        if character in "({[":
            open_blocks.append((character, begin))
            begin = place + 1
        elif character in ")}]":
            bracket, outer = open_blocks.pop()
            begin = place + 1 if bracket == "{" and is_block_end(code, place) else outer
        elif character == ";":
            if open_blocks and open_blocks[-1][0] == "{":
                yield begin, place + 1
            begin = place + 1


def is_block_end(code, place):
    """Whether a statement may begin behind the brace at the place: none does within a call."""
    return code[place + 1:place + 2] in ("\n", " ", "")


def dropped_statements(code):
    for begin, end in statements(code):
        prefix = re.match(r"(?:\s|case [^:]*:|default:|else\b|(?:if|for|while) \(.*\)\n)*",
                          code[begin:end])
        begin += prefix.end()
        statement = code[begin:end]
        if EXPRESSION.match(statement) or DROPPED_LOCK.match(statement):
            kind = "lock" if DROPPED_LOCK.match(statement) else "statement"
            yield kind, begin, end, ";"


def skipped_branches(code):
    """Conditions that never hold: the statement behind them is dropped."""
    for found in re.finditer(r"\b(?:if|while) \(", code):
        yield "branch", found.end(), found.end(), "false && "


def removed_locks(code):
    for found in LOCK.finditer(code):
        group = 1 if found.group(1) else 2
        yield "lock", found.start(group), found.end(group), "nullptr"


def swapped_factor_and_offset(code):
    """But for the names in a declaration, which say nothing to the compiler."""
    for found in re.finditer(r"\bfactor\b(?!,\s+double offset\);)([^;{}]*?)\boffset\b", code):
        yield "factor and offset", found.start(), found.end(), f"offset{found.group(1)}factor"


OPERATORS = [swapped_operators, changed_constants, dropped_statements, skipped_branches,
             removed_locks, swapped_factor_and_offset]


def mutants_of(path, text):
    code = code_of(text)
    found = sorted({mutant for operator in OPERATORS for mutant in operator(code)},
                   key=lambda mutant: mutant[1:])
    return [Mutant(path, text.count("\n", 0, start) + 1, kind, start, end, replacement)
            for kind, start, end, replacement in found]
