#!/usr/bin/env python3
"""documents_test.py SOURCE: the reference and the pages beside it, as readers meet them."""

import glob
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree

os.chdir(sys.argv[1])
failures = []


def read(name):
    with open(name, encoding="utf-8") as file:
        return file.read()


with tempfile.TemporaryDirectory() as directory:
    settings = f"{read('docs/Doxyfile')}\nOUTPUT_DIRECTORY = {directory}\n"
    done = subprocess.run(["doxygen", "-"], input=settings, capture_output=True, text=True)
    failures += [done.stderr] if done.returncode or done.stderr else []
    functions = [function for page in glob.glob(directory + "/xml/*.xml")
                 for function in xml.etree.ElementTree.parse(page).iterfind(
                     ".//memberdef[@kind='function'][@prot='public']")]
for function in functions:
    comment = "".join(text for part in ("briefdescription", "detaileddescription")
                      for text in function.find(part).itertext())
    # Constructors and the like mean what they always mean.
    special = re.search(r"(\w+)(<.*>)?::(~?\1$|operator)", function.findtext("definition"))
    if not comment.strip() and not special:
        failures.append(f"no comment: {function.findtext('definition')}")
if len(functions) < len(re.findall(r"^T ", read("tests/shared/exports.txt"), re.M)):
    failures.append("functions are missing in the reference")

for page in glob.glob("*.md") + glob.glob("docs/*.md"):
    failures += [f"{page}: no such file: {link}"
                 for link in re.findall(r"\]\((?!https?:)([^)#]+)", read(page))
                 if not os.path.exists(os.path.join(os.path.dirname(page), link))]
failures += [f"README.md does not show {output}" for output in glob.glob("examples/*.expected")
             if read(output) not in read("README.md")]
print("\n".join(failures))
sys.exit(bool(failures))
