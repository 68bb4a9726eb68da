#!/usr/bin/env python3
"""Prints a public header with its comments in the form that Doxygen reads, so that the header itself
can have plain ones. Usage: source-filter.py FILE

A comment belongs to the declaration that follows at once, or on whose line it is; any other, and the
first one, to the file. In a comment,

    a first line with an empty one below is a heading;
    indented lines "NAME  TEXT" are parameters, or in a comment of the file a list;
    lines "LARDER_...  TEXT" are results;
    other indented lines are code.
"""
import re
import sys

COMMENT = re.compile(r"/\*(?P<block>.*?)\*/|(?P<lines>^[ ]*//[^\n]*(?:\n[ ]*//[^\n]*)*)",
                     re.DOTALL | re.MULTILINE)
ENTRY = re.compile(r" {2,}(\S+(?: \S+)*) {2,}(\S.*)")
RESULT = re.compile(r"(LARDER_\w+|any other code)(?: {2,}(\S.*))?$")
DELETED = re.compile(r"^ (?!.*virtual).*= (?:delete|default);$", re.MULTILINE)
NO_BREAK = "\u00a0"  # a result is one word to Doxygen


def escaped(text):
    return re.sub(r"([\\@<>&#%*])", r"\\\1", text)


def lines_of(match):
    if match["block"] is not None:
        lines = [re.sub(r"^\s*\* ?", "", line) for line in match["block"].strip("*").splitlines()]
        lines[0] = lines[0].removeprefix(" ")
    else:
        lines = [re.sub(r"^\s*// ?", "", line) for line in match["lines"].splitlines()]
    return [line.rstrip() for line in lines]


class Writer:
    """Turns the lines of one comment into those that Doxygen reads."""

    def __init__(self, is_of_file):
        self.is_of_file = is_of_file
        self.lines = []
        self.kind = "text"

    def begin(self, kind):
        if self.kind == "code" != kind:
            self.lines.append("@endcode")
        if kind == "code" != self.kind:
            self.lines.append("@code{.cpp}")
        if kind == "text" and self.kind == "entry":
            self.lines.append("")  # ends the last entry
        self.kind = kind

    def add_entry(self, name, text):
        self.begin("entry")
        mark = f"- `{name}`:" if self.is_of_file else f"@param {name}"
        self.lines.append(f"{mark} {escaped(text)}")

    def add_result(self, name, text):
        self.begin("entry")
        self.lines.append(f"@retval {name.replace(' ', NO_BREAK)} {escaped(text or 'success')}")

    def add_indented(self, line):
        entry = ENTRY.match(line)
        if entry and self.kind != "code":
            self.add_entry(*entry.groups())
        elif self.kind == "entry" and line.startswith("    "):
            self.lines.append(escaped(line))  # goes on
        else:
            self.begin("code")
            self.lines.append(line)

    def add(self, line):
        result = RESULT.match(line)
        if result:
            self.add_result(*result.groups())
        elif line.startswith("  ") and not line.lstrip().startswith("- "):
            self.add_indented(line)
        elif line or self.kind == "text":
            self.begin("text")
            self.lines.append(escaped(line))

    def text(self):
        self.begin("text")
        return "\n".join(self.lines)


def converted(match):
    source = match.string
    before = source[source.rfind("\n", 0, match.start()) + 1:match.start()]
    is_trailing = match["block"] is not None and before.strip() != ""
    is_of_file = match.start() == 0 or not is_trailing and source.startswith("\n\n", match.end())
    lines = lines_of(match)
    writer = Writer(is_of_file)
    if is_of_file and match.start() != 0 and len(lines) > 1 and not lines[1]:
        writer.lines.append(f"@par {lines[0]}")
        lines = lines[2:]
    for line in lines:
        writer.add(line)
    start = "/**<" if is_trailing else "/**"
    file = " @file\n" if is_of_file else " "
    return f"{start}{file}{writer.text()} */"


with open(sys.argv[1], encoding="utf-8") as header:
    print(COMMENT.sub(converted, DELETED.sub("", header.read())))
