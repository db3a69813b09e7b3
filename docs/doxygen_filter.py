#!/usr/bin/env python3
"""doxygen_filter.py FILE: prints a header with its plain comments as Doxygen's, or a page of docs/.

A comment above a declaration becomes "///", one after it "///<", and indented text in it stands as
it is. One comment above several declarations, up to the next comment or empty line, holds for all.
"""

import re
import sys


def escape(text):
    parts = re.split(r"(`[^`]*`)", text)
    return "".join(part if part.startswith("`") else re.sub(r"([\\@#<>&%~])", r"\\\1", part)
                   for part in parts)


def comment(lines):
    shown, verbatim = [], False
    for text in lines:
        indented = text.startswith("   ")
        if text and indented != verbatim:
            shown.append("///")
            verbatim = indented
        shown.append("///     " + text if indented else "/// " + escape(text.strip()))
    return shown


def declarations(code):
    whole = all(line.count("{") == line.count("}") for line in code)
    return len([line for line in code if re.search(r"[;}]( *//.*)?$", line)]) if whole else 0


def trailing(line):
    code, mark, text = line.partition("  // ")
    return code + "  ///< " + escape(text) if mark else line


def convert(text):
    text = re.sub(r"^// ---- .* ----$", "", text, flags=re.M)
    out = ["/// @file"]
    for block in re.split(r"\n\s*\n", text):
        # Runs of comment lines, each with the code below it.
        for note, code in re.findall(r"((?:^ *//.*\n?)*)((?:^(?! *//).*\n?)*)", block, re.M):
            code = [trailing(line) for line in code.splitlines()]
            note = comment([line.strip()[2:] for line in note.splitlines()])
            group = note and declarations(code) > 1
            out += ["/// @{", *note, *code, "/// @}"] if group else note + code
        out.append("")
    return "\n".join(out)


with open(sys.argv[1], encoding="utf-8") as source:
    text = source.read()
if sys.argv[1].endswith(".md"):
    # To Doxygen a backslash at the end of code hides the mark after it.
    print(re.sub(r"`([^`\n]*\\)`", lambda code: f"<tt>{escape(code[1])}</tt>", text))
else:
    print(convert(text))
