#!/usr/bin/env python3
"""edges_test.py COMMAND FAULTS SOURCE: the command with each allocation, write or change of a file
failing, or interrupted there, by the preloaded library FAULTS.

Prints what went wrong: what a run may do depends on the fault alone, never on where it came.
"""

import os
import signal
import subprocess
import sys
import tempfile
from pathlib import Path

COMMAND, FAULTS, SOURCE = sys.argv[1:]
QUICK, CERTIFICATE = f"{SOURCE}/tests/data/quick.p12", f"{SOURCE}/examples/certificate.der"
failures = []
scratch = tempfile.TemporaryDirectory()
PASSWORD = ["--password-file", f"{scratch.name}/password"]
Path(PASSWORD[1]).write_text("pkider-sample\n", encoding="ascii")


def run(arguments, kind, number):
    return subprocess.run([COMMAND, *arguments], text=True, check=False, capture_output=True,
                          env=os.environ | {"FAULT": f"{kind} {number}", "LD_PRELOAD": FAULTS})


def expect(holds, *what):
    if not holds:
        failures.append(" ".join(map(str, what)))


def fail_allocations(arguments, step):
    """Every `step`-th. Before main the program ends as the exception ends it; then with a message."""
    whole = run(arguments, "none", 0)
    expect(whole.returncode == 0, arguments, whole)
    # Without memory for the locale all that is not ASCII is escaped, as without the locale itself.
    right = [whole.stdout, "".join(c if c.isascii() else "".join(f"\\{b:02X}" for b in c.encode())
                                   for c in whole.stdout)]
    running, number, done = False, 0, None
    while number == 0 or "no fault" not in done.stderr:
        done = run(arguments, "memory", number)
        if done.returncode == -signal.SIGABRT:
            # libgcrypt itself aborts where it cannot read whether the system is in FIPS mode.
            expect(done.stderr.startswith("FATAL: error reading `/proc/sys/crypto/fips_enabled'") or
                   not running and "std::bad_alloc" in done.stderr, arguments, number, done)
        elif done.returncode == 0:
            expect(done.stdout in right, arguments, number, done)
        else:
            running = True
            expect(done.returncode == 1 and done.stderr.startswith("pkider: "), arguments, number,
                   done)
        number += step
    expect(running, arguments, "no allocation failed")


def contents(folder):
    return {file.name: file.read_bytes() for file in folder.iterdir()}


def fill(folder, files):
    for file in folder.iterdir():
        file.unlink()
    for name, content in files.items():
        (folder / name).write_bytes(content)


def change_files():
    """Files are what they were or what they are to be; a command that goes on leaves no others."""
    with tempfile.TemporaryDirectory() as directory:
        folder = Path(directory, "out")
        arguments = ["p12", "extract", QUICK, "--overwrite", "--out", str(folder), *PASSWORD]
        whole = run(arguments, "none", 0)
        expect(whole.returncode == 0, whole)
        new = contents(folder)
        old = dict.fromkeys(new, b"old")
        expect(len(new) == 2, new)
        for kind, status in [("full", 1), ("SIGTERM", -signal.SIGTERM), ("SIGKILL", -signal.SIGKILL)]:
            number, done = 0, None
            while number == 0 or "no fault" not in done.stderr:
                fill(folder, old)
                done = run(arguments, kind, number)
                found = contents(folder)
                whole = all(found.get(name) in (b"old", new[name]) for name in new)
                strays = [] if kind == "SIGKILL" else sorted(set(found) - set(new))
                expect(done.returncode in (0, status) and whole and not strays, kind, number, done,
                       strays, found)
                expect(done.returncode != 0 or found == new, kind, number, "not written")
                number += 1
            expect(number > 8, kind, "only", number, "calls")


fail_allocations(["dn", "CN=x"], 37)
fail_allocations(["cert", CERTIFICATE], 37)
fail_allocations(["p12", "show", QUICK, *PASSWORD], 41)
change_files()
print("\n".join(failures))
sys.exit(bool(failures))
