"""What the outcomes of the mutants say of the tests."""

ENOUGH = 95  # per cent of the mutants that compile


def complaints(outcomes, reasons, whole):
    """What is wrong, the mutants not yet tried aside. Of a part, the share noticed says little."""
    built = [(mutant, noticed) for mutant, noticed in outcomes if noticed not in ("compiler", None)]
    descriptions = {mutant.description for mutant, _ in outcomes}
    killed = {mutant.description for mutant, noticed in built if noticed}
    yield from (f"no reason: line {mutant.line} of {mutant.description}"
                for mutant, noticed in built if not noticed and mutant.description not in reasons)
    yield from (f"noticed, for all its reason: {name}" for name in sorted(reasons & killed))
    if whole:
        yield from (f"a reason, but no mutant: {name}" for name in sorted(reasons - descriptions))
        if 100 * len(killed) < ENOUGH * len(built):
            yield f"fewer than {ENOUGH} % of those that compile were noticed"


def summary(outcomes, reasons):
    noticed_by = [noticed for _, noticed in outcomes]
    untried, refused = noticed_by.count(None), noticed_by.count("compiler")
    built = len(outcomes) - untried - refused
    killed = built - noticed_by.count("")
    too_long = sum(noticed.endswith("(too long)") for noticed in noticed_by if noticed)
    reasoned = sum(noticed == "" and mutant.description in reasons for mutant, noticed in outcomes)
    return (f"{len(outcomes)} mutants, {untried} not tried, {refused} that do not compile;"
            f" of the other {built} {killed} were noticed ({100 * killed / max(built, 1):.1f} %),"
            f" {too_long} of them (too long), {reasoned} cannot be.")


def verdict(outcomes, reasons, whole):
    """What is to be told of pairs of a mutant and what noticed it, and whether all is well."""
    wrong = list(complaints(outcomes, reasons, whole))
    all_tried = all(noticed is not None for _, noticed in outcomes)
    return [*wrong, summary(outcomes, reasons)], all_tried and not wrong
