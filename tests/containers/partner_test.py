#!/usr/bin/env python3
"""Exchanges keys, certificates and containers with certtool and, where it has GOST, openssl.

partner_test.py COMMAND
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
ENV = {"PASSWORD": PASSWORD, "WRONG": "wrong", "EMPTY": "", "GOST_PBE_HMAC": "md_gost94", **os.environ,
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
        pkider("p12 extract their.p12 --out out --max-iterations 2400000")
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
    (at / "mixed").mkdir()
    (at / "mixed/cert-3.pem").touch()
    (at / "link").symlink_to("our.p12")
    for content, err in [(b"\xEF\xBB\xBFp", "byte order mark"), (b"p\0w\0", "is no text in UTF-8"),
                         (b"p" * 2000, "too long for a password")]:
        (at / "file").write_bytes(content)
        run(PKIDER, *"p12 show our.p12 --password-file file".split(), status=1, err="file: ", cwd=at)
        run(PKIDER, *"p12 show our.p12 --password-file file".split(), status=1, err=err, cwd=at)
    for line, status, env, err in [
            ("p12 show key.crt", 1, "PASSWORD", "key.crt: not a PKCS#12 file"),
            ("p12 show our.p12 --max-iterations 4001", 1, "PASSWORD", "--max-iterations"),
            ("p12 show our.p12", 1, "WRONG", "our.p12: wrong password"),
            ("key show shut/key-1.pem", 1, "WRONG", "wrong password"),
            (create + " our.p12", 1, "PASSWORD", "exists already"),
            (create + " new.p12 --iterations 2048", 2, "PASSWORD", "zero byte"),
            ("p12 extract our.p12 --out shut", 1, "PASSWORD", "exists already"),
            ("p12 extract our.p12 --out mixed", 1, "PASSWORD", "mixed/cert-3.pem: is left from another"),
            (create + " link --overwrite", 1, "PASSWORD", "link: is no regular file"),
            (create + " new.p12", 1, "EMPTY", "EMPTY: the password is empty"),
            ("p12 create --name x --key key --cert other.crt --out new.p12", 1, "PASSWORD",
             "none of the certificates belongs to this key")]:
        pkider(line, env, status=status, err=err)
    check("left over", sorted(p.name for p in at.glob("*new*")) == [])
    (at / "our.p12").chmod(0o640)
    pkider(create + " our.p12 --overwrite")
    check("mode kept", (at / "our.p12").stat().st_mode & 0o777 == 0o640)
    certtool("--p12-info --inder --infile our.p12", "no", status=1, err="verify_mac")
    pkider(create + " native.p12 --native")
    check("native", "private key" in pkider("p12 show native.p12"))
    certtool("--p12-info --inder --infile native.p12", status=1)


# What openssl and certtool encrypt with: a key, then their options.
OPENSSL = [
    *(f"{key} -iter 2048" for key in ("rsa", "pss", "dsa", "ec", "k1", "b2", "ed25519", "ed448", "gost01",
                                      "gost256", "gost512")),
    *(f"rsa -iter 300 -keypbe {pbe} -certpbe {pbe}" for pbe in (
        "AES-128-CBC", "AES-192-CBC", "des-ede3-cbc", "camellia-256-cbc", "rc2-cbc", "rc2-40-cbc",
        "PBE-SHA1-3DES", "PBE-SHA1-2DES", "PBE-SHA1-RC2-40", "PBE-SHA1-RC2-128", "PBE-SHA1-RC4-128",
        "PBE-SHA1-RC4-40", "PBE-MD5-DES", "PBE-SHA1-DES", "NONE", "gost89")),
    *(f"ec -iter 300 -macalg {digest}" for digest in (
        "md5", "sha1", "sha224", "sha384", "sha512", "sha512-256", "sha3-256", "md_gost94",
        "md_gost12_256", "md_gost12_512")),
    "ec -nomac", "ec -noiter -nomaciter"]
CERTTOOL = ["--pkcs-cipher 3des", "--pkcs-cipher 3des-pkcs12 --hash sha512", "--pkcs-cipher rc2-40",
            "--pkcs-cipher arcfour", "--pkcs-cipher aes-192 --hash sha256",
            "--pkcs-cipher gost28147-tc26z --hash streebog-256"]
KEYS = {
    "rsa": "RSA", "pss": "RSA-PSS", "ec": "EC -pkeyopt ec_paramgen_curve:P-384",
    "k1": "EC -pkeyopt ec_paramgen_curve:secp256k1", "b2": "EC -pkeyopt ec_paramgen_curve:sect283k1",
    "ed25519": "ED25519", "ed448": "ED448", "gost01": "gost2001 -pkeyopt paramset:C",
    "gost256": "gost2012_256 -pkeyopt paramset:TCA", "gost512": "gost2012_512 -pkeyopt paramset:C"}
ENGINE = """openssl_conf = a\n[a]\nengines = b\n[b]\ngost = c\n[c]\nengine_id = gost\ndefault_algorithms = ALL"""


def der(tag, *content):
    content = b"".join(content)
    size = len(content).to_bytes(4, "big").lstrip(b"\0") or b"\0"
    return bytes([tag]) + (size if len(content) < 128 else bytes([0x80 | len(size)]) + size) + content


def elements(content):
    """The (tag, content) of each element of DER."""
    while content:
        long = content[1] & 0x7F if content[1] & 0x80 else 0
        size = int.from_bytes(content[2:2 + long], "big") if long else content[1]
        yield content[0], content[2 + long:2 + long + size]
        content = content[2 + long + size:]


def ber(content):
    """DER with indefinite lengths, and OCTET STRINGs in two pieces."""
    out = b""
    for tag, inner in elements(content):
        if tag == 4:
            out += b"\x24\x80" + der(4, inner[:5]) + der(4, inner[5:]) + b"\0\0"
        else:
            out += bytes([tag, 0x80]) + ber(inner) + b"\0\0" if tag & 0x20 else der(tag, inner)
    return out


def open_foreign(at):
    """Containers in the schemes of other programs: what comes out equals what went in."""
    gost = subprocess.run(["openssl", "engine", "gost"], capture_output=True).returncode == 0
    (at / "cnf").write_text(ENGINE if gost else "")

    def shell(line, **kw):
        return run("sh", "-ec", "export OPENSSL_CONF=cnf\n" + line, cwd=at, **kw)

    def extract(file, key, err=""):
        done = shell(f"rm -rf out; {PKIDER} p12 extract {file} --out out --password-env "
                     f"{'WRONG' if err else 'PASSWORD'}", status=1 if err else 0, err=err)
        if not err:
            check(f"pairs {file}", ", of cert-1.pem" in done)
            shell(f"""
                for key in {key}.key out/key-1.pem; do openssl pkey -in $key -outform DER -out $key.der; done
                cmp {key}.key.der out/key-1.pem.der
                openssl x509 -in {key}.crt -outform DER -out x; openssl x509 -in out/cert-1.pem -outform DER -out y
                cmp x y""")

    shell("openssl dsaparam -genkey 1024 | openssl pkey -out dsa.key" + "".join(
        f"\nopenssl genpkey -algorithm {kind} -out {name}.key" for name, kind in KEYS.items()
        if gost or "gost" not in kind))
    for key in at.glob("*.key"):
        # The extension lists a PRF of GOST, as S/MIME capabilities do.
        shell(f"openssl req -new -x509 -key {key.name} -subj /CN={key.stem} -out {key.stem}.crt -addext "
              "1.2.840.113549.1.9.15=DER:300A300806062A850302020A")
    for row in OPENSSL:
        key, options = row.split(" ", 1)
        if gost or "gost" not in row:
            old = "-provider default -provider legacy" if "pbe" in row and "gost" not in row else ""
            shell(f"openssl pkcs12 -export -inkey {key}.key -in {key}.crt -passout env:PASSWORD -out x.p12 "
                  f"-name x {old} {options}")
            extract("x.p12", key)
    extract("x.p12", "ec", "x.p12: wrong password")
    whole = (at / "x.p12").read_bytes()
    (at / "cut.p12").write_bytes(whole[:-9])
    (at / "changed.p12").write_bytes(whole.replace(b"\x06\x09\x2A", b"\x06\x09\x2B", 2))
    (at / "ber.p12").write_bytes(ber(whole))
    extract("cut.p12", "ec", "cut.p12: not a PKCS#12 file, but cut off after")
    extract("changed.p12", "ec", "changed.p12: a PKCS#12 file, but malformed")
    extract("ber.p12", "ec")
    for options in CERTTOOL:
        shell(f"certtool --to-p12 --load-privkey ec.key --load-certificate ec.crt --p12-name x --outder "
              f"--outfile x.p12 --password '{PASSWORD}' {options}")
        extract("x.p12", "ec")
    # PBMAC1, which openssl does not write yet.
    shell("openssl pkcs12 -export -inkey ec.key -in ec.crt -passout env:PASSWORD -out x.p12 -name x -nomac")
    version, info = elements(next(elements((at / "x.p12").read_bytes()))[1])
    safe = next(elements(list(elements(info[1]))[1][1]))[1]
    key = hashlib.pbkdf2_hmac("sha256", PASSWORD.encode(), b"12345678", 300, 32)
    hmacs = [der(0x30, der(6, bytes.fromhex(f"2A864886F70D02{number}")), b"\5\0") for number in ("09", "0B")]
    kdf = der(0x30, der(6, bytes.fromhex("2A864886F70D01050C")),
              der(0x30, der(4, b"12345678"), b"\2\2\1\x2C\2\1\x20", hmacs[0]))
    mac = der(0x30, der(6, bytes.fromhex("2A864886F70D01050E")), der(0x30, kdf, hmacs[1]))
    mac = der(0x30, der(0x30, mac, der(4, hmac.digest(key, safe, "sha512"))), der(4, b"unused"))
    (at / "x.p12").write_bytes(der(0x30, der(*version), der(*info), mac))
    extract("x.p12", "ec")
    extract("x.p12", "ec", "x.p12: wrong password")
    # Other bags are told of: a CRL and a secret in a container without a MAC.
    crl, secret = (der(0x30, der(6, bytes.fromhex("2A864886F70D010C0A01") + bytes([kind])),
                       der(0xA0, der(0x30, der(6, b"\x2A\x03"), der(0xA0, der(4, b"x")))))
                   for kind in (4, 5))
    data = der(6, bytes.fromhex("2A864886F70D010701"))
    safe = der(0x30, der(0x30, data, der(0xA0, der(4, der(0x30, crl, secret)))))
    (at / "x.p12").write_bytes(der(0x30, b"\2\1\3", der(0x30, data, der(0xA0, der(4, safe)))))
    extract("x.p12", "ec", "x.p12: left out a certificate revocation list")
    bags = re.findall("bag: *(.*)", shell(f"{PKIDER} p12 show x.p12 --password-env PASSWORD"))
    check("other bags", bags == ["certificate revocation list", "secret"])
    # Keys are compared with all certificates.
    shell("cat *.crt >all")
    for key in at.glob("*.key"):
        found = shell(f"{PKIDER} key match --key {key.name} --cert all").splitlines()
        check(f"{key}: {found}", len(found) == 1)
    shell(f"{PKIDER} key match --key rsa.key --cert ec.crt", status=1,
          err="none of the certificates belongs to this key")


def key_forms(at):
    """Forms of a GOST private key: which belong to its certificate, and which are refused."""
    order = 0xFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF6C611070995AD10045841B09B761B893
    run(*"certtool --generate-privkey --key-type gost12-256 --no-text --outfile key".split(), cwd=at)
    (at / "template").write_text(TEMPLATE.format("x", "y"))
    run(*"certtool --generate-self-signed --load-privkey key --template template --outfile crt".split(), cwd=at)
    octets = bytes.fromhex(re.search("octets: *(.*)", run(PKIDER, "key", "show", "--reveal", "key", cwd=at))[1])
    number, mask = int.from_bytes(octets, "little"), 0x1234567 << 200
    masked = (number * pow(mask, -1, order) % order).to_bytes(32, "little") + mask.to_bytes(32, "little")
    crypto_pro_a, x25519 = (der(6, bytes.fromhex(oid)) for oid in ("2A850302022301", "2B656E"))
    digest = der(6, bytes.fromhex("2A85030701010202"))
    for form, params, err in [
            (octets, crypto_pro_a + digest, ""), (octets, crypto_pro_a, ""),
            (der(4, octets), crypto_pro_a, ""), (der(2, number.to_bytes(33, "big").lstrip(b"\0") or b"\0"),
                                                 crypto_pro_a, ""),
            (masked, crypto_pro_a, ""), (der(4, masked), crypto_pro_a, ""),
            (der(0x30, der(4, masked), der(4, bytes(64))), crypto_pro_a, ""),
            (octets, x25519, "its parameter set is not one that this command computes with"),
            (b"", crypto_pro_a, "the key is malformed"), (bytes(32), crypto_pro_a, "the key is malformed"),
            (bytes(1 << 20), crypto_pro_a, "the key is malformed")]:
        algorithm = der(0x30, der(6, bytes.fromhex("2A85030701010101")), der(0x30, params))
        (at / "form").write_bytes(der(0x30, b"\2\1\0", algorithm, der(4, form)))
        run(PKIDER, *"key match --key form --cert crt".split(), status=1 if err else 0, err=err, cwd=at)
    big = der(2, b"\x7F" * 40000)
    (at / "big").write_bytes(der(0x30, b"\2\1\0", bytes.fromhex("300D06092A864886F70D0101010500"),
                                 der(4, der(0x30, b"\2\1\0", big, b"\2\1\3"))))
    check("RSA", "319999 bits" in run(PKIDER, "key", "show", "big", cwd=at))


with tempfile.TemporaryDirectory() as directory, \
        concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
    def start(test, *args):
        return pool.submit(test, *args, Path(tempfile.mkdtemp(dir=directory)))
    jobs = [*(start(exchange, kind) for kind in KINDS), start(open_foreign), start(key_forms)]
for job in jobs:
    job.result()
