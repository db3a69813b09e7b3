#!/usr/bin/env python3
"""documents_test.py SOURCE: the reference and the pages beside it, as readers meet them."""

import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree
from pathlib import Path

os.chdir(sys.argv[1])
failures = []


with tempfile.TemporaryDirectory() as directory:
    settings = f"{Path('docs/Doxyfile').read_text()}\nOUTPUT_DIRECTORY = {directory}\n"
    done = subprocess.run(["doxygen", "-"], input=settings, capture_output=True, text=True)
    failures += [done.stderr] if done.returncode or done.stderr else []
    functions = [function for page in Path(directory, "xml").glob("*.xml")
                 for function in xml.etree.ElementTree.parse(page).iterfind(
                     ".//memberdef[@kind='function'][@prot='public']")]
for function in functions:
    comment = "".join(text for part in ("briefdescription", "detaileddescription")
                      for text in function.find(part).itertext())
    # Constructors and the like mean what they always mean.
    special = re.search(r"(\w+)(<.*>)?::(~?\1$|operator)", function.findtext("definition"))
    if not comment.strip() and not special:
        failures.append(f"no comment: {function.findtext('definition')}")
if len(functions) < len(re.findall(r"^T ", Path("abi/exports.txt").read_text(), re.M)):
    failures.append("functions are missing in the reference")

for page in [*Path().glob("*.md"), *Path("docs").glob("*.md")]:
    failures += [f"{page}: no such file: {link}"
                 for link in re.findall(r"\]\((?!https?:)([^)#]+)", page.read_text())
                 if not (page.parent / link).exists()]
failures += [f"README.md does not show {output}" for output in Path("examples").glob("*.expected")
             if output.read_text() not in Path("README.md").read_text()]

def dialect_ids(pattern, *folders):
    """Each id of the dialect that a match of the pattern names, and the files that name it."""
    files = {}
    for path in (path for folder in folders for path in Path(folder).rglob("*.*") if path.suffix != ".md"):
        for match in re.findall(pattern, path.read_text(errors="replace")):
            for dialect_id in re.findall(r"\bQ\d+\b", match):
                files.setdefault(dialect_id, set()).add(path)
    return files


commented = dialect_ids(r"//.*", "src", "include")
tested = dialect_ids(r".*", "tests")
rows = re.findall(r"^\| (Q\d+) \| (.*?) \|", Path("docs/dialect.md").read_text(), re.M)
page = [row[0] for row in rows]
failures += [f"docs/dialect.md: {name} has two lines" for name in set(page) if page.count(name) > 1]
for place, known in ("docs/dialect.md", page), ("src", commented), ("tests", tested):
    failures += [f"{name} is not in {place}"
                 for name in {*page, *commented, *tested}.difference(known)]
# The text between two closing braces at the margin: a function with its comment, or a class.
failures += [f"docs/dialect.md: {name} is not at {function}" for name, column in rows
             for function in re.findall(r"`(?:\w+::)?(\w+)`", column)
             if not any(re.search(rf"\b{function}\b", block) and re.search(rf"//.*\b{name}\b", block)
                        for path in commented.get(name, ())
                        for block in path.read_text().split("\n}"))]
print("\n".join(failures))
sys.exit(bool(failures))
