#!/usr/bin/env python3
"""Prints a Markdown page with headings and links in the form that Doxygen reads. A link to a page,
heading or file that isn't there becomes a reference that Doxygen reports. Usage: page-filter.py FILE
"""
import os
import re
import sys


def heading_id(heading):
    return re.sub(r"[^\w\- ]", "", heading.lower()).strip().replace(" ", "-")


def title_id(page):
    with open(page, encoding="utf-8") as file:
        return heading_id(file.readline().removeprefix("# "))


def label(page, heading):
    """Unique in all pages. heading: its id; "" for the page."""
    name = os.path.splitext(os.path.basename(page))[0].lower()
    return f"{name}-{heading}" if heading else f"md-{name}"


def target(page, link):
    if re.match(r"[a-z]+:", link):
        return link
    path, _, heading = link.partition("#")
    file = os.path.normpath(os.path.join(os.path.dirname(page), path)) if path else page
    if not os.path.exists(file):
        return f"@ref missing-{path}"
    if file.endswith(".md"):
        return f"@ref {label(file, '' if heading == title_id(file) else heading)}"
    name = os.path.basename(file)
    return f"@ref {name}" if name.endswith((".h", ".hpp")) else name


def converted_part(page, part):
    if part.startswith("`"):
        # Doxygen takes a quotation mark for the end of other code, and \` for a character.
        return "`" + part.replace("\\`", "\\ `") + "`"
    part = re.sub(r"\\(?=\w)", r"\\\\", part)
    return re.sub(r"(?<!!)\]\(([^)\s]+)\)", lambda link: f"]({target(page, link[1])})", part)


def converted(page, line, is_title):
    heading = re.match(r"(#+) (.*)", line)
    if heading:
        text = heading[2].replace("`", "")
        return f"{heading[1]} {text} {{#{label(page, '' if is_title else heading_id(text))}}}"
    return re.sub(r"`[^`]*`|[^`]+", lambda part: converted_part(page, part[0]), line)


def main(page):
    with open(page, encoding="utf-8") as file:
        text = file.read()
    # Doxygen reads links on one line.
    text = re.sub(r"\[([^\[\]`]*)\n([^\[\]`]*\]\([^()]*\)\S*) ?", r"[\1 \2\n", text)
    is_code = False
    for number, line in enumerate(text.splitlines()):
        is_fence = line.lstrip().startswith("```")
        is_code ^= is_fence
        is_plain = is_code or is_fence or line.startswith("    ")
        print(line if is_plain else converted(page, line, number == 0))


main(os.path.relpath(sys.argv[1]))
