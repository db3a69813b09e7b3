#!/usr/bin/env python3
"""exports.py LIBRARY LIST POINTER_SIZE: compares the library's dynamic symbols with the list.

A line of the list is the symbol's kind as nm shows it (T function, D or R data, W weak), for data
its size in pointers, and its name. --print instead of LIST shows the list as it would have to be.
"""

import difflib
import re
import subprocess
import sys

library, wanted, pointer_size = sys.argv[1:]
nm = subprocess.run(["nm", "--dynamic", "--defined-only", "--print-size", "--demangle", library],
                    capture_output=True, text=True, check=True).stdout
found = set()
for line in nm.splitlines():
    _, size, kind, name = line.split(maxsplit=3)
    name = re.sub(r"std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >",
                  "std::string", name)
    name = re.sub(r"unsigned long( long)?", "uint64_t", name)
    words = "" if kind in "TW" else f" {int(size, 16) / int(pointer_size):g}"
    found.add(f"{kind}{words} {name}")
found = sorted(found)
if wanted == "--print":
    print("\n".join(found))
    sys.exit()
with open(wanted, encoding="utf-8") as file:
    difference = list(difflib.unified_diff(file.read().splitlines(), found, "listed", "exported",
                                           n=0, lineterm=""))
print("\n".join(difference))
sys.exit(bool(difference))
