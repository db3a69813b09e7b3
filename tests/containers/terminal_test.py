#!/usr/bin/env python3
"""terminal_test.py COMMAND SAMPLE: asks for the password on the terminal, does not
show it, and allows no core dump. Is skipped where the system has no terminal to give.
"""

import os
import pty
import resource
import sys

COMMAND, SAMPLE = sys.argv[1:]
SKIPPED = 77


def read_until(terminal, end):
    """What the command writes up to `end`, or until it ends."""
    seen = b""
    try:
        while end not in seen and (chunk := os.read(terminal, 4096)):
            seen += chunk
    except OSError:  # the other end is closed
        pass
    return seen.decode()


try:
    pid, terminal = pty.fork()
except OSError as e:
    print(f"skipped: no terminal to be had here: {e} (is /dev/pts mounted?)")
    sys.exit(SKIPPED)
if pid == 0:
    os.execl(COMMAND, COMMAND, "p12", "show", SAMPLE)
assert read_until(terminal, b": ").startswith("Password of ")
assert resource.prlimit(pid, resource.RLIMIT_CORE) == (0, 0)
os.write(terminal, b"pkider-sample\n")
seen = read_until(terminal, b"\0")
assert os.waitpid(pid, 0)[1] == 0 and "CN=Sample User" in seen, seen
assert "pkider-sample" not in seen, seen
