#!/usr/bin/env python3
"""Protected copy gate: a corpus project whose every source is enciphered as an IEEE 1735
envelope (with a key made by this test through the openssl command line) scans exactly
as the plain project does when the key ring holds the key: the same dump (units, files,
order, messages) and the same printed output, up to the directory the copy lies in.
Without the key ring each source gets one "cannot read the protected region" error and
the run still ends normally.

Exit status: 0 pass, 1 fail, 77 corpus project absent (skipped).
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, here)
sys.path.insert(0, os.path.join(here, "..", "runtime"))
from corpus_project import Project, VHDL_LANGS  # noqa: E402
from sift_dump import Dump  # noqa: E402
import envelope  # noqa: E402

SKIP = 77


def scan(sift, data, project, workdir, name, ring=None):
    dump_path = os.path.join(workdir, name + ".txt")
    script = os.path.join(workdir, name + ".tcl")
    with open(script, "w") as f:
        f.write(project.scan_script(dump_path))
    env = dict(os.environ, LOOM_DATADIR=data)
    env.pop("LOOM_KEYRING", None)
    if ring:
        env["LOOM_KEYRING"] = ring
    proc = subprocess.run([sift, script], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=env, timeout=600)
    out = proc.stdout.decode(errors="replace")
    with open(dump_path, encoding="utf-8", errors="replace") as f:
        return proc.returncode, out, f.read()


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--sift", required=True)
    ap.add_argument("--data", required=True)
    ap.add_argument("--project", required=True)
    args = ap.parse_args()
    if not os.path.isfile(os.path.join(args.project, "FILELIST.tsv")):
        print("corpus project absent: " + args.project)
        return SKIP
    plain = Project(args.project)
    problems = []
    with tempfile.TemporaryDirectory(prefix="sift-protected-") as work:
        ring = os.path.join(work, "ring")
        os.mkdir(ring)
        envelope.make_key(ring, "acme")
        public = os.path.join(ring, "acme.pub")
        copy_dir = os.path.join(work, plain.name)
        shutil.copytree(plain.directory, copy_dir, symlinks=True)
        copy = Project(copy_dir)
        sources = set()
        for lang, _, path in copy.files:
            if path in sources:
                continue
            sources.add(path)
            style = "vhdl" if lang in VHDL_LANGS else "verilog"
            envelope.protect_file(path, path, [("Acme", "acme", public)], style=style)
        # Headers too, which are read through the include directories.
        for root, _, names in os.walk(copy_dir):
            for n in names:
                path = os.path.join(root, n)
                if n.endswith((".svh", ".vh")) and path not in sources and os.path.isfile(path):
                    envelope.protect_file(path, path, [("Acme", "acme", public)])

        status, plain_out, plain_dump = scan(args.sift, args.data, plain, work, "plain")
        if status != 0:
            problems.append("plain run exits with %d" % status)
        status, keyed_out, keyed_dump = scan(args.sift, args.data, copy, work, "keyed", ring)
        if status != 0:
            problems.append("keyed run exits with %d" % status)
        back = lambda text: text.replace(copy_dir, plain.directory)  # noqa: E731
        if back(keyed_dump) != plain_dump:
            problems.append("the keyed copy's dump differs from the plain project's")
        if back(keyed_out) != plain_out:
            problems.append("the keyed copy's output differs from the plain project's")

        status, closed_out, closed_text = scan(args.sift, args.data, copy, work, "closed")
        closed = Dump(closed_text)
        if status != 0 or not closed.parse_done:
            problems.append("run without keys: exit %d, parse done %s" % (status, closed.parse_done))
        ids = {path: fid for fid, path in closed.file_names.items()}
        for path in sorted(sources):
            errors = [text for _, typ, text in closed.messages.get(ids.get(path), []) if typ == 1]
            wanted = "@56-286@cannot read the protected region at line 1 of %s: " % path
            if sum(e.startswith(wanted) for e in errors) != 1:
                problems.append("%s: %r" % (path, errors))
    for p in problems:
        print("FAIL " + p)
    print("%s: %d sources enciphered, %s" % (plain.name, len(sources), "ok" if not problems else "FAILED"))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
