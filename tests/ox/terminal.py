#!/usr/bin/env python3
"""terminal.py OX: ox on a pseudo-terminal: swatches, progress, Ctrl-C, and neither of them in a pipe."""

import os
import pty
import select
import signal
import subprocess
import sys
import time

program = os.path.abspath(sys.argv[1])
LIMIT = 60  # seconds


def run(*words, colors=True, wait_for=None, keys=b""):
    """What ox prints on a terminal of its own, and its exit status. `keys` are typed once `wait_for` has come."""
    process, terminal = pty.fork()
    if process == 0:
        os.environ.pop("NO_COLOR", None)
        os.environ.update({"COLORTERM": "truecolor"} if colors else {"COLORTERM": "truecolor", "NO_COLOR": "1"})
        os.execv(program, [program, *words])
    printed, end = b"", time.monotonic() + LIMIT
    while time.monotonic() < end:
        if not select.select([terminal], [], [], 1)[0]:
            continue
        try:
            piece = os.read(terminal, 65536)
        except OSError:  # the other end is closed
            break
        if not piece:
            break
        printed += piece
        if wait_for and wait_for in printed:
            os.write(terminal, keys)
            wait_for = None
    else:
        os.kill(process, signal.SIGKILL)
    return printed.decode(), os.waitstatus_to_exitcode(os.waitpid(process, 0)[1])


def main():
    printed, status = run("read", "--virtual", "chart")
    assert status == 0 and "\x1b[48;2;" in printed and "calibrating ..." in printed, printed
    printed, status = run("read", "--virtual", "chart", colors=False)
    assert status == 0 and "\x1b[48" not in printed and "L*" in printed, printed
    printed, status = run("read", "--virtual", "chart", "-q", colors=False)
    assert status == 0 and "\x1b" not in printed, printed
    printed, status = run("watch", "--virtual", wait_for=b"100001", keys=b"\x03")
    assert status == 0 and "attached" in printed, (printed, status)
    printed, status = run("read", "--virtual", "--count", "1000000", "--format", "csv", wait_for=b"\x1b[K3,", keys=b"\x03")
    assert status == 0 and printed.startswith("\r"), (printed[-200:], status)
    piped = subprocess.run([program, "read", "--virtual", "chart"], capture_output=True, check=True, timeout=LIMIT,
                           env={**os.environ, "COLORTERM": "truecolor"})
    assert piped.stderr == b"" and b"\x1b" not in piped.stdout, piped


if __name__ == "__main__":
    main()
