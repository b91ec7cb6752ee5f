"""The parts of a page that can be checked: blocks, commands, links, anchors and warnings."""

import re
from typing import NamedTuple

CODE_OR_COMMENT = re.compile(r"`(?:[^`\n]|\n(?!\n))*`|<!--(?s:.*?)-->")
LINK = re.compile(r"!?\[(?:[^][]|\[[^][]*\])*\]\(([^)\s]+)\)")


class Block(NamedTuple):
    language: str
    line: int  # of its first line
    text: str
    file: str  # the name in the comment before it
    is_output: bool  # directly after an ```sh block or a program

    def is_program(self):
        return self.language == "cpp" and re.search(r"\bmain\(", self.text) is not None


class Command(NamedTuple):
    line: int
    text: str
    output: str  # None: not shown


def blocks_of(text):
    """The fenced blocks of a page."""
    lines = text.splitlines()
    found = []
    number = 0
    after = None  # the last block, if only blank lines follow it
    comment = ""
    while number < len(lines):
        fence = re.match(r"( *)```(\S*)", lines[number])
        number += 1
        if not fence:
            named = re.fullmatch(r"<!-- file: (\S+) -->", lines[number - 1])
            comment = named[1] if named else ""
            after = after if not lines[number - 1].strip() else None
            continue
        begin = number
        while number < len(lines) and lines[number].strip() != "```":
            number += 1
        content = [line.removeprefix(fence[1]) for line in lines[begin:number]]
        prints = after is not None and (after.language == "sh" or after.is_program())
        after = Block(fence[2], begin + 1, "".join(line + "\n" for line in content), comment,
                      prints and fence[2] in ("text", "json", "csv"))
        found.append(after)
        comment = ""
        number += 1
    return found


def without_blocks(text):
    """The page with its blocks blanked; everything else keeps its place."""
    lines = []
    is_inside = False
    for line in text.splitlines():
        is_fence = line.strip().startswith("```")
        lines.append(" " * len(line) if is_inside or is_fence else line)
        is_inside = is_inside != is_fence
    return "\n".join(lines)


def line_of(text, place):
    return text.count("\n", 0, place) + 1


def masked(text):
    """The page with its blocks blanked and code crossed out; everything else keeps its place."""
    return CODE_OR_COMMENT.sub(lambda match: re.sub(r"[^\n]", "x", match[0]), without_blocks(text))


def links_of(text):
    """The line and the target of each link and image."""
    text = masked(text)
    for match in LINK.finditer(text):
        yield line_of(text, match.start(1)), match[1]


def inline_code_of(text):
    """The line and the text of each piece of inline code."""
    text = without_blocks(text)
    for match in CODE_OR_COMMENT.finditer(text):
        if match[0].startswith("`"):
            yield line_of(text, match.start()), " ".join(match[0].strip("`").split())


def indented_blocks_of(text):
    """The lines in which a block without fences begins."""
    before = ""  # the last line that is not blank
    is_after_blank = True
    for number, line in enumerate(without_blocks(text).split("\n"), 1):
        is_nested = re.match(r" |[-*] |\d+\. ", before)
        if line.startswith("    ") and line.strip() and is_after_blank and not is_nested:
            yield number
        is_after_blank = not line.strip()
        before = before if is_after_blank else line


def headings_of(text):
    """The line of each heading of a page, and its anchor, as usually derived from the heading."""
    anchors = set()
    is_inside = False
    for line_number, line in enumerate(text.splitlines(), 1):
        is_inside = is_inside != line.strip().startswith("```")
        heading = re.match(r"#+ +(.*)", line)
        if not heading or is_inside:
            continue
        words = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", heading[1]).strip().lower()
        anchor = re.sub(r"[^\w\- ]", "", words).replace(" ", "-")
        number = 1
        unique = anchor
        while unique in anchors:
            unique = f"{anchor}-{number}"
            number += 1
        anchors.add(unique)
        yield line_number, unique


def anchors_of(text):
    """The anchors of the headings of a page."""
    return {anchor for _, anchor in headings_of(text)}


def warnings_of(text):
    """The line and the text of each message in the tables of warnings."""
    is_inside = False
    for number, line in enumerate(text.splitlines(), 1):
        is_inside = line.startswith("| warning |") or (is_inside and line.startswith("|"))
        if is_inside:
            for message in re.findall(r"`([^`]+)`", line.split(" | ")[0]):
                yield number, message


def commands_of(block):
    """The commands of an ```sh or a ```console block."""
    if block.language == "console":
        parts = re.split(r"^\$ (.*)\n", block.text, flags=re.MULTILINE)
        line = block.line + parts[0].count("\n")
        for text, output in zip(parts[1::2], parts[2::2]):
            yield Command(line, text, output)
            line += 1 + output.count("\n")
        return
    command, line = "", 0
    for number, text in enumerate(block.text.splitlines(), block.line):
        if not command and (not text.strip() or text.startswith("#")):
            continue
        line = line if command else number
        command += text
        if re.search(r"(\\|&&|\||\|\|)$", command):
            command = command.removesuffix("\\") + ("" if text.endswith("\\") else " ")
            continue
        yield Command(line, command, None)
        command = ""
