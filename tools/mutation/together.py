"""Writes nearly all mutants of a source into one source, so that thousands are built at once. Each
function begins with a switch over the number in the environment variable MUTANT, whose cases are
the mutated bodies. Initial values become conditional expressions."""

import re

from mutants import NUMBER, code_of

# Included before every source. Forced inlining would copy the mutants of a function into each
# caller.
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
LINES = 1000  # line numbers of a mutant begin at its number times this, so errors identify it
FUNCTION = re.compile(r"\)\s*(?:const)?\s*(?:noexcept)?\s*(?:override|final)?\s*"
                      r"(?::\s*\w+\(.*\)\s*)?$", re.DOTALL)
LAMBDA = re.compile(r"\[[^\[\]]*\]\s*\([^()]*\)\s*$")
CONSTANT = re.compile(rf"{NUMBER.pattern}|\b(?:true|false)\b")
FOR_COMPILERS = re.compile(r"\b(?:constexpr|enum|template|static_assert)\b")
SPECIFIERS = {"inline", "static", "explicit", "public:", "private:", "protected:",
              "virtual", "friend", "Q_ALWAYS_INLINE", "Q_NEVER_INLINE", "Q_DECL_HIDDEN"}


def matching_brace(code, begin):
    depth = 0
    for place in range(begin, len(code)):
        depth += {"{": 1, "}": -1}.get(code[place], 0)
        if depth == 0:
            return place
    raise ValueError("unclosed brace")


def functions(code):
    """The places of the braces of each function body, and the code before it."""
    begin = place = 0
    while place < len(code):
        if code[place] == "{" and FUNCTION.search(code[begin:place]):
            end = matching_brace(code, place)
            yield place, end, code[begin:place]
            place = end
        if code[place] in "{};":
            begin = place + 1
        place += 1


def without_template_arguments(code):
    """Keeps arguments whose bracket is not closed."""
    while (shorter := re.sub(r"(?<=\w)<[^<>]*>", "", code)) != code:
        code = shorter
    return code


def returns_nothing(head, body):
    """Whether it is a void function, a constructor, a destructor or a lambda without a result."""
    if LAMBDA.search(head):
        return not re.search(r"\breturn\s+[^\s;]", body)
    head = without_template_arguments(head)
    words = [word for word in head.split("(")[0].split() if word not in SPECIFIERS]
    return len(words) == 1 or words[0] == "void"


def initial_values(text, code, mutants, bodies):
    """The mutants of constants outside functions that need not be known at compile time: initial
    values of members and entries of tables."""
    for mutant in mutants:
        before = code[:mutant.start]
        statement = before[before.rfind(";") + 1:]
        is_argument = re.search(r"\w<", without_template_arguments(statement))
        if (CONSTANT.match(text, mutant.start) and not is_argument
                and not FOR_COMPILERS.search(statement)
                and not any(begin < mutant.start < end for begin, end in bodies)):
            yield mutant


def together(text, mutants, numbers):
    """The text that contains all mutants within functions and of initial values, and the lists of
    the two kinds."""
    code, changes, within, bodies = code_of(text), [], [], []

    def line_of(place):
        return text.count("\n", 0, place) + 1

    for begin, end, head in functions(code):
        bodies.append((begin, end))
        own = [mutant for mutant in mutants if begin < mutant.start and mutant.end <= end]
        if not own or re.search(r"\bconstexpr\b", head):
            continue
        cases = []
        for mutant in own:
            grown = len(mutant.replacement) - (mutant.end - mutant.start)
            body = mutant.applied_to(text)[begin + 1:end + grown]
            leave = "return;" if returns_nothing(head, code[begin:end]) else "std::abort();"
            number = numbers[mutant]
            cases.append(f"\n#line {number * LINES}\ncase {number}: {{{body}}} {leave}")
        switch = "".join(["\nswitch (mutantNumber) {", *cases, f"\n#line {line_of(begin)}\n}}"])
        changes.append((begin + 1, begin + 1, switch))
        within += own
    initial = list(initial_values(text, code, mutants, bodies))
    for mutant in initial:
        number, value = numbers[mutant], text[mutant.start:mutant.end]
        changes.append((mutant.start, mutant.end,
                        f"\n#line {number * LINES}\n"
                        f"(mutantNumber == {number} ? {mutant.replacement} : {value})"
                        f"\n#line {line_of(mutant.end)}\n"))
    parts, done = [], 0
    for begin, end, change in sorted(changes):
        parts += [text[done:begin], change]
        done = end
    return "".join([*parts, text[done:]]), within, initial
