#!/usr/bin/env python3
"""Types the commands of documentation pages as a reader would, and compares what comes of them with what the pages show.

usage: pages.py PAGE...
       pages.py --shown COMMAND PAGE <OUTPUT     compares what a long command printed with what a page shows of it

A block of the kind `console` holds commands, in lines that begin with "$ ", and perhaps what each prints; a line "..."
stands for any lines, and empty lines do not count. All of a page's are typed into one shell at the root of the checkout, each
must end with status 0, and a comment behind one ("  # ...") is for people. Commands that take long are not run: the program
or script must be there. Blocks of the other kinds below are not typed. A block of no kind is refused, so that no command is
overlooked.
"""

import os
import re
import shutil
import subprocess
import sys

KINDS = {"console", "text", "c", "cpp", "python", "bash"}

# They build, test for minutes, or change what is written down.
LONG = re.compile(r"^(cmake|\./(run|test|lint)|docs/draw|bench/run|tests/[a-z]+/[a-z-]+|bash tests/host/[a-z-]+\.sh)( |$)")

# Behind each command, so that its end is seen.
MARK = "=== the end of a command:"


def blocks(page):
    """Yields the kind and the lines of each block."""
    kind, lines, indent = None, [], ""
    with open(page, encoding="utf-8") as file:
        for line in file:
            fence = re.match(r"^( *)```(\w*)$", line.rstrip("\n"))
            if fence and kind is None:
                indent, kind, lines = fence[1], fence[2], []
            elif fence:
                yield kind, lines
                kind = None
            elif kind is not None:
                lines.append(line.rstrip("\n").removeprefix(indent))


def commands(page):
    """Yields each command of a page with the lines that it prints; none for one that the page does not show."""
    for kind, lines in blocks(page):
        assert kind in KINDS, f"{page}: a block of the kind '{kind}'; say which of {sorted(KINDS)} it is"
        command, shown = None, []
        for line in (lines if kind == "console" else []) + ["$ "]:
            if line.startswith("$ "):
                if command:
                    yield command, shown
                command, shown = re.sub(r"  +# .*", "", line[2:]), []
            else:
                assert command, f"{page}: output without a command: {line}"
                if line:
                    shown.append(line)


def matches(shown, printed):
    """Whether the lines are those that the page shows."""
    if not shown:
        return not printed
    if shown[0] == "...":
        return any(matches(shown[1:], printed[start:]) for start in range(len(printed) + 1))
    return bool(printed) and shown[0] == printed[0] and matches(shown[1:], printed[1:])


class Shell:
    def __init__(self):
        self.process = subprocess.Popen(["bash"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                        stderr=subprocess.STDOUT, text=True, errors="replace")

    def type(self, command):
        """Returns the lines that the command printed, and its status."""
        # Not from the pipe that the commands come from.
        self.process.stdin.write(f"{{ {command}\n}} </dev/null; printf '\\n{MARK} %s\\n' $?\n")
        self.process.stdin.flush()
        lines = []
        for line in self.process.stdout:
            if line.startswith(MARK):
                return [line for line in "\n".join(lines).strip("\n").split("\n") if line], int(line.split()[-1])
            lines.append(line.rstrip("\n"))
        return lines, "none: the shell ended"


def compare(wanted, page):
    """Whether standard input is what the page shows of this command."""
    printed = [line.rstrip("\n") for line in sys.stdin if line.strip()]
    shown = [shown for command, shown in commands(page) if command == wanted and shown]
    assert len(shown) == 1, f"{page} shows the output of {wanted} {len(shown)} times"
    if matches(shown[0], printed):
        return 0
    print(f"{page} shows this of {wanted}:", *shown[0], "it printed:", *printed, sep="\n  ")
    return 1


def main():
    failed = typed = 0
    for page in sys.argv[1:]:
        shell = Shell()
        for command, shown in commands(page):
            typed += 1
            if LONG.match(command):
                program = LONG.match(command)[1].removeprefix("bash ")
                if not (shutil.which(program) or os.path.isfile(program) and command.startswith("bash ")):
                    print(f"{page}: there is no program {program}")
                    failed += 1
                continue
            printed, status = shell.type(command)
            if status != 0 or (shown and not matches(shown, printed)):
                print(f"{page}: {command}\n  ended with {status} and printed:", *printed, "the page shows:", *shown, sep="\n  ")
                failed += 1
        shell.process.stdin.close()
        shell.process.wait()
    print(f"{typed} commands, {failed} failed")
    return 1 if failed or typed == 0 else 0


sys.exit(compare(*sys.argv[2:]) if sys.argv[1:2] == ["--shown"] else main())
