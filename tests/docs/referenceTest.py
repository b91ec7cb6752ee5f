#!/usr/bin/env python3
"""Checks that the API reference is complete, that its links work and that it has no other faults.

    referenceTest.py FOLDER       builds the reference in the folder and checks it
    referenceTest.py --self-test  checks that planted faults are reported

The reference is compared with the headers, the pages and the examples. Doxygen by itself accepts
undocumented enumerators, parameters and results.
"""

import html
import re
import shutil
import subprocess
import sys
import tempfile
from html.parser import HTMLParser
from pathlib import Path
from typing import NamedTuple, Optional
from urllib.parse import unquote

sys.dont_write_bytecode = True
# After this line, so that nothing is written into the sources.
from pageParts import headings_of  # noqa: E402

PROJECT = Path(__file__).resolve().parents[2]
LISTS = ("hosts", "examples", "users", "maintainers")  # the pages that lead to all others
PARTS = ("CMakeLists.txt", "CONTRIBUTING.md", "CHANGELOG.md", "docs", "examples", "platform", "src",
         "tests")  # of the project, from which the reference is made
INTERNAL = {"export.h"}  # installed, but of no use to hosts
EMPTY = {"br", "hr", "img", "meta", "link"}  # tags without an end tag


class Declared(NamedTuple):
    """The declarations in the public headers."""
    classes: dict  # the names of public members by class
    enumerations: dict  # the enumerators by qualified name
    operators: set  # name and type, such as "operator<< J1939Value"


class Member(NamedTuple):
    """A member as an HTML page documents it."""
    name: str
    result: Optional[str]  # its type
    parameters: list
    described: set  # parameters
    text: str

    def problems(self):
        if not self.text:
            yield "has no text"
        for parameter in self.parameters:
            if parameter not in self.described:
                yield f"says nothing about its parameter {parameter}"
        if self.result and not re.search(r"\breturns?\b", self.text, re.IGNORECASE):
            yield "says nothing about its result"


class Page(HTMLParser):
    """The ids and links of an HTML page, the text of its headings, and its text without code."""

    def __init__(self, path):
        super().__init__()
        self.source = path.read_text(encoding="utf-8")
        self.ids, self.links, self.text = set(), [], ""
        self.loaded = []  # by the browser, without a click
        self.within_code = 0
        self.feed(self.source)
        self.headings = [plain(match[1]) for match in
                         re.finditer(r"<h[1-6][^>]*>(.*?)</h[1-6]>", self.source, re.DOTALL)]
        self.title = plain(re.search(r'<div class="title">(.*?)</div>', self.source, re.DOTALL)[1])

    def handle_starttag(self, tag, attrs):
        values = dict(attrs)
        self.ids |= {values[name] for name in ("id", "name") if values.get(name)}
        if values.get("href") and tag == "a":
            self.links.append(values["href"])
        elif tag in ("img", "link", "script", "iframe"):
            self.loaded += [values[name] for name in ("src", "href") if values.get(name)]
        is_code = tag in ("code", "pre", "script") or values.get("class") == "fragment"
        if (is_code or self.within_code) and tag not in EMPTY:
            self.within_code += 1

    def handle_endtag(self, tag):
        if self.within_code and tag not in EMPTY:
            self.within_code -= 1

    def handle_data(self, data):
        self.text += "" if self.within_code else data


def plain(fragment):
    """The words of a piece of HTML."""
    return " ".join(html.unescape(re.sub(r"<[^>]*>", "", fragment)).split())


def public_headers(tree):
    lists = [tree / "CMakeLists.txt", *tree.glob("platform/*/CMakeLists.txt")]
    for path in lists:
        for name in re.findall(r"^\s+((?:src|include)/\S+\.h)\b", path.read_text(), re.MULTILINE):
            if Path(name).name not in INTERNAL:
                yield path.parent / name


def declared_in(headers):
    found = Declared({}, {}, set())
    for path in headers:
        text = re.sub(r"//.*", "", path.read_text(encoding="utf-8"))
        for name, body in re.findall(r"(?ms)^class (\w+)[^;{]*\{(.*?)^\};", text):
            sections = re.split(r"(?m)^(public|private|protected):", body)
            public = "".join(part for access, part in zip(sections[1::2], sections[2::2])
                             if access == "public")
            found.classes[name] = {
                re.search(r"(~?\w+|operator\W+)\s*(\(|\{.*\}$|$)", declaration.strip())[1]
                for declaration in public.split(";") if declaration.strip()}
        for name, body in re.findall(r"(?ms)^enum class (\w+)[^{]*\{(.*?)\};", text):
            namespace = re.search(r"(?m)^namespace (\w+)", text)[1]
            found.enumerations[f"{namespace}::{name}"] = re.findall(r"(\w+) = ", body)
        for name, type_ in re.findall(
                r"(?m)^\w.* (operator(?:<<|>>))\(QDataStream& \w+, (?:const )?(\w+)&", text):
            found.operators.add(f"{name} {type_}")
    return found


def members_of(page):
    """The members that an HTML page documents one by one."""
    for part in page.source.split('<div class="memitem">')[1:]:
        declaration, _, rest = part.partition('<div class="memdoc">')
        rest = re.split(r'\n</div>\n</div>\n|<h2 class="groupheader">', rest)[0]
        name = plain(re.search(r'(?s)<td class="memname">(.*?)</td>', declaration)[1])
        name = re.sub(r"<[^<>]*>|( : \w+| ?\{.*\})$", "", name)  # without arguments and values
        result, _, name = name.removeprefix("static ").rpartition(" ")
        has_result = ">(</td>" in declaration and result not in ("void", "#define") and \
            ">delete<" not in declaration
        yield Member(
            name, result if has_result else None,
            re.findall(r'<td class="paramname"><em>(\w+)</em>', declaration),
            {"".join(names) for names in
             re.findall(r'<td class="paramname">(\w+)</td>|<em>(\w+)</em>', rest)},
            plain(rest.replace("</", " </")))


class Checker:
    def __init__(self, tree, folder):
        self.tree = tree
        self.html = folder / "html"
        self.problems = []
        result = subprocess.run([tree / "docs/reference/generate", folder], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=240)
        if result.returncode != 0 or result.stdout:
            self.problems.append(f"exit code {result.returncode}:\n{result.stdout}")
        self.pages = {path.name: Page(path) for path in self.html.glob("*.html")}

    def check(self):
        declared = declared_in(public_headers(self.tree))
        documented = {}
        for name, page in self.pages.items():
            for member in members_of(page):
                documented.setdefault(name, []).append(member)
                for problem in member.problems():
                    self.problems.append(f"{name}: {member.name} {problem}")
        self.check_classes(declared, documented)
        self.check_enumerations(declared)
        self.check_pages()
        self.check_programs()
        self.check_links()

    def check_classes(self, declared, documented):
        briefs = dict(re.findall(r'href="class(\w+)\.html"[^>]*>.*?<td class="desc">(.*?)</td>',
                                 self.pages["annotated.html"].source))
        for name, members in declared.classes.items():
            file = f"class{name}.html"
            if file not in self.pages:
                self.problems.append(f"class {name} has no page")
                continue
            if not plain(briefs.get(name, "")):
                self.problems.append(f"class {name} has no description in the list of classes")
            if not re.search(r'class="ingroups">.*?group__', self.pages[file].source):
                self.problems.append(f"class {name} belongs to no topic")
            names = {member.name.rpartition("::")[2] for member in documented.get(file, [])}
            self.problems += [f"{name}::{member} is missing" for member in sorted(members - names)]
        for operator in sorted(declared.operators):
            name, type_ = operator.split()
            if not any(member.name == name and len(member.parameters) == 2
                       for member in documented.get(f"class{type_}.html", [])):
                self.problems.append(f"{operator} is missing")

    def check_enumerations(self, declared):
        topics = "".join(page.source for name, page in self.pages.items()
                         if name.startswith("group__"))
        for name, enumerators in declared.enumerations.items():
            start = re.search(rf'<td class="memname">enum class <a [^>]*>{name}</a>', topics)
            if not start:
                self.problems.append(f"enumeration {name} belongs to no topic")
                continue
            table = topics[start.start():topics.index("</table>\n\n</div>", start.start())]
            texts = dict(
                re.findall(r'(?s)</a>(\w+)&#160;</td><td class="fielddoc">(.*?)</td>', table))
            self.problems += [f"{name}::{enumerator} has no text" for enumerator in enumerators
                              if not plain(texts.get(enumerator, ""))]

    def check_pages(self):
        linked = {link for name in LISTS for link in self.pages[f"{name}.html"].links}
        for path in [*self.tree.glob("docs/*.md"), *self.tree.glob("docs/design/*.md"),
                     *self.tree.glob("examples/*/README.md"), *self.tree.glob("C*.md")]:
            name = (path.parent.name if path.name == "README.md" else path.stem).lower() + ".html"
            if name not in self.pages:
                self.problems.append(f"{path.relative_to(self.tree)} is not part of the reference")
                continue
            if name not in linked:
                self.problems.append(f"{name} is not in a list of pages in reference.dox")
            page = self.pages[name]
            lines = path.read_text(encoding="utf-8").splitlines()
            shown = [page.title, *page.headings]
            for number, _ in headings_of("\n".join(lines)):
                heading = re.sub(r"\[([^]]*)\]\([^)]*\)|[#`]", r"\1", lines[number - 1]).strip()
                if heading not in shown:
                    self.problems.append(f"{name}: heading is missing: {heading}")
        for name, page in self.pages.items():
            if name.startswith(("class", "group__")) and "<ol" in page.source:
                self.problems.append(f"{name}: a line of a comment begins with a number and a dot")
            for markup in re.findall(r"\]\(|```|\|--|[@\\][a-z]+\b|\{#|%CAN", page.text):
                self.problems.append(f"{name}: markup as text: {markup}")

    def check_programs(self):
        """The start page shows the minimal program, and each example its own."""
        examples = [path.parent.name for path in self.tree.glob("examples/*/main.cpp")]
        for name, example in [("index", "minimal"), *zip(examples, examples)]:
            program = (self.tree / "examples" / example / "main.cpp").read_text(encoding="utf-8")
            lines = [plain(line) for line in re.findall(r'<div class="line">(.*?)</div>',
                                                        self.pages[f"{name}.html"].source)]
            expected = [" ".join(line.split()) for line in program.splitlines()]
            if expected not in (lines[i:i + len(expected)] for i in range(len(lines))):
                self.problems.append(f"{name}.html does not show examples/{example}/main.cpp")

    def check_links(self):
        for name, page in self.pages.items():
            self.problems += [f"{name} loads {link}" for link in page.loaded if "://" in link]
            for link in {*page.links, *page.loaded}:
                self.check_link(name, self.html, link)
        for script in [self.html / "menudata.js", *self.html.glob("search/*_*.js")]:
            text = script.read_text(encoding="utf-8")
            for link in re.findall(r"""url:"([^"]+)"|'(\.\./[^']+)'""", text):
                self.check_link(script.name, script.parent, "".join(link))
        for path in self.html.rglob("*"):
            if path.is_file() and str(self.tree).encode() in path.read_bytes():
                self.problems.append(f"{path.name} contains the path of the sources")

    def check_link(self, page, folder, link):
        if re.match(r"https?:|javascript:", link):
            return
        file, _, anchor = unquote(link).partition("#")
        target = (folder / file).resolve() if file else self.html / page
        if not target.is_file():
            self.problems.append(f"{page}: dead link {link}")
        elif anchor and target.suffix == ".html" and anchor not in self.pages[target.name].ids:
            self.problems.append(f"{page}: dead anchor {link}")


def self_test():
    signal = "src/vantrel/signal/GenericSignalImpl.h"
    faults = [  # file, text, its replacement, expected problem
        (signal, "    /// Returns the data type last set. Takes no lock.\n", "",
         r"Member getDatatype\(\) const .* is not documented"),
        (signal, "    /// \\param lowerLimit the lower limit, in the unit of the signal\n", "",
         r"parameter 'lowerLimit'"),
        (signal, "\\a newDatatype", "that", r"setDatatype says nothing about .* newDatatype"),
        (signal, "Returns the number of stored", "The number of stored",
         r"getValueCount says nothing about its result"),
        (signal, "/// updating off. Its", "/// 1. Its", r"GenericSignalImpl\.html: a line .* number"),
        (signal, "\\ingroup signal", "", r"class GenericSignalImpl belongs to no topic"),
        ("platform/cansupport/include/cansupport/GenericSignal.h", "\\ingroup cansupport", "",
         r"enumeration GenericSignal::NewValueHandlingType belongs to no topic"),
        ("platform/cansupport/include/cansupport/CANopenDataType.h", "///< true or false", "",
         r"CAN::CANopenDataType::BOOLEAN has no text"),
        ("src/vantrel/values/J1939Value.h", "/// \\relates J1939Value\n", "///\n",
         r"operator<< J1939Value is missing"),
        ("platform/statistics/include/statistics/SimpleStatisticCalculator.h",
         "/// Statistics of a list", "/// \\details Statistics of a list",
         r"class SimpleStatisticCalculator has no description in the list"),
        ("docs/threads.md", "(#other-classes)", "(#others)", r"unable to resolve.*threads-others"),
        ("docs/plots.md", "\n", "\n<a href='missing.html'>a</a>\n",
         r"plots\.html: dead link missing\.html"),
        ("docs/plots.md", "\n", "\n<a href='live.html#missing'>a</a>\n",
         r"plots\.html: dead anchor live\.html#missing"),
        ("docs/plots.md", "\n", "\n<img src='https://example.org/a.png'>\n",
         r"plots\.html loads https://example\.org/a\.png"),
        ("docs/plots.md", "\n", "\n\n[a](\nb)\n", r"plots\.html: markup as text: \]\("),
        ("docs/plots.md", "\n", "\nTREE\n", r"plots\.html contains the path of the sources"),
        ("docs/reference/Doxyfile", "*/export.h", "*/export.h */releasing.md",
         r"docs/releasing\.md is not part of the reference"),
        ("docs/reference/Doxyfile", "*/export.h", "*/export.h */LibVantrel.h",
         r"class LibVantrel has no page"),
        ("docs/new.md", "", "# New\n", r"new\.html is not in a list of pages"),
        ("docs/reference/reference.dox", "minimal/main.cpp", "stream/main.cpp",
         r"index\.html does not show examples/minimal/main\.cpp"),
    ]
    with tempfile.TemporaryDirectory() as folder:
        tree = Path(folder).resolve() / "tree"
        shutil.copytree(PROJECT, tree, symlinks=True, ignore=lambda folder, names: {
            name for name in names if Path(folder) == PROJECT and name not in PARTS})
        for name, old, new, _ in faults:
            text = (tree / name).read_text(encoding="utf-8") if (tree / name).exists() else ""
            if old not in text:
                sys.exit(f"{name} does not contain {old}")
            text = text.replace(old, new.replace("TREE", str(tree)), 1)
            (tree / name).write_text(text, encoding="utf-8")
        checker = Checker(tree, tree.parent / "reference")
        checker.check()
    found = "\n".join(checker.problems)
    missed = [problem for _, _, _, problem in faults if not re.search(problem, found)]
    if missed:
        sys.exit(f"reported:\n{found}\nnot reported:\n" + "\n".join(missed))


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    if len(sys.argv) != 2 or sys.argv[1].startswith("-"):
        sys.exit("usage: referenceTest.py FOLDER | --self-test")
    checker = Checker(PROJECT, Path(sys.argv[1]).resolve())
    checker.check()
    if checker.problems:
        sys.exit("\n".join(checker.problems))


if __name__ == "__main__":
    main()
