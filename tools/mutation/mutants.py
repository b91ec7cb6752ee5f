"""Mutants of a C++ source: small changes that a test should notice, one at a time.

The patterns rely on clang-format: a binary operator has spaces around it, the brackets of template
arguments do not, a unary operator touches its operand, and a statement follows a brace, a semicolon
or a label.
"""

import hashlib
import re
from collections import Counter, defaultdict
from pathlib import PurePath
from typing import NamedTuple

# The replacements of each binary operator.
SWAPS = {
    "<": ("<=", ">"), "<=": ("<", ">="), ">": (">=", "<"), ">=": (">", "<="), "==": ("!=",),
    "!=": ("==",), "&&": ("||",), "||": ("&&",), "+": ("-",), "-": ("+",), "*": ("/", "+"),
    "/": ("*",), "%": ("*",), "+=": ("-=",), "-=": ("+=",), "<<": (">>",), ">>": ("<<",),
    "&": ("|",), "|": ("&",),
}
SWAPPED = "|".join(re.escape(operator) for operator in sorted(SWAPS, key=len, reverse=True))
NO_CODE = re.compile(
    r"//[^\n]*|/\*.*?\*/|R\"(?P<mark>\w*)\(.*?\)(?P=mark)\""
    r"|\"(?:\\.|[^\"\\\n])*\"|'(?:\\.|[^'\\\n])+'"
    r"|^[ \t]*#(?:[^\n]*\\\n)*[^\n]*|^[ \t]*template <[^;{]*?>$|\bstatic_assert\([^;]*;",
    re.DOTALL | re.MULTILINE)
NUMBER = re.compile(r"(?<![\w.'])(0x[\da-fA-F.]+(?:p[+-]?\d+)?|\d+(?:\.\d+)?(?:e[+-]?\d+)?)"
                    r"(?=[^\w.]|[FU]\b)")
EXPRESSION = re.compile(r"(?:delete |[*+(-]*[\w:]+(?:<[^;]*?>)?(?:\.|->|\(|\[|\+\+|--| [-+*|&]?= )"
                        r"|(?:\+\+|--)\w)")
UNARY = re.compile(r"(?<=[\s(\[{,])[!-](?=[\w(:*])")
# Results that are empty already, or become so as a changed constant.
NOT_EMPTIED = re.compile(r"0|0\.0|N\(0\)|\{\}|nullptr|false|true|std::nullopt|[A-Z]\w*\(\)")
FIRST_ENUMERATOR = re.compile(r"\benum class (\w+)[^{;]*\{\s*(\w+)(?: = 0)?\s*[,}]")
LOCK = re.compile(r"\blocker\((&\w+)\)|\bwriteLocker\((&\w+)\)")
DROPPED_LOCK = re.compile(r"const SequenceWriter writer\(sequence\)")


class Mutant(NamedTuple):
    path: str
    line: int
    start: int
    end: int
    replacement: str
    description: str  # the change in its line of code: "if (count [== -> !=] 0)"

    def applied_to(self, text):
        return text[:self.start] + self.replacement + text[self.end:]

    def name(self, text):
        """A key for results, which is valid until the file changes."""
        digest = hashlib.sha1(text.encode()).hexdigest()[:10]
        replacement = self.replacement.replace("\n", " ")
        return f"{self.path}:{self.line}:{self.start}:{replacement}:{digest}"


def code_of(text):
    """The text with comments, strings and the like replaced by blanks of the same length."""
    return NO_CODE.sub(lambda found: re.sub(r"\S", " ", found.group()), text)


def swapped_operators(code):
    for found in re.finditer(rf"(?<= )(?:{SWAPPED})(?=\s)", code):
        for other in SWAPS[found.group()]:
            yield found.start(), found.end(), other


def dropped_unary_operators(code):
    for found in UNARY.finditer(code):
        yield found.start(), found.end(), ""


def changed_constant(number):
    if is_floating(number):
        value = float.fromhex(number) if number.startswith("0x") else float(number)
        return f"(2 * {number})" if value else "1.0"
    return str(int(number, 0) + 1)


def is_floating(number):
    return bool(re.search(r"\.|p|^[^x]*e", number))


def is_operand(code, found):
    """Whether there is a binary operator before or after it."""
    return bool(re.search(rf" (?:{SWAPPED}) $", code[:found.start()][-5:]) or
                re.match(rf" (?:{SWAPPED})\s", code[found.end():]))


def changed_constants(code):
    for found in NUMBER.finditer(code):
        number = found.group()
        is_label = code.endswith("case ", 0, found.start())
        yield found.start(), found.end(), "9" + number if is_label else changed_constant(number)
        if not is_floating(number) and int(number, 0) > 0 and is_operand(code, found):
            yield found.start(), found.end(), str(int(number, 0) - 1)
    for found in re.finditer(r"\b(true|false)\b", code):
        opposite = "false" if found.group() == "true" else "true"
        yield found.start(), found.end(), opposite


def statements(code):
    """The beginning and the end (after the semicolon) of each simple statement in a block."""
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
    """Whether a statement may begin after the brace at the place: not within a call."""
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
    """The code up to the semicolon or closing bracket that ends the expression."""
    depth = 0
    for place in range(begin, len(code)):
        if depth == 0 and code[place] in ";)]}":
            return code[begin:place]
        depth += (code[place] in "([{") - (code[place] in ")]}")
    raise ValueError(f"unterminated expression: {code[begin:begin + 80]}")


def outside_brackets(code):
    while (outer := re.sub(r"[(\[{][^()\[\]{}]*[)\]}]", "", code)) != code:
        code = outer
    return code


def empty_enumerators(texts):
    """The enumerators in the sources that equal {}."""
    return {"::".join(found.groups()) for text in texts
            for found in FIRST_ENUMERATOR.finditer(code_of(text))}


def emptied_returns(code):
    """A conditional return without a value is left alone: skipping the branch does the same."""
    for found in re.finditer(r"\breturn\b\s*", code):
        begin = found.end()
        value = expression_at(code, begin)
        if value and not NOT_EMPTIED.fullmatch(value):
            yield begin, begin + len(value), "{}"
        if not value and not code[:found.start()].rstrip().endswith(")"):
            yield found.start(), begin + 1, ";"


def skipped_branches(code):
    """Conditions that are never true."""
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
    """Not in declarations, where the names do not matter."""
    for found in re.finditer(r"\bfactor\b(?!,\s+double offset\);)([^;{}]*?)\boffset\b", code):
        yield found.start(), found.end(), f"offset{found.group(1)}factor"


OPERATORS = [swapped_operators, dropped_unary_operators, changed_constants, dropped_statements,
             emptied_returns, skipped_branches, removed_locks, swapped_factor_and_offset]


def marked(text, start, end, replacement):
    """The line or lines of code, with the change marked."""
    begin, line_end = text.rfind("\n", 0, start) + 1, text.find("\n", end)
    change = f"[{text[start:end]} -> {replacement}]"
    return " ".join((text[begin:start] + change + text[end:line_end]).split())


def mutants_of(path, text, empty=frozenset()):
    """The mutants of the source; enumerators that equal {} are not replaced by it."""
    code = code_of(text)
    changes = sorted({change for operator in OPERATORS for change in operator(code)
                      if change[2] != "{}" or code[change[0]:change[1]] not in empty})
    mutants, seen = [], Counter()
    for start, end, replacement in changes:
        description = f"{path}: {marked(text, start, end, replacement)}"
        seen[description] += 1
        if seen[description] > 1:
            description += f" ({seen[description]})"
        line = text.count("\n", 0, start) + 1
        mutants.append(Mutant(path, line, start, end, replacement, description))
    return mutants


SEED = 20


def spread(mutants):
    """The mutants in an order of which every beginning is a sample: each folder has its share, plus
    or minus one. Within a folder they are ordered by a hash of the description, so that changing
    one line does not change the rest of the sample, and a larger sample contains the smaller ones.
    """
    folders = defaultdict(list)
    for mutant in mutants:
        folders[PurePath(mutant.path).parent].append(mutant)
    ranked = []
    for own in folders.values():
        own.sort(key=lambda mutant: hashlib.sha1(f"{SEED} {mutant.description}".encode()).digest())
        ranked += (((place + 0.5) / len(own), mutant) for place, mutant in enumerate(own))
    return [mutant for _, mutant in sorted(ranked)]
