"""Every message that users of an installation can meet is on the page that explains them.

usage: messages-test.py PROJECT-FOLDER
"""

import re
import sys
from pathlib import Path

LITERAL = r'"(?:[^"\\\n]|\\.)*"(?:\s*"(?:[^"\\\n]|\\.)*")*'
# What begins a message: the library's warnings and errors, the exceptions that reach a log or the
# tool, and what the tool prints.
BEGIN = (r"(?:LogWarn|LogError|LogWarning|LogMisuse|PrintError|Refuse|Succeeded|runtime_error"
         r"|invalid_argument|StoreError|Fail(?:ure|Read|Write)?)\((?:\w+, |std::string\()*")
SOURCES = ["src/**/*.cpp", "providers/feed-file/**/*.cpp", "providers/feed-stats/*.cpp",
           "providers/common/*.cpp", "providers/stock-file-query/**/*.cpp",
           "tools/larder/**/*.cpp"]
# Here every text of several words is a part of what is printed, but for those of --help, which
# begin with a capital.
FINDINGS = ["tools/larder/status/*.cpp", "tools/larder/linux/machine-root.cpp",
            "src/platform/*/folder-access.cpp"]
# They look at modules that authors write, and have a page of their own.
AUTHORS = ["tools/larder/check/", "tools/larder/new/"]


def text_of(literal):
    parts = re.findall(r'"((?:[^"\\\n]|\\.)*)"', literal)
    return "".join(parts).replace('\\"', '"').replace("\\\\", "\\").strip(" .:;,\"")


def messages(project):
    for patterns, expression in ((SOURCES, BEGIN + f"({LITERAL})"), (FINDINGS, f"({LITERAL})")):
        for path in sorted({path for pattern in patterns for path in project.glob(pattern)}):
            name = str(path.relative_to(project))
            if any(name.startswith(folder) for folder in AUTHORS):
                continue
            source = re.sub(r"^\s*//.*", "", path.read_text(), flags=re.MULTILINE)
            for literal in re.findall(expression, source):
                if patterns is SOURCES or not re.match(r'"[A-Z](?!arder)', literal):
                    yield name, text_of(literal)


def main(project):
    page = " ".join((project / "docs/troubleshooting.md").read_text().split())
    header = (project / "include/larder/larder.h").read_text()
    missing = [f"larder.h: {name} ({number})"
               for name, number in re.findall(r"#define (LARDER_(?:OK|E_\w+)) \(?(-?\d+)\)?", header)
               if f"`{name}`" not in page or f"| {number} |" not in page]
    missing += sorted({f"{name}: {text}" for name, text in messages(project)
                       if re.search(r"\w+ \w+", text) and text not in page})
    if missing:
        print("Not in docs/troubleshooting.md:", *missing, sep="\n")
    return 1 if missing else 0


sys.exit(main(Path(sys.argv[1])))
