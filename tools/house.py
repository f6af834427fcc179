#!/usr/bin/env python3
"""Prints the longest functions and files of the product, and fails when a function has more than 50 lines or a file that is
neither a table nor zelcal.h more than 600."""

import re
import subprocess
import sys

from mutants import ROOT, TABLES, blank_out

MOST_LINES_OF_FUNCTION = 50
MOST_LINES_OF_FILE = 600
PRODUCT = ["Vondrel", "toolkit", "control", "platform", "virtual", "include", "apps"]


def functions(text):
    """(name, first line, lines) of every function with a body, from its first line to its closing brace."""
    code = re.sub(r"\bTRACE_GUARD\([^)]*\)", lambda match: " " * len(match.group()), blank_out(text))
    scopes = []  # for each open brace: where its function began, or None
    begin = 0    # where the current declaration begins
    for match in re.finditer(r"[{};]", code):
        at = match.start()
        inside = any(scope is not None for scope in scopes)
        if match.group() == "{":
            head = code[begin:at]
            opens = not inside and ")" in head and not re.search(r"=\s*$|\b(namespace|enum)\b", head)
            scopes.append(begin + len(head) - len(head.lstrip()) if opens else None)
            if not opens and not inside:
                begin = match.end()
        elif match.group() == "}":
            if not scopes:
                raise ValueError("a brace too many")
            start = scopes.pop()
            following = code[match.end():].lstrip()[:1]
            if start is not None and following not in (",", "{"):  # not a member's initialiser
                name = re.search(r"([\w:~]+|operator\W+)\s*\(", code[start:])
                first = code.count("\n", 0, start) + 1
                yield name.group(1) if name else "?", first, code.count("\n", 0, at) + 2 - first
            if not any(scope is not None for scope in scopes) and not (start is not None and following in (",", "{")):
                begin = match.end()
        elif not inside:
            begin = match.end()


def main():
    listed = subprocess.run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard", *PRODUCT],
                            check=True, capture_output=True, text=True).stdout.splitlines()
    files, found = [], []
    for path in listed:
        if not path.endswith((".cpp", ".c", ".h")) or not (ROOT / path).exists():
            continue
        text = (ROOT / path).read_text()
        files.append((text.count("\n"), path))
        found += [(lines, f"{path}:{first} {name}") for name, first, lines in functions(text)]
    if len(found) < 500:
        sys.exit("house: too few functions were found")
    files = [(lines, path) for lines, path in files if not TABLES.search(path) and path != "include/orvex/zelcal.h"]
    longest, largest = sorted(found, reverse=True), sorted(files, reverse=True)
    for name, limit, order in (("function", MOST_LINES_OF_FUNCTION, longest), ("file", MOST_LINES_OF_FILE, largest)):
        over = [entry for entry in order if entry[0] > limit]
        for lines, where in over or order[:1]:
            print(f"{'too long' if over else 'longest'} {name}: {lines} lines, {where}")
    print(f"{len(found)} functions, half of them up to {sorted(found)[len(found) // 2][0]} lines")
    sys.exit(longest[0][0] > MOST_LINES_OF_FUNCTION or largest[0][0] > MOST_LINES_OF_FILE)


if __name__ == "__main__":
    main()
