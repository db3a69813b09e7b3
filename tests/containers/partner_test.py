#!/usr/bin/env python3
"""Exchanges keys, certificates and containers with certtool and, where it has GOST, openssl.

partner_test.py COMMAND TESTS
"""

import concurrent.futures
import hashlib
import hmac
import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

PKIDER, TESTS = sys.argv[1:]
PASSWORD = "пароль sample"
HAS_GOST = subprocess.run(["openssl", "engine", "gost"], capture_output=True).returncode == 0
TEMPLATE = """cn = "Имя {}"\norganization = "{}"\nserial = 1\nexpiration_days = -1\nsigning_key\n"""
ENV = {"PASSWORD": PASSWORD, "WRONG": "wrong", "EMPTY": "", "GOST_PBE_HMAC": "md_gost94", **os.environ,
       "LC_ALL": "C.UTF-8"}
ROWS = {}  # operation -> the other fields of its rows
for row in Path(TESTS, "data/partners.txt").read_text().splitlines():
    if row and row[0] != "#":
        operation, *columns = row.split("|")
        ROWS.setdefault(operation, []).append(columns)


def run(*args, status=0, err="", cwd=None):
    """The standard output; `err` must stand in the standard error."""
    done = subprocess.run(args, cwd=cwd, env=ENV, capture_output=True, text=True)
    unwanted = status == 0 and "verify_mac" in done.stderr  # certtool goes on
    if done.returncode != status or err not in done.stderr or unwanted:
        raise AssertionError(f"{args}: status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def pem(text, label):
    return re.findall(f"-----BEGIN {label}-----\n.*?-----END {label}-----\n", text, re.S)


def der(text):
    """Bytes from hex, tag(content) for an element."""
    text = text.replace(" ", "")
    while element := re.search(r"(..)\(([^()]*)\)", text):
        size = len(element[2]) // 2
        octets = f"{size:X}".zfill(2 if size < 256 else 4 if size < 65536 else 6)
        length = octets if size < 128 else f"8{len(octets) // 2}" + octets
        text = text[:element.start()] + element[1] + length + element[2] + text[element.end():]
    return bytes.fromhex(text)


def exchange(kind, algorithms, at):
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
    assert "CN=Имя key\n" in shown and algorithms.split(";") == re.findall(
        r"^(?:public key|key parameters|digest parameters|signature): *(.*?)(?: \(.*)?$", shown, re.M)
    key, cert, other = ((at / name).read_text() for name in ["key", "key.crt", "other.crt"])
    dump = run("certtool", "-k", "--infile", "key", cwd=at)
    key_id = re.search("sha1:(.*)", dump)[1].upper()
    # The dump has the most significant octet first, without zeros before it.
    dump = re.search(r"^private key:\n((?:\t[0-9a-f:]*\n)+)", dump, re.M)[1]
    octets = "".join(reversed(re.findall("[0-9a-f]{2}", dump))).upper()
    octets = octets.ljust(128 if kind.endswith("512") else 64, "0")
    revealed = f"key octets:        {octets}\n"
    assert revealed in pkider("key show key --reveal"), "octets"
    assert octets not in pkider("key show key"), "not revealed"

    if kind == "gost12-256":
        certtool("--to-p8 --load-privkey key --outfile their.p8 --pkcs-cipher gost28147-cpa "
                 "--hash gostr341194")
        assert revealed in pkider("key show their.p8 --reveal"), "their PKCS#8"
        key_forms(at, bytes.fromhex(octets))

    # pkider to certtool
    create = "p12 create --name Имя --iterations 2001 --cert other.crt key.crt --key key --out"
    for flags in ["", "--plain-certs"]:
        pkider(f"{create} our.p12 --overwrite {flags}")
        listing = certtool("--p12-info --inder --infile our.p12")
        assert pem(listing, "PRIVATE KEY") == [key], "key of ours"
        assert sorted(pem(listing, "CERTIFICATE")) == sorted([cert, other]), "certificates of ours"
        shown = re.findall("name: *Имя\nlocal key id: *(.*)\n", pkider("p12 show our.p12"))
        theirs = re.findall("Friendly name: Имя\n\tKey ID: (.*)\n", listing)
        assert shown == [key_id] * 2 == [name.replace(":", "") for name in theirs], "names"
    pkider("p12 extract our.p12 --out shut --encrypt --iterations 2001")
    assert (at / "shut/key-1.pem").stat().st_mode & 0o777 == 0o600, "mode"
    opened = certtool("--pubkey-info --load-privkey shut/key-1.pem")
    assert "sha1:" + key_id.lower() in opened, "encrypted key of ours"

    # openssl
    if HAS_GOST:
        theirs = run(*"openssl pkcs12 -engine gost -passin env:PASSWORD -in our.p12 -nodes".split(), cwd=at)
        assert set(pem(theirs, "CERTIFICATE")) == {cert, other}, "openssl's view"

    # What must not work, and what must
    (at / "mixed").mkdir()
    (at / "mixed/cert-3.pem").touch()
    (at / "link").symlink_to("our.p12")
    for name, content in ("marked", b"\xEF\xBB\xBFp"), ("utf-16", b"p\0w\0"), ("long", b"p" * 2000):
        (at / name).write_bytes(content)
    for line, status, variable, err in ROWS["run"]:
        line += f" --password-env {variable}" if variable else ""
        run(PKIDER, *line.format(create=create).split(), status=int(status), err=err, cwd=at)
    assert sorted(p.name for p in at.glob("*new*")) == [], "left over"
    (at / "our.p12").chmod(0o640)
    pkider(create + " our.p12 --overwrite")
    assert (at / "our.p12").stat().st_mode & 0o777 == 0o640, "mode kept"
    certtool("--p12-info --inder --infile our.p12", "no", status=1, err="verify_mac")
    certtool("--p12-info --inder --infile native.p12", status=1)


def open_foreign(at):
    """Containers in the schemes of other programs: what comes out equals what went in."""
    settings = f"{TESTS}/containers/gost.cnf" if HAS_GOST else "/dev/null"

    def shell(line, **kw):
        return run("sh", "-ec", f"export OPENSSL_CONF={settings}\n" + line, cwd=at, **kw)

    def extract(file, key, err=""):
        done = shell(f"rm -rf out; {PKIDER} p12 extract {file} --out out --password-env "
                     f"{'WRONG' if err else 'PASSWORD'}", status=1 if err else 0, err=err)
        if not err:
            assert ", of cert-1.pem" in done, f"pairs {file}"
            shell(f"""
                for key in {key}.key out/key-1.pem; do openssl pkey -in $key -outform DER -out $key.der; done
                cmp {key}.key.der out/key-1.pem.der
                openssl x509 -in {key}.crt -outform DER -out x; openssl x509 -in out/cert-1.pem -outform DER -out y
                cmp x y""")

    shell("openssl dsaparam -genkey 1024 | openssl pkey -out dsa.key" + "".join(
        f"\nopenssl genpkey -algorithm {kind} -out {name}.key" for name, kind in ROWS["key"]
        if HAS_GOST or "gost" not in kind))
    for key in at.glob("*.key"):
        # The extension lists a PRF of GOST, as S/MIME capabilities do.
        shell(f"openssl req -new -x509 -key {key.name} -subj /CN={key.stem} -out {key.stem}.crt -addext "
              "1.2.840.113549.1.9.15=DER:300A300806062A850302020A")
    for key, options in ROWS["openssl"]:
        gost = "gost" in key + options
        if HAS_GOST or not gost:
            old = "-provider default -provider legacy" if "pbe" in options and not gost else ""
            shell(f"openssl pkcs12 -export -inkey {key}.key -in {key}.crt -passout env:PASSWORD -out x.p12 "
                  f"-name x {old} {options}")
            extract("x.p12", key)
    extract("x.p12", "ec", "x.p12: wrong password")
    whole = (at / "x.p12").read_bytes()
    (at / "cut.p12").write_bytes(whole[:-9])
    (at / "changed.p12").write_bytes(whole.replace(b"\x06\x09\x2A", b"\x06\x09\x2B", 2))
    extract("cut.p12", "ec", "cut.p12: not a PKCS#12 file, but cut off after")
    extract("changed.p12", "ec", "changed.p12: a PKCS#12 file, but malformed")
    for [options] in ROWS["certtool"]:
        shell(f"certtool --to-p12 --load-privkey ec.key --load-certificate ec.crt --p12-name x --outder "
              f"--outfile x.p12 --password '{PASSWORD}' {options}")
        extract("x.p12", "ec")
    # PBMAC1, which openssl does not write yet.
    shell("openssl pkcs12 -export -inkey ec.key -in ec.crt -passout env:PASSWORD -out x.p12 -name x -nomac")
    content = (at / "x.p12").read_bytes()[4:]  # after the header
    safe = content[26:]  # after the version and the headers around it
    key = hashlib.pbkdf2_hmac("sha256", PASSWORD.encode(), b"12345678", 300, 32)
    [[mac]] = ROWS["pbmac1"]
    mac = mac.format(digest=hmac.digest(key, safe, "sha512").hex())
    (at / "x.p12").write_bytes(der(f"30({content.hex()} {mac})"))
    extract("x.p12", "ec")
    extract("x.p12", "ec", "x.p12: wrong password")
    # Other bags are told of.
    [[container, told]] = ROWS["bags"]
    (at / "x.p12").write_bytes(der(container))
    extract("x.p12", "ec", "x.p12: left out a certificate revocation list")
    bags = re.findall("bag: *(.*)", shell(f"{PKIDER} p12 show x.p12 --password-env PASSWORD"))
    assert bags == told.split(";"), "other bags"
    # Keys are compared with all certificates.
    shell("cat *.crt >all")
    for key in at.glob("*.key"):
        found = shell(f"{PKIDER} key match --key {key.name} --cert all").splitlines()
        assert len(found) == 1, f"{key}: {found}"
    shell(f"{PKIDER} key match --key rsa.key --cert ec.crt", status=1,
          err="none of the certificates belongs to this key")


def key_forms(at, octets):
    """Forms of a GOST private key: which belong to its certificate, and which are refused."""
    order = 0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893
    mask = 0x1234567 << 200
    masked = int.from_bytes(octets, "little") * pow(mask, -1, order) % order
    values = {"octets": octets, "number": octets[::-1].lstrip(b"\0"), "zeros": bytes(32),
              "masked": masked.to_bytes(32, "little") + mask.to_bytes(32, "little"),
              "mebibyte": bytes(1 << 20), "modulus": b"\x7F" * 40000}
    values = {name: value.hex() for name, value in values.items()}
    for form, params, err in ROWS["form"]:
        key = f"30(02(00) 30(06(2A85030701010101) 30({params})) 04({form}))"
        (at / "form").write_bytes(der(key.format(**values)))
        run(PKIDER, *"key match --key form --cert key.crt".split(), status=1 if err else 0, err=err, cwd=at)
    [[key, size]] = ROWS["rsa"]
    (at / "big").write_bytes(der(key.format(**values)))
    assert size in run(PKIDER, "key", "show", "big", cwd=at), "RSA"


assert ROWS.keys() == set("kind key openssl certtool form run bags rsa pbmac1".split()), ROWS.keys()
with tempfile.TemporaryDirectory() as directory, \
        concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    def start(test, *args):
        return pool.submit(test, *args, Path(tempfile.mkdtemp(dir=directory)))
    jobs = [*(start(exchange, *row) for row in ROWS["kind"]), start(open_foreign)]
for job in jobs:
    job.result()
