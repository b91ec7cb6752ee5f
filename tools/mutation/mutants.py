"""Mutants of a C++ source: small changes that a test should notice, one at a time.

The sources are formatted by clang-format, which tells apart what bare patterns could not: a binary
operator stands between spaces, the brackets of template arguments do not, a unary operator stands
directly before its operand, and a statement begins behind a bracket, a semicolon or a label.
"""

import hashlib
import re
from collections import Counter
from typing import NamedTuple

SWAPS = {
    "<": "<=", "<=": "<", ">": ">=", ">=": ">", "==": "!=", "!=": "==", "&&": "||", "||": "&&",
    "+": "-", "-": "+", "*": "/", "/": "*", "%": "*", "+=": "-=", "-=": "+=", "<<": ">>",
    ">>": "<<", "&": "|", "|": "&",
}
OPPOSITES = {"<": ">", ">": "<", "<=": ">=", ">=": "<="}
SWAPPED = "|".join(re.escape(operator) for operator in sorted(SWAPS, key=len, reverse=True))
NO_CODE = re.compile(
    r"//[^\n]*|/\*.*?\*/|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])+'"
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|^[ \t]*template <[^;{]*?>$|\bstatic_assert\([^;]*;",
    re.DOTALL | re.MULTILINE)
NUMBER = re.compile(r"(?<![\w.'])(0x[\da-fA-F.]+(?:p[+-]?\d+)?|\d+(?:\.\d+)?(?:e[+-]?\d+)?)"
                    r"(?=[^\w.]|[FU]\b)")
EXPRESSION = re.compile(r"(?:delete |[*+(-]*[\w:]+(?:<[^;]*?>)?(?:\.|->|\(|\[|\+\+|--| [-+*|&]?= )"
                        r"|(?:\+\+|--)\w)")
UNARY = re.compile(r"(?<=[\s(\[{,])[!-](?=[\w(:*])")
# What is empty already, and what becomes so as a changed constant.
NOT_EMPTIED = {"0", "0.0", "N(0)", "{}", "nullptr", "false", "true"}
LOCK = re.compile(r"\blocker\((&\w+)\)|\bwriteLocker\((&\w+)\)")
DROPPED_LOCK = re.compile(r"const SequenceWriter writer\(sequence\)")


class Mutant(NamedTuple):
    path: str
    line: int
    start: int
    end: int
    replacement: str
    description: str  # tells its place by the code there: "if (count [== -> !=] 0)"

    def applied_to(self, text):
        return text[:self.start] + self.replacement + text[self.end:]

    def name(self, text):
        """The same for as long as the file stays as it is, so that results can be kept."""
        digest = hashlib.sha1(text.encode()).hexdigest()[:10]
        replacement = self.replacement.replace("\n", " ")
        return f"{self.path}:{self.line}:{self.start}:{replacement}:{digest}"


def code_of(text):
    """The text with everything that is no code blanked out, at the same places."""
    return NO_CODE.sub(lambda found: re.sub(r"\S", " ", found.group()), text)


def swapped_operators(code):
    for found in re.finditer(rf"(?<= )(?:{SWAPPED})(?=\s)", code):
        yield found.start(), found.end(), SWAPS[found.group()]
        if found.group() in OPPOSITES:
            yield found.start(), found.end(), OPPOSITES[found.group()]


def dropped_unary_operators(code):
    for found in UNARY.finditer(code):
        yield found.start(), found.end(), ""


def changed_constant(number):
    if re.search(r"\.|p|^[^x]*e", number):
        value = float.fromhex(number) if number.startswith("0x") else float(number)
        return f"(2 * {number})" if value else "1.0"
    return str(int(number, 0) + 1)


def changed_constants(code):
    for found in NUMBER.finditer(code):
        is_label = code.endswith("case ", 0, found.start())
        changed = "9" + found.group() if is_label else changed_constant(found.group())
        yield found.start(), found.end(), changed
    for found in re.finditer(r"\b(true|false)\b", code):
        opposite = "false" if found.group() == "true" else "true"
        yield found.start(), found.end(), opposite


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
            yield begin, end, ";"


def expression_at(code, begin):
    """The code up to the semicolon or the closing bracket that belongs to no bracket in it."""
    depth = 0
    for place in range(begin, len(code)):
        if depth == 0 and code[place] in ";)]}":
            return code[begin:place]
        depth += (code[place] in "([{") - (code[place] in ")]}")
    raise ValueError(f"no end of: {code[begin:begin + 80]}")


def outside_brackets(code):
    while (outer := re.sub(r"[(\[{][^()\[\]{}]*[)\]}]", "", code)) != code:
        code = outer
    return code


def emptied_returns(code):
    """A return without an answer behind a condition is not dropped: skipping the branch does."""
    for found in re.finditer(r"\breturn\b\s*", code):
        begin = found.end()
        answer = expression_at(code, begin)
        if answer and answer not in NOT_EMPTIED:
            yield begin, begin + len(answer), "{}"
        if not answer and not code[:found.start()].rstrip().endswith(")"):
            yield found.start(), begin + 1, ";"


def skipped_branches(code):
    """Conditions that never hold: the statement behind them is dropped."""
    for found in re.finditer(r"\b(?:if|while) \(", code):
        condition = expression_at(code, found.end())
        if "||" in outside_brackets(condition):
            bracketed = f"false && ({' '.join(condition.split())})"
            yield found.end(), found.end() + len(condition), bracketed
        else:
            yield found.end(), found.end(), "false && "


def removed_locks(code):
    for found in LOCK.finditer(code):
        group = 1 if found.group(1) else 2
        yield found.start(group), found.end(group), "nullptr"


def swapped_factor_and_offset(code):
    """But for the names in a declaration, which say nothing to the compiler."""
    for found in re.finditer(r"\bfactor\b(?!,\s+double offset\);)([^;{}]*?)\boffset\b", code):
        yield found.start(), found.end(), f"offset{found.group(1)}factor"


OPERATORS = [swapped_operators, dropped_unary_operators, changed_constants, dropped_statements,
             emptied_returns, skipped_branches, removed_locks, swapped_factor_and_offset]


def marked(text, start, end, replacement):
    """The code of the line or lines with the change in it."""
    begin, line_end = text.rfind("\n", 0, start) + 1, text.find("\n", end)
    change = f"[{text[start:end]} -> {replacement}]"
    return " ".join((text[begin:start] + change + text[end:line_end]).split())


def mutants_of(path, text):
    code = code_of(text)
    changes = sorted({change for operator in OPERATORS for change in operator(code)})
    mutants, seen = [], Counter()
    for start, end, replacement in changes:
        description = f"{path}: {marked(text, start, end, replacement)}"
        seen[description] += 1
        if seen[description] > 1:
            description += f" ({seen[description]})"
        line = text.count("\n", 0, start) + 1
        mutants.append(Mutant(path, line, start, end, replacement, description))
    return mutants
