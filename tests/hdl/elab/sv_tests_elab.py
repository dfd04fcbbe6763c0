#!/usr/bin/env python3
"""Runs `sift-parse --hier` on every sv-tests file whose `:type:` includes elaboration
and checks that an error is reported exactly when the file should fail
(`:should_fail_because:`). Most of the files that should fail break rules that no
elaboration checks (class semantics, multiple drivers, type checking of enums, ...);
those, and any file that gives an error though it should not, are listed in
sv_tests_elab_known.txt with the reason. The test fails when the outcome of a file
differs from what the list says, in either direction, so that a fix updates the list
(`--write` rewrites it) and a regression shows. Exit status 77 without the suite.

    sv_tests_elab.py SIFT_PARSE SV_TESTS_DIR KNOWN_LIST [--write]
"""
import os
import re
import subprocess
import sys

TAG = re.compile(r"^:(\w+):\s*(.*)$", re.MULTILINE)


def cases(root):
    for dirpath, _, names in os.walk(os.path.join(root, "tests")):
        for name in sorted(names):
            if not name.endswith(".sv"):
                continue
            path = os.path.join(dirpath, name)
            with open(path, encoding="utf-8", errors="replace") as f:
                text = f.read()
            tags = dict(TAG.findall(text))
            if "elaboration" not in tags.get("type", "") or "uvm" in tags.get("tags", ""):
                continue
            yield os.path.relpath(path, root), tags


def main():
    sift_parse, root, known_file = sys.argv[1:4]
    write = "--write" in sys.argv[4:]
    if not os.path.isdir(os.path.join(root, "tests")):
        print(f"no sv-tests at {root}")
        return 77
    outcome = {}
    for rel, tags in sorted(cases(root)):
        path = os.path.join(root, rel)
        cmd = [sift_parse, "--no-stdlib", "--hier", "-I", os.path.dirname(path)]
        if tags.get("top_module"):
            cmd += ["--top", tags["top_module"].strip()]
        for d in tags.get("defines", "").split():
            cmd += ["-D", d]
        cmd.append(path)
        try:
            run = subprocess.run(cmd, capture_output=True, text=True, timeout=60)
            failed = run.returncode != 0
        except subprocess.TimeoutExpired:
            failed = True
        should_fail = "should_fail_because" in tags
        if failed != should_fail:
            outcome[rel] = "false error" if failed else "missed failure: " + tags["should_fail_because"].strip()
    if write:
        with open(known_file, "w", encoding="utf-8") as f:
            f.write("# sv-tests elaboration files whose outcome differs from the expected one; written by\n"
                    "# sv_tests_elab.py --write, not by hand.\n")
            for rel in sorted(outcome):
                f.write(f"{rel}\t{outcome[rel]}\n")
        print(f"{len(outcome)} known differences written")
        return 0
    known = {}
    with open(known_file, encoding="utf-8") as f:
        for line in f:
            if line.startswith("#") or not line.strip():
                continue
            rel, reason = line.rstrip("\n").split("\t", 1)
            known[rel] = reason
    ok = True
    for rel in sorted(set(known) | set(outcome)):
        if known.get(rel, "").split(":")[0] != outcome.get(rel, "").split(":")[0]:
            ok = False
            print(f"{rel}: expected {known.get(rel, 'as the suite says')!r}, got {outcome.get(rel, 'as the suite says')!r}")
    total = sum(1 for _ in cases(root))
    print(f"{total} files, {total - len(outcome)} as the suite says, {len(outcome)} known differences")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
