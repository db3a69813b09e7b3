#!/usr/bin/env python3
"""cost_test.py PROGRAM: no attack costs more than in proportion to its size.

Valgrind counts instructions, the same on every machine and under any load. With eight times the
input they grow eightfold, in a map, which is sorted, also by the logarithm of its lines; the calls
of operator new and the bytes they ask for grow no faster.
"""

import math
import re
import subprocess
import sys
import tempfile
from pathlib import Path

VALGRIND = ["valgrind", "--quiet", "--tool=callgrind", "--instr-atstart=no"]
SKIPPED = 77


def profile(program):
    """Operation and attack -> elements, whether it sorts, calls, bytes, instructions; twice."""
    with tempfile.TemporaryDirectory() as directory:
        out = Path(directory, "profile")
        subprocess.run([*VALGRIND, "--combine-dumps=yes", f"--callgrind-out-file={out}", program],
                       check=True)
        text = out.read_text()
    found = {}
    for dump in text.split("desc: Trigger: Client Request: ")[1:]:
        name, *counts = dump.split("\n", 1)[0].split("|")
        counts.append(re.search(r"^totals: (\d+)", dump, re.M)[1])
        found.setdefault(name, []).append([int(count) for count in counts])
    return found


def faults(small, large):
    growth = large[0] / small[0]
    most = 1.05 * growth * (math.log(large[0]) / math.log(small[0]) if small[1] else 1)
    for what, before, after in zip(["calls", "bytes", "instructions"], small[2:], large[2:]):
        if after > most * before:
            yield f"{growth:.2f} times the input takes {before} {what}, then {after}"
    if large[4] < 0.9 * growth * small[4]:
        yield f"{small[4]} instructions, then {large[4]}: only some of the input is read"


if subprocess.run([*VALGRIND, "--callgrind-out-file=/dev/null", "true"], check=False).returncode:
    print("valgrind does not run here")
    sys.exit(SKIPPED)
rows = profile(sys.argv[1])
failures = [f"{name}: {fault}" for name, pair in rows.items() for fault in faults(*pair)]
print("\n".join(failures))
sys.exit(bool(failures) or not rows)
