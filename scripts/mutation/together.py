"""A source with all its mutants in it. Every function begins with a switch that leads to the mutant
body whose number the environment names, so that a thousand mutants are built at once."""

import re

from mutation.mutants import code_of

# Put before every source. Functions that have to be inlined would multiply within each other.
PRELUDE = """\
#pragma once
#include <cstdlib>
#if __has_include(<QtCore/qglobal.h>)
#include <QtCore/qglobal.h>
#undef Q_ALWAYS_INLINE
#define Q_ALWAYS_INLINE inline
#endif
inline const int mutantNumber = std::getenv("MUTANT") ? std::atoi(std::getenv("MUTANT")) : 0;
"""
LINES = 1000  # a mutant's lines are counted from its number times this, so that errors tell it
FUNCTION = re.compile(r"\)\s*(?:const)?\s*(?:noexcept)?\s*(?::\s*\w+\(.*\)\s*)?$", re.DOTALL)
SPECIFIERS = {"inline", "static", "explicit", "public:", "private:", "protected:",
              "Q_ALWAYS_INLINE", "Q_NEVER_INLINE", "Q_DECL_HIDDEN"}


def matching_brace(code, begin):
    depth = 0
    for place in range(begin, len(code)):
        depth += {"{": 1, "}": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("a brace is not closed")


def functions(code):
    """Where the bodies of functions have their braces, and what stands before them."""
    begin = place = 0
    while place < len(code):
        if code[place] == "{" and FUNCTION.search(code[begin:place]):
            end = matching_brace(code, place)
            yield place, end, code[begin:place]
            place = end
        if code[place] in "{};":
            begin = place + 1
        place += 1


def returns_nothing(head):
    """Whether the function is a void one, a constructor or a destructor."""
    while (shorter := re.sub(r"<[^<>]*>", "", head)) != head:
        head = shorter
    words = [word for word in head.split("(")[0].split() if word not in SPECIFIERS]
    return len(words) == 1 or words[0] == "void"


def together(text, mutants, numbers):
    """The text with those of the mutants in it that lie within functions, and these."""
    code, parts, within, done = code_of(text), [], [], 0
    for begin, end, head in functions(code):
        own = [mutant for mutant in mutants if begin < mutant.start and mutant.end <= end]
        if not own or re.search(r"\bconstexpr\b", head):
            continue
        parts += [text[done:begin + 1], "\nswitch (mutantNumber) {"]
        for mutant in own:
            grown = len(mutant.replacement) - (mutant.end - mutant.start)
            body = mutant.applied_to(text)[begin + 1:end + grown]
            leave = "return;" if returns_nothing(head) else "std::abort();"
            number = numbers[mutant]
            parts.append(f"\n#line {number * LINES}\ncase {number}: {{{body}}} {leave}")
        line = text.count("\n", 0, begin) + 1
        parts.append(f"\n#line {line}\n}}")
        within += own
        done = begin + 1
    return "".join([*parts, text[done:]]), within
