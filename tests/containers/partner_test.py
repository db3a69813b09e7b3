#!/usr/bin/env python3
"""Exchanges keys, certificates and containers with certtool and, where it has GOST, openssl.

partner_test.py COMMAND
"""

import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

PKIDER = sys.argv[1]
PASSWORD = "пароль sample"
GOST = "--pkcs-cipher gost28147-cpa --hash gostr341194"
# Each kind of key, and its parameters and algorithms in a certificate.
KINDS = {
    "gost12-512": ["GOST R 34.10-2012 512", "1.2.643.7.1.2.1.2.1", "1.2.643.7.1.1.2.3",
                   "GOST R 34.11-2012/34.10-2012 512"],
    "gost12-256": ["GOST R 34.10-2012 256", "1.2.643.2.2.35.1", "1.2.643.7.1.1.2.2",
                   "GOST R 34.11-2012/34.10-2012 256"],
    "gost01": ["GOST R 34.10-2001", "1.2.643.2.2.35.1", "1.2.643.2.2.30.1", "GOST R 34.11/34.10-2001"]}
TEMPLATE = """cn = "Имя {}"\norganization = "{}"\nserial = 1\nexpiration_days = -1\nsigning_key\n"""
ENV = {"PASSWORD": PASSWORD, "WRONG": "wrong", "GOST_PBE_HMAC": "md_gost94", **os.environ,
       "LC_ALL": "C.UTF-8"}


def run(*args, status=0, err="", cwd=None):
    """The standard output; `err` must stand in the standard error."""
    done = subprocess.run(args, cwd=cwd, env=ENV, capture_output=True, text=True)
    unwanted = status == 0 and "verify_mac" in done.stderr  # certtool goes on
    if done.returncode != status or err not in done.stderr or unwanted:
        raise AssertionError(f"{args}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def pem(text, label):
    return re.findall(f"-----BEGIN {label}-----\n.*?-----END {label}-----\n", text, re.S)


def check(what, condition):
    if not condition:
        raise AssertionError(what)


def exchange(kind, at):
    """One kind of key, both ways. The certificates take more than 1,024 bytes, where GOST 28147-89
    changes its key."""
    def certtool(line, password=PASSWORD, **kw):
        return run("certtool", *line.split(), "--password", password, cwd=at, **kw)

    def pkider(line, env="PASSWORD", **kw):
        return run(PKIDER, *line.split(), "--password-env", env, cwd=at, **kw)

    for name in ["key", "other"]:
        run(*f"certtool --generate-privkey --key-type {kind} --no-text --outfile {name}".split(), cwd=at)
        (at / "template").write_text(TEMPLATE.format(name, "Org " * 100))
        certtool(f"--generate-self-signed --load-privkey {name} --no-text --template template "
                 f"--outfile {name}.crt")
    shown = run(PKIDER, "cert", "key.crt", cwd=at)
    check("certificate", "CN=Имя key\n" in shown and KINDS[kind] == re.findall(
        r"^(?:public key|key parameters|digest parameters|signature): *(.*?)(?: \(.*)?$", shown, re.M))
    key, cert, other = ((at / name).read_text() for name in ["key", "key.crt", "other.crt"])
    dump = run("certtool", "-k", "--infile", "key", cwd=at)
    key_id = re.search("sha1:(.*)", dump)[1].upper()
    # The dump has the most significant octet first.
    dump = re.search(r"^private key:\n((?:\t[0-9a-f:]*\n)+)", dump, re.M)[1]
    octets = "".join(reversed(re.findall("[0-9a-f]{2}", dump))).upper()
    revealed = f"key octets:        {octets}\n"
    check("octets", revealed in pkider("key show key --reveal"))
    check("not revealed", octets not in pkider("key show key"))

    # certtool to pkider: its containers take 600,000 rounds for each password, one kind will do
    if kind == "gost12-256":
        (at / "both.crt").write_text(cert + other)
        certtool("--to-p12 --load-privkey key --load-certificate both.crt --p12-name Имя --outder "
                 f"--outfile their.p12 {GOST}")
        pkider("p12 extract their.p12 --out out")
        names = ["key-1.pem", "cert-1.pem", "cert-2.pem"]
        check("extracted", [key, cert, other] == [(at / "out" / name).read_text() for name in names])
        certtool(f"--to-p8 --load-privkey key --outfile their.p8 {GOST}")
        check("their PKCS#8", revealed in pkider("key show their.p8 --reveal"))

    # pkider to certtool
    create = "p12 create --name Имя --iterations 2001 --cert other.crt key.crt --key key --out"
    for flags in ["", "--plain-certs"]:
        pkider(f"{create} our.p12 --overwrite {flags}")
        listing = certtool("--p12-info --inder --infile our.p12")
        check("key of ours", pem(listing, "PRIVATE KEY") == [key])
        check("certificates of ours", sorted(pem(listing, "CERTIFICATE")) == sorted([cert, other]))
        shown = re.findall("name: *Имя\nlocal key id: *(.*)\n", pkider("p12 show our.p12"))
        theirs = re.findall("Friendly name: Имя\n\tKey ID: (.*)\n", listing)
        check("names", shown == [key_id] * 2 == [name.replace(":", "") for name in theirs])
    pkider("p12 extract our.p12 --out shut --encrypt --iterations 2001")
    check("mode", (at / "shut/key-1.pem").stat().st_mode & 0o777 == 0o600)
    opened = certtool("--pubkey-info --load-privkey shut/key-1.pem")
    check("encrypted key of ours", "sha1:" + key_id.lower() in opened)

    # openssl
    if subprocess.run(["openssl", "engine", "gost"], capture_output=True).returncode == 0:
        openssl = "openssl pkcs12 -engine gost -passin env:PASSWORD"
        run(*f"{openssl} -in our.p12 -nodes -out theirs".split(), cwd=at)
        check("openssl's view", set(pem((at / "theirs").read_text(), "CERTIFICATE")) == {cert, other})
        run(*f"{openssl} -export -in theirs -passout env:PASSWORD -keypbe gost89 -certpbe gost89 "
            "-macalg md_gost94 -out o.p12".split(), cwd=at)
        pkider("p12 extract o.p12 --out o")
        check("octets by openssl", revealed in pkider("key show o/key-1.pem --reveal"))

    # What must not work
    for line, status, env, err in [
            ("p12 show key.crt", 1, "PASSWORD", "key.crt: not a PKCS#12 file"),
            ("p12 show our.p12 --max-iterations 4001", 1, "PASSWORD", "--max-iterations"),
            ("p12 show our.p12", 1, "WRONG", "our.p12: wrong password"),
            ("key show shut/key-1.pem", 1, "WRONG", "wrong password"),
            (create + " our.p12", 1, "PASSWORD", "exists already"),
            (create + " new.p12 --iterations 2048", 2, "PASSWORD", "zero byte"),
            ("p12 extract our.p12 --out shut", 1, "PASSWORD", "exists already"),
            ("p12 create --name x --key key --cert other.crt --out new.p12", 1, "PASSWORD",
             "none of the certificates belongs to this key")]:
        pkider(line, env, status=status, err=err)
    check("left over", not (at / "new.p12").exists())
    certtool("--p12-info --inder --infile our.p12", "no", status=1, err="verify_mac")
    pkider(create + " native.p12 --native")
    check("native", "private key" in pkider("p12 show native.p12"))
    certtool("--p12-info --inder --infile native.p12", status=1)


with tempfile.TemporaryDirectory() as directory, \
        concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    jobs = [pool.submit(exchange, kind, Path(tempfile.mkdtemp(dir=directory))) for kind in KINDS]
for job in jobs:
    job.result()
