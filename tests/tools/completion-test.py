"""Types command lines into real shells, presses Tab, and checks what the shell then runs.

usage: completion-test.py SHELL LARDER SCRIPT

The line's beginning becomes that of another program before it is run, which answers with its
arguments through a named pipe. So the answer has the words as the shell understands them, quotes
removed.
"""
import os
import pty
import re
import subprocess
import sys
import tempfile
import threading

SHELL, LARDER, SCRIPT = sys.argv[1:]
NAME = os.path.basename(SHELL)
HOME_KEY, END_KEY = "\x01", "\x05"

START = {
    "bash": ([SHELL, "--norc", "--noprofile", "-i"], f"source '{SCRIPT}'"),
    "zsh": ([SHELL, "-f", "-i"], f"fpath=('{os.path.dirname(SCRIPT)}' $fpath); bindkey -e; "
            "autoload -U compinit; compinit -D -u"),
    "fish": ([SHELL, "--no-config", "-i"], f"source '{SCRIPT}'"),
}

TRICKY = "tricky it's \"$(touch expanded)\" `touch expanded` \\b [*] ~ ;&|#\nx"


class Shell:
    """An interactive shell in an empty folder, with a machine of its own."""

    def __init__(self, folder):
        self.folder = folder
        self.pipe = os.path.join(folder, "answer")
        os.mkfifo(self.pipe)
        bin_folder = os.path.join(folder, "bin")
        os.mkdir(bin_folder)
        os.symlink(LARDER, os.path.join(bin_folder, "larder"))
        show = os.path.join(bin_folder, "show")
        with open(show, "w", encoding="utf-8") as file:
            file.write(f"#!/bin/sh\nprintf '%s\\0' \"$@\" >'{self.pipe}'\n")
        os.chmod(show, 0o755)
        self.environment = dict(os.environ, HOME=folder, LARDER_ROOT=os.path.join(folder, "machine"),
                                PATH=bin_folder + ":/usr/bin:/bin", LC_ALL="C.UTF-8", TERM="xterm")
        os.mkdir(self.environment["LARDER_ROOT"])
        self.files = os.path.join(folder, "files")
        os.mkdir(self.files)
        command, setup = START[NAME]
        self.process, self.terminal = pty.fork()
        if self.process == 0:
            os.chdir(self.files)
            os.execve(SHELL, command, self.environment)
        self.screen = b""
        threading.Thread(target=self.read_screen, daemon=True).start()
        self.type(setup + "\n")

    def read_screen(self):
        try:
            while data := os.read(self.terminal, 4096):
                self.screen += data
        except OSError:  # the shell has ended
            pass

    def type(self, text):
        os.write(self.terminal, text.encode())

    def larder(self, *arguments):
        return subprocess.run([LARDER, *arguments], env=self.environment, check=True,
                              capture_output=True, text=True).stdout

    def complete(self, line):
        """Returns the words of the line after Tab."""
        self.type(line + "\t" + HOME_KEY + "show " + END_KEY + "\n")
        with open(self.pipe, encoding="utf-8") as answer:
            return answer.read().split("\0")[1:-1]


def commands_of(shell, *command):
    text = shell.larder(*command, "--help")
    if "Subcommands:" not in text:
        return
    for name in re.findall(r"^  (\S+)", text.split("Subcommands:\n")[1], re.MULTILINE):
        yield [*command, name]
        yield from commands_of(shell, *command, name)


def check(shell, line, expected):
    # First, because the shell doesn't answer if a quote stays open.
    print(f"{NAME}: larder {line}<Tab>", flush=True)
    found = shell.complete("larder " + line)
    if found == expected:
        return 0
    print(f"  expected {expected}\n  found    {found}")
    return 1


def check_all(shell):
    for name in (TRICKY, "plain"):
        with open(os.path.join(shell.files, name), "w", encoding="utf-8"):
            pass
    shell.larder("registry", "set", r"DataProviders\FeedFile", "szDLL", "a.dll")
    shell.larder("registry", "set", "DataProviders\\My 'own' $(touch expanded)", "szDLL", "b.dll")
    commands = list(commands_of(shell))
    assert ["registry", "delete"] in commands
    failures = sum(check(shell, " ".join(command)[:-1], command) for command in commands
                   if command[-1] not in ("on", "off"))  # they begin alike
    setting = ["registry", "set", "Install", "a", "b"]
    for line, expected in [
            ("scan --one", ["scan", "--one-file-system"]),
            ("query --json --du", ["query", "--json", "--du"]),  # these two exclude each other
            ("query --json --opt", ["query", "--json", "--option"]),
            ("registry set Install a b --type REG_E", [*setting, "--type", "REG_EXPAND_SZ"]),
            ("registry set Install a b --type=REG_E", [*setting, "--type=REG_EXPAND_SZ"]),
            ("log list pla", ["log", "list", "pla"]),
            ("query pla", ["query", "plain"]),
            ("check --descriptor=pla", ["check", "--descriptor=plain"]),
            ("query tri", ["query", TRICKY]),
            ("query plain -- --x tri", ["query", "plain", "--", "--x", TRICKY]),
            ("query '$(touch expanded)' pla", ["query", "$(touch expanded)", "plain"]),
            (r"registry get 'DataProviders\F", ["registry", "get", r"DataProviders\FeedFile"]),
            (r"registry get DataProviders\\F", ["registry", "get", r"DataProviders\FeedFile"]),
            (r"registry get 'DataProviders\M",
             ["registry", "get", "DataProviders\\My 'own' $(touch expanded)"]),
            (r'registry get "DataProviders\\M',
             ["registry", "get", "DataProviders\\My 'own' $(touch expanded)"]),
            (r"registry get DataProviders\\M",
             ["registry", "get", "DataProviders\\My 'own' $(touch expanded)"]),
    ]:
        failures += check(shell, line, expected)
    if os.path.exists(os.path.join(shell.files, "expanded")):
        print(f"{NAME}: a name was expanded as a command")
        failures += 1
    return failures


def main():
    with tempfile.TemporaryDirectory() as folder:
        shell = Shell(folder)
        failures = check_all(shell)
        shell.type("exit\n")
        os.waitpid(shell.process, 0)
    return 1 if failures else 0


sys.exit(main())
