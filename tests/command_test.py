#!/usr/bin/env python3
"""Runs the command as its users do, beside openssl, and the README's examples.

command_test.py COMMAND LIBRARY_DIR ROOT COMPILER...
"""

import glob
import os
import re
import ssl
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PKIDER, LIBRARY_DIR, ROOT, *COMPILER = sys.argv[1:]
# openssl's short names for types that we show otherwise.
RENAMED = {"organizationIdentifier": "2.5.4.97", "serialNumber": "2.5.4.5", "emailAddress": "E"}
# The type of a string is chosen again when a name is encoded: all types as one.
ONE_STRING = bytes.maketrans(b"\x0C\x13\x14\x16", b"\x0C" * 4)
CA = "/usr/share/ca-certificates/mozilla/"


def run(*args):
    done = subprocess.run(args, capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


def fields(text):
    return dict(re.findall(r"^ *([\w ]+?) *[:=] *(.*)$", text, re.M))


class Command(unittest.TestCase):
    def test_runs(self):
        """The rows of a file, each after its reason."""
        file, reason = "tests/data/command.txt", ""
        for number, row in enumerate(Path(ROOT, file).read_text().splitlines(), 1):
            if not row or row.startswith("#"):
                reason = row[2:]
                continue
            with self.subTest(f"{file}:{number}: {reason}"):
                self.assertTrue(reason)
                command, status, out, err = row.rsplit("|", 3)
                got = run("sh", "-c", "PATH=.:$PATH;" + command)
                self.assertEqual((str(got[0]), got[1].replace("\n", ";")), (status, out))
                self.assertIn(err, got[2])

    def test_certificates_against_openssl(self):
        files = sorted(glob.glob(CA + "*.crt"))
        blocks = run(PKIDER, "cert", "--verbose", *files)[1].split("\n\n")
        self.assertGreater(len(files), 100)
        identical = 0
        for file, block in zip(files, blocks, strict=True):
            ours = fields(block)
            text = run("openssl", "x509", "-in", file, "-noout", "-text", "-modulus", "-serial",
                       "-dates", "-dateopt", "iso_8601",
                       "-nameopt", "utf8,sep_comma_plus,esc_2253,sname")[1]
            text = re.sub(r"\b(\w+)=", lambda name: RENAMED.get(name[1], name[1]) + "=", text)
            theirs = fields(text)
            signature = theirs["Signature Algorithm"].replace("WithRSAEncryption", "RSA")
            signature = re.sub(r"ecdsa-with-SHA(\d+)", r"sha\1ECDSA", signature)
            self.assertEqual(re.split(r"[ ()]+", ours["signature"] + " ")[-2], signature, file)
            wanted = [file, theirs["Subject"], theirs["Issuer"], theirs["serial"]] + [
                theirs[at].replace("-", ".").replace("Z", " GMT") for at in ("notBefore", "notAfter")]
            got = [ours[name] for name in
                   ("certificate", "subject", "issuer", "serial", "not before", "not after")]
            if ours["public key"] == "RSA":
                got += [ours["key size"], ours["modulus"], int(ours["exponent"], 16)]
                wanted += [re.search(r"\((\d+ bit)\)", text)[1] + "s", theirs["Modulus"],
                           int(theirs["Exponent"].split()[0])]
            self.assertEqual(got, wanted)
            certificate = ssl.PEM_cert_to_DER_cert(Path(file).read_text())
            for name in ours["subject"], ours["issuer"]:
                text, der = run("./pkider", "dn", name, "--der")[1].splitlines()
                self.assertEqual(text, name)
                der = bytes.fromhex(der)
                self.assertIn(der.translate(ONE_STRING), certificate.translate(ONE_STRING), name)
                identical += der in certificate
        self.assertGreater(identical, 100)

    def test_readme(self):
        readme = Path(ROOT, "README.md").read_text()
        Path("example.cpp").write_text(re.search(r"```cpp\n(.*?)```", readme, re.S)[1])
        self.assertEqual((0, "", ""), run(
            *COMPILER, "-std=c++17", "-I" + ROOT + "/include", "example.cpp", "-o", "example",
            "-L" + LIBRARY_DIR, "-lpkider", "-Wl,-rpath," + LIBRARY_DIR))
        sessions = "".join(re.findall(r"```console\n(.*?)```", readme, re.S))
        steps = re.findall(r"^\$ (?:\./)?((?:example|pkider)\b.*)\n([^$]*)", sessions, re.M)
        for command, shown in steps:
            self.assertEqual(run("sh", "-c", "./" + command)[1], shown, command)


with tempfile.TemporaryDirectory() as directory:
    os.chdir(directory)
    os.symlink(PKIDER, "pkider")
    for folder in "examples", "tools":
        os.symlink(Path(ROOT, folder), folder)
    unittest.main(argv=sys.argv[:1])
