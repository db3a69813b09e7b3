#!/usr/bin/env python3
"""Runs the command as its users do, beside openssl, and the README's examples.

command_test.py COMMAND LIBRARY_DIR ROOT COMPILER...
"""

import glob
import os
import re
import subprocess
import sys
import tempfile

PKIDER, LIBRARY_DIR, ROOT, *COMPILER = sys.argv[1:]
CA = "/usr/share/ca-certificates/mozilla/"
SUBJECT = "C=US,O=Internet Security Research Group,CN=ISRG Root X1\n"
failures = []


def run(*args, stdin=""):
    done = subprocess.run(args, input=stdin, capture_output=True, text=True, timeout=120)
    return done.returncode, done.stdout, done.stderr


def expect(what, got, wanted):
    if got != wanted:
        failures.append(f"{what}\n  got    {got!r}\n  wanted {wanted!r}")


def write(name, text):
    with open(name, "w", encoding="utf-8") as file:
        file.write(text)
    return text


def fields(text):
    return dict(re.findall(r"^ *([\w ]+?) *[:=] *(.*)$", text, re.M))


def test_runs(root=CA + "ISRG_Root_X1.crt"):
    pem = write("good", run("openssl", "x509", "-in", root)[1])
    write("junk", "no certificate\n")
    write("cut", pem[:300])
    write("map.cfg", "1.2.3.4 = FOO, fooName\n")
    common_name = "oid: 2.5.4.3 der: 06 03 55 04 03 short name: CN long name: commonName"
    # Arguments, standard input; status, standard output, a part of standard error.
    for line, stdin, status, out, err in [
            ("", "", 2, "", "subcommand"),
            ("name", "", 2, "", "FILE"),
            ("dn --nosuch C=RU", "", 2, "", "--nosuch"),
            ("name -", "a comment\n" + pem + "\n" + pem, 0, SUBJECT * 2, ""),
            ("name good junk good", "", 1, f"good: {SUBJECT}" * 2, "junk: neither PEM"),
            ("name nosuch", "", 1, "", "nosuch: No such file"),
            ("name .", "", 1, "", ".: Is a directory"),
            ("name -", pem.replace("MIIF", "MIIE"), 1, "", "-: not a certificate"),
            ("name -", pem.replace("=\n", "*\n") + pem, 1, SUBJECT, "-: certificate 1: the PEM block is"),
            ("name -", pem.replace("CERTIFICATE", "X509 CRL"), 1, "", "-: holds no certificate"),
            ("name cut", "", 1, "", "cut: the PEM block CERTIFICATE has no end"),
            ("dn CN=a\\,b\\0A\\E2\\80\\AE", "", 0, "CN=a\\,b\\0A\\E2\\80\\AE\n", ""),
            ("dn C=RU,O=\"a,b\",XX=y,CN=z", "", 1, "", 'unknown attribute name in "XX="'),
            ("dn C=RU,CN=a=b,O=z", "", 1, "", 'malformed value in "CN=a=b"'),
            ("dn C=RU,CN,O=z", "", 1, "", "no '=' in \"CN\""),
            ("dn --config junk --config map.cfg foo=x,c=RU", "", 0, "FOO=x,C=RU\n", ""),
            ("dn C=RU --config nosuch", "", 1, "", "nosuch: No such file"),
            ("oid x 2A86 P-256", "", 1, "oid: 1.2.840.10045.3.1.7 der: 06 08 2A 86 48 CE 3D "
             "03 01 07 known as: P-256", "2A86: neither"),
    ] + [("oid " + form, "", 0, common_name, "")
         for form in ("2.5.4.3", "cn", "COMMONNAME", "550403", "55:04:03", "0603550403")]:
        got = run(PKIDER, *line.split(), stdin=stdin)
        shown = " ".join(got[1].split()) if line.startswith("oid") else got[1]
        expect(line, (got[0], shown, err in got[2]), (status, out, True))


def test_certificates_against_openssl():
    files = sorted(glob.glob(CA + "*.crt"))
    blocks = run(PKIDER, "cert", "--verbose", *files)[1].split("\n\n")
    expect("certificates", (len(files) > 100, len(blocks)), (True, len(files)))
    for file, block in zip(files, blocks):
        ours = fields(block)
        text = run("openssl", "x509", "-in", file, "-noout", "-text", "-modulus", "-serial",
                   "-dates", "-dateopt", "iso_8601", "-nameopt", "utf8,sep_comma_plus,esc_2253,sname")[1]
        for name, ours_is in ("organizationIdentifier", "2.5.4.97"), ("serialNumber", "2.5.4.5"), \
                ("emailAddress", "E"):
            text = text.replace(name + "=", ours_is + "=")
        theirs = fields(text)
        signature = theirs["Signature Algorithm"].replace("WithRSAEncryption", "RSA")
        signature = re.sub(r"ecdsa-with-SHA(\d+)", r"sha\1ECDSA", signature)
        expect(file, re.split(r"[ ()]+", ours["signature"] + " ")[-2], signature)
        wanted = [file, theirs["Subject"], theirs["Issuer"], theirs["serial"]] + [
            theirs[at].replace("-", ".").replace("Z", " GMT") for at in ("notBefore", "notAfter")]
        got = [ours[name] for name in
               ("certificate", "subject", "issuer", "serial", "not before", "not after")]
        if ours["public key"] == "RSA":
            got += [ours["key size"], ours["modulus"], int(ours["exponent"], 16)]
            wanted += [re.search(r"\((\d+ bit)\)", text)[1] + "s", theirs["Modulus"],
                       int(theirs["Exponent"].split()[0])]
        expect(file, got, wanted)


def test_readme():
    with open(ROOT + "/README.md", encoding="utf-8") as file:
        readme = file.read()
    write("example.cpp", *re.findall(r"```cpp\n(.*?)```", readme, re.S))
    built = run(*COMPILER, "-std=c++17", "-I" + LIBRARY_DIR + "/../include", "example.cpp",
                "-o", "example", "-L" + LIBRARY_DIR, "-lpkider", "-Wl,-rpath," + LIBRARY_DIR)
    expect("README's program", built, (0, "", ""))
    os.symlink(PKIDER, "pkider")
    sessions = "".join(re.findall(r"```console\n(.*?)```", readme, re.S))
    for command, shown in re.findall(r"^\$ (?:\./)?((?:example|pkider)\b.*)\n([^$]*)", sessions, re.M):
        expect(command, run("sh", "-c", "./" + command)[1], shown)


with tempfile.TemporaryDirectory() as directory:
    os.chdir(directory)
    for test in (test_runs, test_certificates_against_openssl, test_readme):
        test()
print("\n".join(failures) or "all as expected")
sys.exit(bool(failures))
