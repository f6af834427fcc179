#!/usr/bin/env python3
"""Plants one-line faults in a room of the library, one at a time, and asks the tests that judge the room.

    tools/mutants.py --room toolkit --count 100 --seed 1

The tree is never touched: a fault lies in an overlay, a mirror of the sources made of links. The file is compiled from
there, what its tests need is linked anew beside the build, and the tests run until the first one fails. A fault that
does not compile, that leaves the optimised object code as it was, or that tools/mutants-equivalent.txt lists with a
reason does not count, and another one takes its place.
"""

import argparse
import concurrent.futures
import json
import os
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess
import sys
import threading
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/mutants"
EQUIVALENT = ROOT / "tools/mutants-equivalent.txt"

# A room: its sources, and the test programs that judge it (expressions for their paths below build/mutants/tests).
OX = "Vondrel/DeviceDriver/ox"
GENERIC = "Vondrel/DeviceDriver/GENERIC"
SPECTRO = "system/system_(spectro|device)"
DISPLAY = "system/.*(colorimeter|display)"
ROOMS = {
    "utilities": (["Vondrel/Utilities/**/*", GENERIC + "/Utilities/**/*"],
                  ["utilities/", "frame/", "wire/", SPECTRO]),
    "c_sdk": ([OX + "/c_sdk/src/ox_c_sdk/**/*", OX + "/c_sdk/src/SDKProxy/**/*"], ["frame/", "system/"]),
    "proxies": ([OX + "/c_sdk/src/ox/**/*", OX + "/c_sdk/src/zelkova/**/*"], ["system/"]),
    "device": ([OX + "/*"], [SPECTRO]),
    "measurement": ([GENERIC + "/Measurement/**/*", GENERIC + "/*"], [SPECTRO]),
    "calculation": ([GENERIC + "/Calculation/**/*"], ["instrument/", "wire/", SPECTRO]),
    "configuration": ([GENERIC + "/Configuration/**/*"], ["instrument/", "wire/", SPECTRO]),
    "lowlevel": ([OX + "/LowLevel/**/*"], ["wire/", SPECTRO]),
    "usb": ([OX + "/USB/**/*"], ["wire/", SPECTRO]),
    "libusb": (["platform/libusb/**/*"], ["wire/real/"]),
    "cmetry": (["Vondrel/CMetry/**/*"], ["cmetry/", SPECTRO, "system/.*display"]),
    "toolkit": (["toolkit/**/*"], ["toolkit/", DISPLAY]),
    "control": (["control/**/*"], ["control/"]),
    "automation": (["platform/automation/**/*"], ["control/"]),
    "posix": (["platform/posix/**/*"], ["platform/", "utilities/(threads|dates)", "frame/"]),
    "colorimeter": (["virtual/colorimeter/**/*"], ["virtual/", "toolkit/", DISPLAY]),
    "spectrophotometer": (["virtual/spectrophotometer/**/*"], ["virtual/", "wire/", SPECTRO]),
    "bench": (["virtual/bench/**/*", "virtual/instrument/**/*", "virtual/transport/**/*"],
              ["virtual/", "wire/", "toolkit/", "system/"]),
}

# Published numbers: the tests hold them digit by digit, or nobody can.
TABLES = re.compile(r"/(Observer|Illuminant|DaylightBasis|RenderingSamples|DensityCurves|Table|Twins\.def)[^/]*$")

# A header that more objects than these depend on is no place: one fault would compile half the library.
MOST_OBJECTS = 8


def fail(text):
    sys.exit("mutants: " + text)


# ---- places and faults

def blank_out(text):
    """The source with comments, texts and preprocessor lines overwritten, character for character."""
    pattern = re.compile(
        r'//[^\n]*|/\*.*?\*/|R"([^(\s]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|(?<![0-9a-fA-F])\'(?:\\.|[^\'\\\n])+\'', re.S)

    def fill(match):
        filler = '"' if match.group()[0] in "\"'R" else " "
        return re.sub(r"[^\n]", filler, match.group())

    text = pattern.sub(fill, text)
    return re.sub(r"^[ \t]*#(?:[^\n]*\\\n)*[^\n]*", lambda match: re.sub(r"[^\n]", " ", match.group()), text,
                  flags=re.M)


def close_of(line, start):
    """The index of what closes the bracket at start, or -1 when it is not on this line."""
    depth = 0
    for i in range(start, len(line)):
        if line[i] in "([{":
            depth += 1
        elif line[i] in ")]}":
            depth -= 1
            if depth == 0:
                return i
    return -1


OPERATORS = {
    "comparison": (r"(?<= )(<=|>=|==|!=|<|>)(?= )",
                   {"<": ["<=", ">"], ">": [">=", "<"], "<=": ["<"], ">=": [">"], "==": ["!="], "!=": ["=="]}),
    "operator": (r"(?<= )(\+|-|\*|/|%|&&|\|\||&|\||\^|<<|>>|\+=|-=|\*=|/=|\|=|&=)(?= )",
                 {"+": ["-"], "-": ["+"], "*": ["/"], "/": ["*"], "%": ["/"], "&&": ["||"], "||": ["&&"], "&": ["|"],
                  "|": ["&"], "^": ["|"], "<<": [">>"], ">>": ["<<"], "+=": ["-=", "="], "-=": ["+=", "="],
                  "*=": ["/="], "/=": ["*="], "|=": ["=", "&="], "&=": ["=", "|="]}),
    "negation": (r"(?<![\w)])(!)(?=[\w(:])", {"!": [""]}),
    "step": (r"(\+\+|--)", {"++": ["--"], "--": ["++"]}),
}
NUMBER = re.compile(r"(?<![\w.])(0[xX][0-9a-fA-F']+|\d[\d']*\.?\d*(?:[eE][+-]?\d+)?)([uUlLfFzZ]*)(?![\w.])")
NO_CALL = {"if", "for", "while", "switch", "sizeof", "decltype", "noexcept", "catch", "return", "alignas", "max", "min",
           "hypot", "TRACE_GUARD", "defined"}
DECLARED = re.compile(r"^\s*(const\s+)?[\w:<>, *&]+?[\s&*]+\w+(\[\w*\])?\s*(=.*)?$")
DROPPED = re.compile(r"^(?!(?:return|using|namespace|static_assert|typedef|friend|case|default|else|goto|extern|template"
                     r"|public|private|protected|TRACE_GUARD)\b\s*[^;])"
                     r"(?:(?:\+\+|--|\*)?[\w:]+(?:::[\w]+)*(?:[.(\[]|->|\+\+|--|\s*(?:[-+*/|&^%]|<<|>>)?=(?!=))"
                     r"|throw\b|(?:break|continue|return)\s*;)")


def wrong_numbers(match):
    digits, suffix = match.groups()
    if digits[:2] in ("0x", "0X"):
        yield "0x%X" % (int(digits.replace("'", ""), 16) + 1) + suffix
        return
    if digits == "0":
        yield "1" + suffix
        return
    mantissa = re.match(r"[\d'.]*", digits).end()
    places = [i for i in range(mantissa) if digits[i].isdigit()]
    while len(places) > 1 and digits[places[-1]] == "0":  # a wrong digit among those that count
        places.pop()
    for i in places:
        value = int(digits[i])
        yield digits[:i] + str(value - 1 if value == 9 else value + 1) + digits[i + 1:] + suffix


def swapped(line, masked):
    for match in re.finditer(r"([\w>]+)([({])", masked):
        start = match.end(2) - 1
        end = close_of(masked, start)
        if end < 0 or match.group(1) in NO_CALL:
            continue
        cuts = [start]
        depth = 0
        for i in range(start + 1, end):
            depth += (masked[i] in "([{") - (masked[i] in ")]}")
            if masked[i] == "," and depth == 0:
                cuts.append(i)
        cuts.append(end)
        parts = [line[a + 1:b] for a, b in zip(cuts, cuts[1:])]
        if len(parts) < 2 or any(DECLARED.match(part) for part in parts):
            continue
        for i in range(len(parts) - 1):
            left, right = parts[i].strip(), parts[i + 1].strip()
            if left != right and left and right:
                yield "arguments", cuts[i] + 1, cuts[i + 2], parts[i].replace(left, right, 1) + "," + \
                    parts[i + 1].replace(right, left, 1)


def conditions(masked):
    for match in re.finditer(r"\b(if|while) \(", masked):
        end = close_of(masked, match.end() - 1)
        if end < 0:
            continue
        start = match.end()
        inside = masked[start:end]
        if ";" in inside:
            start += inside.rindex(";") + 2
        if masked[start:end] in ("true", "false"):
            continue
        yield "condition", start, end, "false"
        if match.group(1) == "if":
            yield "condition", start, end, "true"


def faults_of(line, masked, before):
    """Every fault of a line: (kind, start, end, replacement). before: the code before it, without spaces at its end."""
    stripped = masked.strip()
    if not stripped or stripped.startswith(("static_assert", "template", "namespace", "using ")):
        return
    for kind, (pattern, wrong) in OPERATORS.items():
        if kind == "step" and stripped.startswith("for "):
            continue
        for match in re.finditer(pattern, masked):
            for other in wrong[match.group(1)]:
                yield kind, match.start(1), match.end(1), other
    for match in NUMBER.finditer(masked):
        for other in wrong_numbers(match):
            yield "constant", match.start(), match.end(), other
    for match in re.finditer(r"\b(true|false)\b", masked):
        yield "constant", match.start(), match.end(), "false" if match.group() == "true" else "true"
    yield from conditions(masked)
    yield from swapped(line, masked)
    if before[-1:] in (";", "{", "}", ")", ":") or before.endswith("else"):
        if stripped.endswith(";") and DROPPED.match(stripped) and stripped.count("(") == stripped.count(")"):
            yield "statement", masked.index(stripped), len(masked.rstrip()), ";"


class Fault:
    def __init__(self, path, number, line, kind, start, end, replacement):
        self.path, self.number, self.kind = path, number, kind
        self.old = line.strip()
        self.line = line[:start] + replacement + line[end:]
        self.new = self.line.strip()
        self.key = (path, self.old, self.new)

    def __str__(self):
        return f"{self.path}:{self.number} {self.old} -> {self.new}"


def places_of(path):
    """[(line number, [Fault...])] of a file."""
    text = (ROOT / path).read_text()
    lines, masked = text.split("\n"), blank_out(text).split("\n")
    before = ""
    places = []
    for number, (line, code) in enumerate(zip(lines, masked), 1):
        if not re.search(r"constexpr|//", line) and re.fullmatch(r"[\s\d.,{}eE+\-fF]*", code):
            before = code.rstrip() or before  # a row of numbers is a table
            continue
        faults = [Fault(path, number, line, *fault) for fault in faults_of(line, code, before)]
        if faults:
            places.append((number, faults))
        before = code.rstrip() or before
    return places


def read_equivalent():
    """{(file, old, new)} of the list: a line 'file | old | new | reason' each."""
    known = set()
    if not EQUIVALENT.exists():
        return known
    for line in EQUIVALENT.read_text().splitlines():
        if line.strip() and not line.startswith("#"):
            parts = [part.strip() for part in line.split(" | ")]
            if len(parts) != 4:
                fail(f"{EQUIVALENT.name}: not 'file | old | new | reason': {line}")
            known.add(tuple(parts[:3]))
    return known


def in_random_order(paths, seed):
    """All faults of the files: every line once in random order, then every line that has more, and so on."""
    generator = random.Random(seed)
    places = []
    for path in paths:
        for _, faults in places_of(path):
            kinds = {}
            for fault in faults:
                kinds.setdefault(fault.kind, []).append(fault)
            order = []
            for choices in kinds.values():
                generator.shuffle(choices)
            names = list(kinds)
            generator.shuffle(names)
            while any(kinds.values()):
                order += [kinds[name].pop() for name in names if kinds[name]]
            places.append(order)
    while places:
        generator.shuffle(places)
        for faults in places:
            yield faults.pop(0)
        places = [faults for faults in places if faults]


def picked(places, paths):
    """The faults of 'FILE:LINE' (all of that line) or 'FILE:LINE:old=>new'."""
    for place in places:
        match = re.fullmatch(r"([^:]+):(\d+)(?::(.*)=>(.*))?", place, re.S)
        if not match or not (ROOT / match.group(1)).exists():
            fail(f"no such place: {place}")
        path, number, old, new = match.group(1), int(match.group(2)), match.group(3), match.group(4)
        if path not in paths:
            fail(f"{path} is no file of the room")
        lines = (ROOT / path).read_text().split("\n")
        if not 0 < number <= len(lines):
            fail(f"{path} has no line {number}")
        if old is not None:
            if not old or old not in lines[number - 1]:
                fail(f"{path}:{number} does not hold '{old}'")
            start = lines[number - 1].index(old)
            yield Fault(path, number, lines[number - 1], "picked", start, start + len(old), new)
            continue
        faults = dict(places_of(path)).get(number)
        if not faults:
            fail(f"{path}:{number} is no place for a fault")
        yield from faults


# ---- the build

def run(command, **more):
    done = subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, **more)
    if done.returncode:
        fail(f"{' '.join(map(str, command))[:200]} failed\n{done.stdout[-4000:]}")
    return done.stdout


def first_command(text):
    """The words of the first program in a shell command of ninja's."""
    words = shlex.split(text)
    if words[:1] == [":"]:
        words = words[2:]
    words = words[:words.index("&&")] if "&&" in words else words
    here = str(BUILD) + "/"
    return [os.path.normpath(word.removeprefix(here)) if word.endswith((".o", ".so")) or ".so." in word else word
            for word in words]  # one spelling of every object


class Build:
    def __init__(self, jobs):
        # Compiled as for a release, so that the tests are fast; what holds a fault is compiled without optimisation.
        run(["cmake", "--preset", "release", "-B", BUILD, "-DORVEX_BUILD_BENCHMARKS=OFF",
             "-DCMAKE_EXE_LINKER_FLAGS=-Wl,--enable-new-dtags", "-DCMAKE_SHARED_LINKER_FLAGS=-Wl,--enable-new-dtags"],
            cwd=ROOT)
        self.jobs = jobs
        self.compiles, self.links = {}, {}
        for edge in json.loads(run(["ninja", "-C", BUILD, "--quiet", "-t", "compdb"])):
            output = edge["output"]
            if output.endswith(".o"):
                self.compiles[output] = (first_command(edge["command"]), edge["file"])
            elif "LINK" in edge["command"] or output.startswith(("tests/", "library/")):
                words = first_command(edge["command"])
                if "-o" in words and any(word.endswith(".o") for word in words):
                    self.links[output] = words
        self.libraries = {output for output in self.links if ".so" in output}

    def object_of(self, path):
        wanted = str(ROOT / path)
        for output, (_, source) in self.compiles.items():
            if source == wanted and not output.startswith("tests/"):
                return output
        return None

    def make(self, targets):
        print(f"building {len(targets)} test programs in {BUILD.relative_to(ROOT)}", flush=True)
        run(["cmake", "--build", BUILD, "-j", str(self.jobs), "--target", *sorted(targets)])

    def read_dependencies(self):
        """{header: {object}} as the compiler saw it."""
        self.users = {}
        current = None
        for line in run(["ninja", "-C", BUILD, "-t", "deps"]).splitlines():
            if line.startswith(" "):
                path = line.strip()
                if path.startswith(str(ROOT)):
                    self.users.setdefault(os.path.relpath(path, ROOT), set()).add(current)
            elif line:
                current = line.split(":")[0]

    def programs(self, objects):
        """{program: what is linked anew for it} of all that hold one of the objects, themselves or in a library."""
        changed = {output for output, words in self.links.items() if objects & set(words)}
        found = {}
        for output, words in self.links.items():
            if output not in self.libraries:
                found[output] = [name for name in words if name in changed & self.libraries]
                if output in changed:
                    found[output].append(output)
        return {output: anew for output, anew in found.items() if anew}


class Test:
    def __init__(self, name, command, environment, wanted, program, rank):
        self.name, self.command, self.environment, self.wanted = name, command, environment, wanted
        self.program, self.rank = program, rank
        self.seconds = self.processor = 0.0
        self.runs = self.kills = 0

    def worth(self):
        return (self.kills + 1) / (self.runs + 1 + self.rank) / max(self.seconds, 0.02)


def find_tests(expressions, programs):
    """The tests of ctest whose program is one of these and matches."""
    tests = []
    for entry in json.loads(run(["ctest", "--test-dir", BUILD, "--show-only=json-v1"]))["tests"]:
        command = entry.get("command", [])
        program = next((os.path.relpath(word, BUILD) for word in command if word.startswith(str(BUILD))
                        and os.path.relpath(word, BUILD) in programs), None)
        if not program:
            continue
        rank = next((i for i, one in enumerate(expressions) if re.match("tests/" + one, program)), None)
        if rank is None:
            continue
        properties = {item["name"]: item["value"] for item in entry.get("properties", [])}
        environment = dict(pair.split("=", 1) for pair in properties.get("ENVIRONMENT", []))
        wanted = properties.get("PASS_REGULAR_EXPRESSION", [])
        tests.append(Test(entry["name"], command, environment, wanted, program, rank))
    return tests


# ---- one worker

class Worker:
    """An overlay of the sources, and the folder for what is built from it."""

    def __init__(self, number, build):
        self.build = build
        self.folder = BUILD / "overlay" / str(number)
        shutil.rmtree(self.folder, ignore_errors=True)
        self.tree, self.out, self.scratch = (self.folder / name for name in ("tree", "out", "run"))
        for listed in run(["git", "-C", ROOT, "ls-files", "--cached", "--others", "--exclude-standard"]).splitlines():
            if listed.endswith((".cpp", ".c", ".h", ".def", ".inc")) and (ROOT / listed).exists():
                link = self.tree / listed
                link.parent.mkdir(parents=True, exist_ok=True)
                link.symlink_to(ROOT / listed)

    def compile(self, target, output, *more):
        words, source = self.build.compiles[target]
        inside = []
        for word in words:
            if word == source:
                word = str(self.tree / os.path.relpath(source, ROOT))
            elif word == f"-I{ROOT}" or (word.startswith(f"-I{ROOT}/") and not word.startswith(f"-I{BUILD}")):
                word = word.replace(str(ROOT), str(self.tree), 1)
            inside.append(word)
        if "-MF" in inside:
            cut = inside.index("-MF")
            del inside[cut:cut + 2]
        inside = [word for word in inside if word != "-MD"]
        if "-MT" in inside:
            cut = inside.index("-MT")
            del inside[cut:cut + 2]
        inside[inside.index("-o") + 1] = str(output)
        output.parent.mkdir(parents=True, exist_ok=True)
        command = inside + ["-w", "-Wno-error", f"-ffile-prefix-map={self.tree}/=", *(more or ["-O0"])]
        return subprocess.run(command, cwd=BUILD, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL).returncode == 0

    def link(self, target, objects):
        output = self.out / target
        if output.exists():
            return
        output.parent.mkdir(parents=True, exist_ok=True)
        words = [str(self.out / word) if word in objects or word == target else word
                 for word in self.build.links[target]]
        subprocess.run(words, cwd=BUILD, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, check=True)
        soname = next((word.split("-soname,")[1] for word in words if "-soname," in word), None)
        if soname:
            (output.parent / soname).symlink_to(output)

    def judge(self, test, anew, objects):
        """None when the test passes, or why it does not. anew: what is linked for it."""
        environment = dict(os.environ, **test.environment, GTEST_FAIL_FAST="1", GTEST_COLOR="no")
        for name in anew:
            self.link(name, objects)
            if name in self.build.libraries:
                environment["LD_LIBRARY_PATH"] = str((self.out / name).parent)
        moved = {str(BUILD / name): str(self.out / name) for name in anew}
        command = [moved.get(word, word) for word in test.command]
        return run_test(test, command, environment, self.scratch, 5 * test.processor + 5, 10 * test.seconds + 30)

    def try_fault(self, fault, tests):
        """'killed by ...', 'SURVIVED', 'equal' or 'broken'."""
        shutil.rmtree(self.out, ignore_errors=True)
        link = self.tree / fault.path
        lines = (ROOT / fault.path).read_text().split("\n")
        lines[fault.number - 1] = fault.line
        objects = objects_of(self.build, fault.path)
        link.unlink()
        link.write_text("\n".join(lines))
        try:
            for target in objects:
                if not self.compile(target, self.out / target):
                    return "broken"
            relinked = self.build.programs(objects)
            for test in sorted(tests, key=Test.worth, reverse=True):
                if test.program not in relinked:
                    continue
                reason = self.judge(test, relinked[test.program], objects)
                test.runs += 1
                if reason:
                    test.kills += 1
                    return "killed by " + reason
            return "equal" if self.is_equal(fault, link, objects) else "SURVIVED"
        except subprocess.CalledProcessError:
            return "broken"  # it does not link
        finally:
            link.unlink()
            link.symlink_to(ROOT / fault.path)

    def is_equal(self, fault, link, objects):
        """Whether the optimised code is the same with the fault and without."""
        optimised = ["-O2"]
        with_fault = [self.out / (target + ".with") for target in objects]
        without = [self.out / (target + ".without") for target in objects]
        for target, output in zip(objects, with_fault):
            self.compile(target, output, *optimised)
        link.unlink()
        link.symlink_to(ROOT / fault.path)
        for target, output in zip(objects, without):
            self.compile(target, output, *optimised)
        return all(a.exists() and b.exists() and a.read_bytes() == b.read_bytes() for a, b in zip(with_fault, without))


def objects_of(build, path):
    if path.endswith((".cpp", ".c")):
        return {build.object_of(path)}
    return build.users.get(path, set())


def run_test(test, command, environment, scratch, processor, limit):
    shutil.rmtree(scratch, ignore_errors=True)
    scratch.mkdir(parents=True)
    log = scratch.parent / (scratch.name + ".log")
    with open(log, "wb") as output:
        # Limits of the shell: of processor time, and of the file size in blocks of 1 KiB.
        program = subprocess.Popen(
            ["bash", "-c", 'ulimit -c 0; ulimit -f 200000; ulimit -S -t "$1"; shift; exec "$@"', "limits",
             str(int(processor) + 1), *command],
            cwd=scratch, env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output, start_new_session=True)
        begin = time.monotonic()
        try:
            status = program.wait(timeout=limit)
        except subprocess.TimeoutExpired:
            status = None
        finally:
            try:
                os.killpg(program.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            program.wait()
    test.last_seconds = time.monotonic() - begin
    said = log.read_text(errors="replace")
    if status == 0:
        return None if all(re.search(text, said) for text in test.wanted) else test.name + " (other output)"
    names = re.findall(r"^\[  FAILED  \] ([\w./]+)", said, re.M) or re.findall(r"^\[ RUN      \] ([\w./]+)", said, re.M)[-1:]
    how = " (time limit)" if status is None or status == -signal.SIGXCPU else \
        f" ({signal.Signals(-status).name})" if status < 0 else ""
    return test.name + (" " + names[0] if names else "") + how


# ---- the run

def measure(tests, folder, slowest):
    """Runs every test as it is, and gives those that judge: not one that takes too long to be asked a hundred times."""
    judges, slow = [], []
    for test in tests:
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        reason = run_test(test, test.command, dict(os.environ, **test.environment), folder, slowest, 600)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        if reason and reason.endswith("(time limit)"):
            slow.append(test)
            continue
        if reason:
            fail(f"without a fault the tests fail: {reason}")
        test.seconds = test.last_seconds
        test.processor = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        judges.append(test)
    if not judges:
        fail("no test is fast enough to judge")
    print(f"pass without a fault, in {sum(test.seconds for test in judges):.1f} s: "
          + " ".join(test.name for test in judges))
    if slow:
        print(f"not asked, over {slowest} s of processor time: " + " ".join(test.name for test in slow))
    sys.stdout.flush()
    return judges


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--room", required=True, choices=sorted(ROOMS))
    parser.add_argument("--count", type=int, default=100, help="faults that count (default 100)")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=2, help="faults that are tried side by side (default 2)")
    parser.add_argument("--slowest", type=int, default=12, metavar="SECONDS",
                        help="a test program that takes more processor time is not asked (default 12)")
    parser.add_argument("--at", nargs="+", metavar="PLACE",
                        help="instead of random places: FILE:LINE (every fault of that line) or FILE:LINE:old=>new")
    parser.add_argument("--list", action="store_true", help="list the faults and try none")
    options = parser.parse_args()

    patterns, expressions = ROOMS[options.room]
    paths = sorted({str(path.relative_to(ROOT)) for pattern in patterns for path in ROOT.glob(pattern)
                    if path.suffix in (".cpp", ".c", ".h") and not TABLES.search(str(path))})
    if not paths:
        fail(f"the room {options.room} has no sources")

    if options.list:
        faults = picked(options.at, paths) if options.at else in_random_order(paths, options.seed)
        for i, fault in enumerate(faults):
            if not options.at and i >= options.count:
                break
            print(f"{fault.kind:10} {fault}")
        return

    build = Build(options.jobs)
    objects = {build.object_of(path) for path in paths if path.endswith((".cpp", ".c"))} - {None}
    programs = {name for name in build.programs(objects) if any(re.match("tests/" + one, name) for one in expressions)}
    if not programs:
        fail(f"no test reaches the room {options.room}")
    build.make(programs)
    build.read_dependencies()
    paths = [path for path in paths
             if (build.object_of(path) if not path.endswith(".h") else 0 < len(objects_of(build, path)) <= MOST_OBJECTS)]
    tests = find_tests(expressions, programs)
    if not tests:
        fail(f"no test judges the room {options.room}")
    tests = measure(tests, BUILD / "overlay" / "baseline", options.slowest)

    known = read_equivalent()
    if options.at:
        faults = picked(options.at, paths)
        options.count = sys.maxsize
    else:
        faults = in_random_order(paths, options.seed)
    begin = time.monotonic()
    idle = [Worker(number, build) for number in range(options.jobs)]
    lock = threading.Lock()
    tally = {"killed": 0, "SURVIVED": 0, "broken": 0, "equal": 0}

    def attempt(fault):
        with lock:
            worker = idle.pop()
        try:
            return fault, worker.try_fault(fault, tests)
        finally:
            with lock:
                idle.append(worker)

    def counted():
        return tally["killed"] + tally["SURVIVED"]

    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        faults = (fault for fault in faults if fault.key not in known)
        waiting = []
        while counted() < options.count:
            # Answers are taken in the order of the faults, so that a seed always means the same ones.
            while len(waiting) < options.jobs and counted() + len(waiting) < options.count + options.jobs - 1:
                fault = next(faults, None)
                if not fault:
                    break
                waiting.append(pool.submit(attempt, fault))
            if not waiting:
                break
            fault, verdict = waiting.pop(0).result()
            tally[verdict.split()[0]] += 1
            if verdict == "SURVIVED":
                print(f"{counted():4} SURVIVED {fault}", flush=True)
            elif verdict.startswith("killed"):
                print(f"{counted():4} {verdict}: {fault}", flush=True)
            elif options.at:
                print(f"     {verdict}: {fault}", flush=True)

    if not counted():
        fail("no fault could be tried")
    print(f"{options.room}: {tally['killed']} of {counted()} killed, {100 * tally['killed'] / counted():.0f} % "
          f"({'picked places' if options.at else f'seed {options.seed}'}; {tally['broken']} did not compile, "
          f"{tally['equal']} change no code; {(time.monotonic() - begin) / counted():.1f} s a fault)")


if __name__ == "__main__":
    main()
