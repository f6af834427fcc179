#!/usr/bin/env python3
"""session.py OX DATA SESSION...: plays sessions of a terminal and compares what they print.

A session has lines "$ command" (continued by "> "), what the command prints, and "-> N" where its exit status is not 0. In what
is printed "..." stands for anything in a line, and alone on a line for any lines. The commands run by bash in a folder of their
own, which holds copies of the files of DATA."""

import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile

LIMIT = 120  # seconds


def steps(path):
    """(line number, command, what it prints, status) of a session."""
    found = []
    with open(path, encoding="utf-8") as lines:
        for number, line in enumerate(lines, 1):
            line = line.rstrip("\n")
            if line.startswith("$ "):
                found.append([number, line[2:], [], 0])
            elif line.startswith("> "):
                found[-1][1] += "\n" + line[2:]
            elif line.startswith("-> "):
                found[-1][3] = int(line[3:])
            elif found and not line.startswith("#"):
                found[-1][2].append(line)
    return found


def matches(expected, printed):
    pattern = ""
    for line in expected:
        pattern += r"(?:.*\n)*?" if line == "..." else re.escape(line).replace(r"\.\.\.", ".*") + "\n"
    return re.fullmatch(pattern, printed) is not None


def environment(program):
    kept = {name: value for name, value in os.environ.items() if name.startswith(("ASAN", "UBSAN", "HOME", "TZ"))}
    return {**kept, "PATH": os.path.dirname(program) + ":/usr/bin:/bin", "LC_ALL": "C.UTF-8"}


def play(program, data, path):
    failures = 0
    with tempfile.TemporaryDirectory() as folder:
        for name in os.listdir(data):
            if os.path.isfile(os.path.join(data, name)):
                shutil.copy(os.path.join(data, name), folder)
        os.mkdir(os.path.join(folder, "tests"))
        os.symlink(os.path.abspath(data), os.path.join(folder, "tests", "data"))
        all_steps = steps(path)
        assert all_steps, f"{path} has no commands"
        for number, command, expected, status in all_steps:
            done = subprocess.run(["bash", "-c", command], cwd=folder, env=environment(program), timeout=LIMIT,
                                  stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
            while expected and not expected[-1]:
                expected.pop()
            printed = done.stdout.decode("utf-8", "replace")
            if done.returncode == status and matches(expected, printed):
                continue
            failures += 1
            print(f"{path}:{number}: $ {command}\nstatus {done.returncode}, expected {status}")
            print("\n".join(difflib.unified_diff(expected, printed.splitlines(), "expected", "printed", lineterm="")))
    return failures


def main():
    program, data, *paths = sys.argv[1:]
    failures = sum(play(os.path.abspath(program), data, path) for path in paths)
    sys.exit(f"{failures} steps differ" if failures else 0)


if __name__ == "__main__":
    main()
