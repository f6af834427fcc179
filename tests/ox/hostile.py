#!/usr/bin/env python3
"""hostile.py OX DATA: files and scenes that were spoilt at random are read or refused with a sentence, and nothing else."""

import os
import random
import subprocess
import sys
import tempfile

program, data = os.path.abspath(sys.argv[1]), os.path.join(os.path.abspath(sys.argv[2]), "colorchecker24.csv")
TRIES = 40  # of each file
PIECES = [b"", b"\x00", b"\xff\xfe", b'"', b"'", b"\n", b",", b"\t", b"#", b"END_DATA\n", b"BEGIN_DATA_FORMAT\n", b"NUMBER_OF_SETS 9999999999999999999\n",
          b"1e999", b"-nan", b"[", b"{", b"}", b"]", b"null", b"9" * 400, b"SAMPLE_ID ", b'"samples": [']


def run(*words):
    return subprocess.run([program, *words], capture_output=True, timeout=120, check=False)


def spoil(text, dice):
    for _ in range(dice.randint(1, 4)):
        at, gone = dice.randrange(len(text) + 1), dice.choice([0, 1, 1, 5, 200])
        text = text[:at] + dice.choice(PIECES) + text[at + gone:]
    return text[:dice.randrange(1, len(text) + 1)] if dice.random() < 0.2 else text


def main():
    dice = random.Random(20)
    for name in ("a.csv", "a.tsv", "a.json", "a.cgats"):
        assert run("convert", data, "--columns", "color,spectrum", "-o", name).returncode == 0
    with open("scene.json", "w", encoding="utf-8") as scene:
        scene.write('{"instruments": ["spectrophotometer"], "numbers": {"noise": 2},\n"samples": [0.5, {"first_nm": 400, "step_nm": 20,\n'
                    '"values": [0.1, 0.2]}], "strip": [{"reflectance": 0.2, "seconds": 0.3}], "flashes": [{"irradiance": 25}]}')
    read = 0
    for name in ("a.csv", "a.tsv", "a.json", "a.cgats", "scene.json"):
        with open(name, "rb") as file:
            sound = file.read()
        for number in range(TRIES):
            with open("x.json", "wb") as file:
                file.write(spoil(sound, dice))
            done = run("list", "--virtual=x.json") if name == "scene.json" else run("convert", "x.json", "--space", "CIEXYZ")
            told = done.stderr.decode("utf-8", "replace")
            sound_end = done.returncode == 0 or (done.returncode == 4 and told.startswith("ox: "))
            assert sound_end and "runtime error" not in told, f"{name}, try {number}: status {done.returncode}\n{told}"
            read += done.returncode == 0
    assert 0 < read < 5 * TRIES, "all or none were refused"


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        main()
