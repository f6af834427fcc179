#!/usr/bin/env python3
"""examples.py OX DATA: runs the two examples in the help of every command."""

import os
import subprocess
import sys
import tempfile

import session


def ask(program, *words):
    return subprocess.run([program, *words], check=True, capture_output=True, text=True, timeout=session.LIMIT).stdout


def below(text, title):
    """The lines below a title, up to the next empty line."""
    return [line.strip() for line in text.split(title + "\n", 1)[1].split("\n\n")[0].splitlines() if line.strip()]


def main():
    program, data = os.path.abspath(sys.argv[1]), sys.argv[2]
    commands = [line.split()[0] for line in below(ask(program, "--help"), "Subcommands:")]
    assert len(commands) > 3
    with tempfile.NamedTemporaryFile("w", suffix=".txt") as transcript:
        for command in commands:
            examples = below(ask(program, command, "--help"), "Examples:")
            assert len(examples) == 2, f"{command} has {len(examples)} examples"
            transcript.writelines(f"$ {example}\n...\n" for example in examples)
        transcript.flush()
        sys.exit(session.play(program, data, transcript.name))


if __name__ == "__main__":
    main()
