#!/usr/bin/env python3
"""manpage.py COMMAND TEMPLATE CONFIG_DIR: prints the manual page of the command.

What the page says of verbs and options is what the command's --help says; the template has the
rest, an example for each verb among it. Fails when a verb is not in the template.
"""

import re
import subprocess
import sys

COMMAND, TEMPLATE, CONFIG_DIR = sys.argv[1:]


def output(*args):
    return subprocess.run([COMMAND, *args], capture_output=True, text=True, check=True).stdout


def sections(verb):
    """The help text's parts: the description, and entries (what, text) by title."""
    head, *parts = re.split(r"\n\n(?=\w+:\n)", output(*verb.split(), "--help").rstrip())
    entries = {}
    for part in parts:
        title, body = part.split(":\n", 1)
        # What is too long for its column has its text on the next line.
        entries[title] = [(what.strip(), text) for what, text in
                          re.findall(r"^(  \S.*(?=\n {30})|  .{28})(?:\n {30})?(.*)", body, re.M)]
    return head.split("\n")[0], entries


def verbs(prefix=""):
    for name, _ in sections(prefix)[1].get("Subcommands", []):
        yield from verbs(f"{prefix} {name}".strip())
    if "Subcommands" not in sections(prefix)[1]:
        yield prefix


def troff(text):
    return text.replace("\\", "\\e").replace("-", "\\-").replace("'", "\\(aq")


def entry(what, text):
    excluded = re.search(r" Excludes: (\S+)", what)
    words = re.sub(r" Excludes: \S+| REQUIRED", "", what).replace(" ...", "...")
    if what[0] != "-":
        return f".TP\n.I {words}\n{troff(text)}."
    words, _, default = words.replace(":N=", "=").partition("=")
    name, _, value = words.partition(" ")
    notes = [text + ".", f"{value} is {default} by default." if default else "",
             f"Excludes {excluded[1]}." if excluded else "",
             "Required." if "REQUIRED" in what else ""]
    return f".TP\n.BI {troff(name)} \" {value}\"\n{troff(' '.join(filter(None, notes)))}"


def describe(verb):
    description, entries = sections(verb)
    usage = " ".join(what.split()[0] + "..." * ("..." in what)
                     for what, _ in entries.get("Positionals", []))
    lines = [f".SS pkider {verb} [OPTION]... {usage}".rstrip(), troff(description) + "."]
    for what, text in entries.get("Positionals", []) + entries["Options"]:
        if not what.startswith("-h"):
            lines.append(entry(what, text))
    return "\n".join(lines)


with open(TEMPLATE, encoding="utf-8") as file:
    page = file.read()
page = page.replace("@VERSION@", output("--version").split()[1]).replace("@CONFIG_DIR@", CONFIG_DIR)
for each in verbs():
    if f"\n@{each}@\n" not in page:
        sys.exit(f"{TEMPLATE}: has no place for the verb {each}")
    page = page.replace(f"@{each}@", describe(each))
print(page, end="")
