#!/usr/bin/env python3
"""Write docs/automation.md from the type library's source, control/NorixSDK.idl.

    gen-automation-doc.py            write the page
    gen-automation-doc.py --check    write nothing, fail if the page is not what would be written

The help strings are the text; `group:` comments give the chapters, a comment behind a property its default, a comment
behind an enumeration's constant its meaning. What the type library compiler lets pass is refused here: an identifier
used twice, a member without help, a get and a put that disagree.
"""

import argparse
import difflib
import pathlib
import re
import sys
from dataclasses import dataclass, field

ROOT = pathlib.Path(__file__).resolve().parent.parent

# As scripts see the types.
TYPES = {
    "BSTR": "string", "VARIANT_BOOL": "BOOL", "short": "short", "long": "long", "double": "double", "void": "none",
    "VARIANT*": "variant by reference", "BSTR*": "string by reference",
}


# A group with this comment gets the table of camera commands, which the control's own table of them is the source of.
PTZ_MARK = "table: camera commands"
PTZ_SOURCE = ROOT / "camera" / "ptz" / "PtzMoves.h"
PTZ_PARAMETERS = {
    "Nothing": "none", "Tilt": "speed of the tilt", "Pan": "speed of the pan", "Zoom": "speed of the zoom",
    "TiltAndPan": "speed of both", "Preset": "the preset's number",
}
# Where whole scripts are, by task; a member links to the first that uses it.
TASKS_SOURCE = ROOT / "docs" / "tasks.md"
PTZ_ROW = re.compile(r'^    \{"(\w+)", PtzUse::(\w+)(?:, -?\d)*\},\s*// (.*)$', re.M)


class IdlError(Exception):
    pass


# ------------------------------------------------------------------------------------------------------- The library

@dataclass
class Constant:
    name: str
    value: int
    meaning: str = ""


@dataclass
class Enumeration:
    name: str
    help: str
    constants: list = field(default_factory=list)


@dataclass
class Member:
    """A property, a method or an event; a property's type is its result."""
    kind: str
    dispid: int
    name: str
    result: str
    parameters: list            # of (type, name)
    help: str
    group: str
    default: str = ""
    writable: bool = False

    @property
    def anchor(self):
        return ("event-" if self.kind == "event" else "") + self.name


@dataclass
class Group:
    title: str
    introduction: list = field(default_factory=list)
    ptz: bool = False           # the table of camera commands belongs to it


@dataclass
class Library:
    name: str = ""
    version: str = ""
    uuids: dict = field(default_factory=dict)
    enumerations: list = field(default_factory=list)
    groups: dict = field(default_factory=dict)
    members: list = field(default_factory=list)

    def of(self, kind, group=None):
        return [m for m in self.members if m.kind == kind and group in (None, m.group)]


# -------------------------------------------------------------------------------------------------------- The parser

TOKEN = re.compile(r'''
      (?P<comment>//[^\n]*)
    | (?P<string>"[^"\n]*")
    | (?P<uuid>[0-9A-Fa-f]{8}(?:-[0-9A-Fa-f]{4}){3}-[0-9A-Fa-f]{12})
    | (?P<word>[A-Za-z_]\w*)
    | (?P<number>-?\d+(?:\.\d+)?)
    | (?P<mark>[\[\](){},;:=*])
    | (?P<newline>\n)
    | (?P<space>[^\S\n]+)
    | (?P<other>.)
    ''', re.X)


@dataclass
class Token:
    kind: str
    text: str
    line: int


class Parser:
    """Reads the part of the language that the file uses; anything else is an error that names its line.

    Comments are tokens of their own list, by line, because only a few places care for them.
    """

    def __init__(self, text):
        self.tokens = []
        self.remarks = {}           # line -> (text, stands alone on its line)
        self.position = 0
        self.group = None
        self.library = Library()
        line = 1
        for match in TOKEN.finditer(text):
            kind = match.lastgroup
            if kind == "newline":
                line += 1
            elif kind == "comment":
                alone = not (self.tokens and self.tokens[-1].line == line)
                self.remarks[line] = (match.group()[2:].strip(), alone)
            elif kind != "space":
                self.tokens.append(Token(kind, match.group(), line))

    def fail(self, message):
        at = self.tokens[min(self.position, len(self.tokens) - 1)]
        raise IdlError(f"line {at.line}: {message}, at '{at.text}'")

    def peek(self):
        if self.position == len(self.tokens):
            self.fail("file ends early")
        return self.tokens[self.position]

    def next(self, *expected):
        token = self.peek()
        if expected and token.text not in expected and token.kind not in expected:
            self.fail("expected " + " or ".join(expected))
        self.position += 1
        return token

    def accept(self, text):
        if self.peek().text != text:
            return False
        self.position += 1
        return True

    def trailing_remark(self):
        """The comment behind what was just read; a comma may follow."""
        text, alone = self.remarks.get(self.tokens[self.position - 1].line, ("", True))
        return "" if alone else text

    def attributes(self):
        """`[a, b(c), d("e")]` as a dictionary; a bare attribute's value is empty."""
        found = {}
        if not self.accept("["):
            return found
        while True:
            name = self.next("word").text
            found[name] = ""
            if self.accept("("):
                found[name] = self.next("string", "uuid", "number", "word").text.strip('"')
                self.next(")")
            if not self.accept(","):
                break
        self.next("]")
        return found

    def parse(self):
        while self.position < len(self.tokens) and self.accept("import"):
            self.next("string")
            self.next(";")
        attributes = self.attributes()
        self.next("library")
        self.library.name = self.next("word").text
        self.library.version = attributes.get("version", "")
        self.library.uuids[self.library.name] = attributes["uuid"]
        self.next("{")
        while not self.accept("}"):
            self.statement()
        self.check()
        return self.library

    def statement(self):
        if self.accept("importlib"):
            self.next("(")
            self.next("string")
            self.next(")")
        else:
            attributes = self.attributes()
            kind = self.next("enum", "dispinterface", "coclass").text
            name = self.next("word").text
            if "uuid" in attributes:
                self.library.uuids[name] = attributes["uuid"]
            self.next("{")
            if kind == "enum":
                self.enumeration(name, attributes.get("helpstring", ""))
            elif kind == "dispinterface":
                self.interface("event" if name.endswith("Events") else "method")
            else:
                while not self.accept("}"):
                    self.next()
        self.next(";")

    def enumeration(self, name, text):
        enumeration = Enumeration(name, text)
        self.library.enumerations.append(enumeration)
        while not self.accept("}"):
            constant = Constant(self.next("word").text, 0)
            self.next("=")
            constant.value = int(self.next("number").text)
            self.accept(",")
            constant.meaning = self.trailing_remark()
            enumeration.constants.append(constant)

    def interface(self, kind):
        for section in "properties", "methods":
            self.next(section)
            self.next(":")
        self.group = None
        previous = self.tokens[self.position - 1].line
        while not self.accept("}"):
            self.read_group(previous, self.peek().line)
            self.member(kind)
            previous = self.tokens[self.position - 1].line

    def read_group(self, after, before):
        """Enters the group that the comments between two lines name, if they name one."""
        lines = [self.remarks[n][0] for n in range(after + 1, before) if n in self.remarks]
        if not lines or not lines[0].startswith("group:"):
            return
        title = lines[0][len("group:"):].strip()
        self.group = title
        group = self.library.groups.setdefault(title, Group(title))
        group.introduction += [line for line in lines[1:] if line != PTZ_MARK]
        group.ptz = group.ptz or PTZ_MARK in lines

    def member(self, kind):
        attributes = self.attributes()
        if "id" not in attributes:
            self.fail("a member needs an id")
        if self.group is None:
            self.fail("a member needs a group")
        dispid = int(attributes["id"])
        result = self.type()
        name = self.next("word").text
        parameters = self.parameters()
        self.next(";")
        text = attributes.get("helpstring", "")
        if "propput" in attributes:
            self.put(dispid, name, parameters)
            return
        default = ""
        if "propget" in attributes:
            kind, default = "property", self.trailing_remark()
            if not default:
                self.fail(f"the property {name} before this needs its default in a comment")
        if not text:
            self.fail(f"the member {name} before this needs a help string")
        same = [m for m in self.library.members
                if m.dispid == dispid and (m.kind == "event") == (kind == "event")]
        if same:
            self.fail(f"{name} has the identifier {dispid}, which {same[0].name} has")
        self.library.members.append(Member(kind, dispid, name, result, parameters, text, self.group, default))

    def put(self, dispid, name, parameters):
        found = [m for m in self.library.of("property") if m.name == name]
        if not found:
            self.fail(f"the put of {name} must follow its get")
        get = found[0]
        if get.dispid != dispid or len(parameters) != 1 or get.result != parameters[0][0]:
            self.fail(f"get and put of {name} disagree")
        get.writable = True

    def type(self):
        text = self.next("word").text
        while self.accept("*"):
            text += "*"
        if text not in TYPES:
            self.fail(f"unknown type {text}")
        return text

    def parameters(self):
        found = []
        self.next("(")
        while not self.accept(")"):
            self.attributes()
            found.append((self.type(), self.next("word").text))
            if self.peek().text != ")":
                self.next(",")
        return found

    def check(self):
        """References between the texts: what a sentence calls a constant or member must exist under that spelling."""
        known = {c.name for e in self.library.enumerations for c in e.constants}
        for member in self.library.members:
            for word in re.findall(r"\be(?:ci|cs|cp|ct|act|mt|rs|mi)[A-Z]\w*", member.help):
                if word not in known:
                    raise IdlError(f"{member.name}: no constant is called {word}")


# ---------------------------------------------------------------------------------------------------------- The page

OVERVIEW = """\
# Automation reference

<!-- Made by scripts/gen-automation-doc.py from control/NorixSDK.idl. Change the text there. -->

Everything a host can ask of the control, by purpose. The control is created by its ProgID
`NORIXSDK.NorixSDKCtrl.1` or its class identifier; properties and methods are reached through `IDispatch` alone,
events come through `IConnectionPointContainer`. All of it happens on the thread that owns the control's window.
By task, with a whole script for each: [tasks.md](tasks.md). When something fails: [troubleshooting.md](troubleshooting.md).
{contents}
## Conventions

Types are given as a script sees them; the type library uses these:

| Here | Type library | Remarks |
|---|---|---|
| string | `BSTR` | |
| BOOL | `VARIANT_BOOL` | scripts: true and false; elsewhere -1 and 0 |
| short, long | 16-bit and 32-bit signed | |
| double | 64-bit floating point | |
| string, variant by reference | `BSTR*`, `VARIANT*` | the handler may replace the value |
| none | `void` | |

Arguments are converted as automation does it everywhere: the text `"80"` will do for a long. What cannot be converted
is refused with `DISP_E_TYPEMISMATCH` (0x80020005), a wrong number of arguments with
`DISP_E_BADPARAMCOUNT` (0x8002000E). Writing a read-only property fails and changes nothing. Result codes are 32-bit
numbers: 0 for success, negative for an error, which a script sees as a negative decimal number.

Byte arrays in events are one-dimensional safe arrays of unsigned bytes, counted from 0.
"""


def cell(text):
    return text.replace("|", "\\|")


def link(member):
    return f"[`{member.name}`](#{member.anchor})"


def anchor(name):
    return f'<a id="{name}"></a>'


def slug(title):
    """The address that Markdown viewers give to a heading."""
    return re.sub(r"[^\w\- ]", "", title.lower()).replace(" ", "-")


def examples():
    """{member: the chapter of the first script that uses it}; handlers are functions named camera_OnSomething."""
    found = {}
    for chapter in TASKS_SOURCE.read_text(encoding="utf-8").split("\n## ")[1:]:
        title = chapter.split("\n", 1)[0]
        for code in re.findall(r"^```js\n(.*?)^```", chapter, re.M | re.S):
            for name in re.findall(r"\b(?:camera|made|all\[i\])[._](\w+)", code):
                found.setdefault(name, title)
    return found


class Page:
    def __init__(self, library):
        self.library = library
        self.lines = []
        self.examples = examples()
        members = {m.name: m for m in reversed(library.members)}
        enumerations = {e.name: e.name for e in library.enumerations}
        constants = {c.name: e.name for e in library.enumerations for c in e.constants}
        self.targets = {**{n: m.anchor for n, m in members.items()}, **enumerations, **constants}

    def write(self, *lines):
        self.lines += lines

    def prose(self, text, own="", parameters=()):
        """Names of members and constants become links to where they are explained, parameters become code."""
        def linked(match):
            word = match.group()
            if word in parameters:
                return f"`{word}`"
            target = self.targets.get(word)
            # Plain English words that are also names (Display, Connect) are only links where they stand for the name,
            # which no program can tell; only names with an inner capital are beyond doubt.
            if target is None or word == own or not re.search(r"[a-z][A-Z]|[A-Z]{2}", word):
                return word
            return f"[`{word}`](#{target})"
        return re.sub(r"\b[A-Za-z]\w*\b", linked, text)

    def described(self, member, parameters=()):
        """The help, and where the member is used."""
        text = self.prose(member.help, member.name, parameters)
        title = self.examples.get(member.name)
        return f"{text} Example: [{title[0].lower()}{title[1:]}](tasks.md#{slug(title)})." if title else text

    def render(self):
        titles = [g.title for g in self.library.groups.values()]
        contents = ["", *(f"- [{t}](#{slug(t)})" for t in [*titles, "Enumerations", "Identifiers"]), ""]
        self.write(*OVERVIEW.format(contents="\n".join(contents)).splitlines(), "")
        for title in titles:
            self.group(self.library.groups[title])
        self.enumerations()
        self.identifiers()
        return "\n".join(self.lines).rstrip() + "\n"

    def group(self, group):
        self.write(f"## {group.title}", "")
        if group.introduction:
            self.write(self.prose(" ".join(group.introduction)), "")
        properties = self.library.of("property", group.title)
        if properties:
            self.write("| Property | Type | Default | |", "|---|---|---|---|")
            for p in properties:
                kind = TYPES[p.result] + ("" if p.writable else ", read-only")
                self.write(f"| {anchor(p.anchor)}`{p.name}` | {kind} | {cell(p.default)} | "
                           f"{cell(self.described(p))} |")
            self.write("")
        for kind, heading in ("method", "Methods"), ("event", "Events"):
            found = self.library.of(kind, group.title)
            if not found:
                continue
            self.write(f"**{heading}**", "")
            for m in found:
                text = self.described(m, [name for _, name in m.parameters])
                self.write(f"- {anchor(m.anchor)}{self.signature(m)}", "", f"  {text}", "")
            if kind == "method" and group.ptz:
                self.ptz()

    def ptz(self):
        self.write("| Command | Parameter | What it does |", "|---|---|---|")
        for name, use, text in PTZ_ROW.findall(PTZ_SOURCE.read_text(encoding="utf-8")):
            self.write(f"| `{name}` | {PTZ_PARAMETERS[use]} | {text} |")
        self.write("")

    def signature(self, member):
        parameters = ", ".join(f"{name}: {TYPES[kind]}" for kind, name in member.parameters)
        result = "" if member.result == "void" else f" → {TYPES[member.result]}"
        return f"**`{member.name}`**`({parameters}){result}`"

    def enumerations(self):
        self.write("## Enumerations", "", "32-bit constants of the type library. Scripts, which see no type library, "
                   "use the numbers.", "")
        for e in self.library.enumerations:
            self.write(f"### {anchor(e.name)}{e.name}", "", self.prose(e.help, e.name), "",
                       "| Value | Name | Meaning |", "|---|---|---|")
            self.write(*(f"| {c.value} | `{c.name}` | {cell(self.prose(c.meaning))} |" for c in e.constants), "")

    def identifiers(self):
        self.write("## Identifiers", "", f"Type library `{self.library.name}` version {self.library.version}:", "",
                   "| | |", "|---|---|")
        self.write(*(f"| `{name}` | `{{{uuid}}}` |" for name, uuid in self.library.uuids.items()), "")
        events = self.library.of("event")
        others = [m for m in self.library.members if m.kind != "event"]
        for title, members in ("Properties and methods by DISPID", others), ("Events by DISPID", events):
            self.write(f"### {title}", "", "| DISPID | Name | |", "|---|---|---|")
            self.write(*(f"| {m.dispid} | {link(m)} | {m.kind} |" for m in sorted(members, key=lambda m: m.dispid)), "")


def main():
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("--check", action="store_true", help="fail if the page is stale, write nothing")
    arguments.add_argument("--idl", type=pathlib.Path, default=ROOT / "control" / "NorixSDK.idl")
    arguments.add_argument("--output", type=pathlib.Path, default=ROOT / "docs" / "automation.md")
    options = arguments.parse_args()

    try:
        page = Page(Parser(options.idl.read_text(encoding="utf-8")).parse()).render()
    except IdlError as error:
        print(f"{options.idl}: {error}", file=sys.stderr)
        return 1
    present = options.output.read_text(encoding="utf-8") if options.output.exists() else ""
    if page == present:
        return 0
    if options.check:
        sys.stderr.writelines(difflib.unified_diff(present.splitlines(True), page.splitlines(True),
                                                   str(options.output), "as it should be", n=0))
        print(f"{options.output} is stale: run scripts/gen-automation-doc.py", file=sys.stderr)
        return 1
    with open(options.output, "w", encoding="utf-8", newline="\n") as file:
        file.write(page)
    return 0


if __name__ == "__main__":
    sys.exit(main())
