"""The parts of the project, and the verdict on their tests."""

from typing import NamedTuple


class Part(NamedTuple):
    name: str
    folders: tuple
    sample: int  # the number of mutants to try by default; None: all
    enough: int  # percentage of the mutants that compile which tests must notice


PARTS = (
    Part("library", ("src/", "platform/"), None, 95),
    Part("program", ("monitor/",), 200, 92),
)


def problems(part, outcomes, reasons, whole):
    """The problems, apart from mutants that have not been tried. The percentage is only checked if
    the mutants represent the whole part."""
    built = [(mutant, noticed) for mutant, noticed in outcomes if noticed not in ("compiler", None)]
    killed = {mutant.description for mutant, noticed in built if noticed}
    yield from (f"survived without a reason: line {mutant.line} of {mutant.description}"
                for mutant, noticed in built if not noticed and mutant.description not in reasons)
    yield from (f"noticed despite its reason: {name}" for name in sorted(reasons & killed))
    if whole and 100 * len(killed) < part.enough * len(built):
        yield f"{part.name}: tests must notice {part.enough} % of the mutants that compile"


def stale(reasons, mutants):
    """The reasons for mutants that do not exist."""
    descriptions = {mutant.description for mutant in mutants}
    return [f"a reason without a mutant: {name}" for name in sorted(reasons - descriptions)]


def summary(part, outcomes, reasons):
    noticed_by = [noticed for _, noticed in outcomes]
    untried, refused = noticed_by.count(None), noticed_by.count("compiler")
    built = len(outcomes) - untried - refused
    killed = built - noticed_by.count("")
    too_long = sum(noticed.endswith("(too long)") for noticed in noticed_by if noticed)
    reasoned = sum(noticed == "" and mutant.description in reasons for mutant, noticed in outcomes)
    return (f"{part.name}: {len(outcomes)} mutants, {untried} not tried, {refused} do not compile;"
            f" tests noticed {killed} of the other {built} ({100 * killed / max(built, 1):.1f} %),"
            f" {too_long} of them by taking too long; {reasoned} survivors have a reason")


def verdict(part, outcomes, reasons, whole):
    """The lines to print, and whether all is well. The outcomes are pairs of a mutant and who
    noticed it."""
    wrong = list(problems(part, outcomes, reasons, whole))
    all_tried = all(noticed is not None for _, noticed in outcomes)
    return [*wrong, summary(part, outcomes, reasons)], all_tried and not wrong
