#!/usr/bin/env python3
"""Makes IEEE 1735 envelopes for tests with the openssl command line, as an IP vendor's
encryption tool would: a fresh session key and IV per envelope, the source enciphered
with AES-CBC, the session key enciphered with each given RSA public key.

    envelope.py key DIR NAME [BITS]        writes DIR/NAME.pem (private) and DIR/NAME.pub
    envelope.py protect [options] IN OUT   writes IN's text as an envelope into OUT

Options of protect: --key OWNER:NAME:PUBFILE (repeatable), --method aes128-cbc|aes256-cbc,
--style verilog|vhdl, --oaep, --control NAME=EXPR (common rights, repeatable),
--key-control NAME=EXPR (rights in every key block), --keep-head N (the first N lines
stay in clear text before the envelope), --keep-tail N (the last N lines after it).
"""

import argparse
import os
import subprocess
import sys
import tempfile


def run(*args, data=None):
    return subprocess.run(args, input=data, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=True).stdout


def make_key(directory, name, bits=2048):
    private = os.path.join(directory, name + ".pem")
    run("openssl", "genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:%d" % bits, "-out", private)
    run("openssl", "pkey", "-in", private, "-pubout", "-out", os.path.join(directory, name + ".pub"))
    return private


def base64_lines(data):
    return run("openssl", "base64", data=data).decode().rstrip("\n")


def protect(text, keys, method="aes128-cbc", style="verilog", oaep=False, controls=(), key_controls=()):
    """keys: (owner, name, public key file). Returns the envelope's text."""
    key_bytes, cipher_name = {"aes128-cbc": (16, "aes-128-cbc"), "aes256-cbc": (32, "aes-256-cbc")}[method]
    session = os.urandom(key_bytes)
    iv = os.urandom(16)
    cipher = run("openssl", "enc", "-" + cipher_name, "-K", session.hex(), "-iv", iv.hex(), data=text.encode())
    lead = "`pragma protect " if style == "verilog" else "`protect "
    out = [lead + "begin_protected", lead + "version = 2",
           lead + 'encrypt_agent = "sift tests", encrypt_agent_info = "openssl"']
    out += [lead + "control %s = %s" % c for c in controls]
    for owner, name, public in keys:
        with tempfile.NamedTemporaryFile() as f:
            f.write(session)
            f.flush()
            # PKCS #1 v1.5 is what vendors' tools use; OAEP is read as well.
            args = ["openssl", "pkeyutl", "-encrypt", "-pubin", "-inkey", public, "-in", f.name]
            if oaep:
                args += ["-pkeyopt", "rsa_padding_mode:oaep"]
            block = run(*args)
        out.append(lead + 'key_keyowner = "%s", key_keyname = "%s", key_method = "rsa"' % (owner, name))
        out += [lead + "control %s = %s" % c for c in key_controls]
        out.append(lead + 'encoding = (enctype = "base64", line_length = 64, bytes = %d)' % len(block))
        out.append(lead + "key_block")
        out.append(base64_lines(block))
    data = iv + cipher
    out.append(lead + 'data_method = "%s"' % method)
    out.append(lead + 'encoding = (enctype = "base64", line_length = 64, bytes = %d)' % len(data))
    out.append(lead + "data_block")
    out.append(base64_lines(data))
    out.append(lead + "end_protected")
    return "\n".join(out) + "\n"


def protect_file(source, target, keys, keep_head=0, keep_tail=0, **options):
    with open(source, encoding="utf-8", errors="surrogateescape") as f:
        lines = f.read().splitlines(keepends=True)
    tail_at = len(lines) - keep_tail
    head, body, tail = lines[:keep_head], lines[keep_head:tail_at], lines[tail_at:]
    with open(target, "w", encoding="utf-8", errors="surrogateescape") as f:
        f.write("".join(head) + protect("".join(body), keys, **options) + "".join(tail))


def pair(text):
    name, _, expr = text.partition("=")
    return name.strip(), expr.strip()


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    sub = ap.add_subparsers(dest="command", required=True)
    k = sub.add_parser("key")
    k.add_argument("directory")
    k.add_argument("name")
    k.add_argument("bits", type=int, nargs="?", default=2048)
    p = sub.add_parser("protect")
    p.add_argument("--key", action="append", default=[])
    p.add_argument("--method", default="aes128-cbc")
    p.add_argument("--style", default="verilog")
    p.add_argument("--oaep", action="store_true")
    p.add_argument("--control", action="append", default=[], type=pair)
    p.add_argument("--key-control", action="append", default=[], type=pair)
    p.add_argument("--keep-head", type=int, default=0)
    p.add_argument("--keep-tail", type=int, default=0)
    p.add_argument("source")
    p.add_argument("target")
    args = ap.parse_args()
    if args.command == "key":
        make_key(args.directory, args.name, args.bits)
        return 0
    keys = [tuple(spec.split(":", 2)) for spec in args.key]
    protect_file(args.source, args.target, keys, args.keep_head, args.keep_tail, method=args.method,
                 style=args.style, oaep=args.oaep, controls=args.control, key_controls=args.key_control)
    return 0


if __name__ == "__main__":
    sys.exit(main())
