#!/usr/bin/env python3
"""Compares the hierarchy that `sift-parse --hier` elaborates for a project (laid out as
the corpus is, with a FILELIST.tsv naming the files and the top) with the one GHDL
elaborated (tools/ghdl_hierarchy.py wrote it): the same instance paths, in the same
order, bound to the same entities and architectures. Names compare in lower case, as
GHDL prints them. Exit status 77 when the project is not there (no corpus).

    compare_hierarchy.py SIFT_PARSE PROJECT_DIR EXPECTED
"""
import os
import subprocess
import sys


def main():
    sift_parse, root, expected_file = sys.argv[1:4]
    filelist = os.path.join(root, "FILELIST.tsv")
    if not os.path.isfile(filelist):
        print(f"no project at {root}")
        return 77
    args, top = [], None
    with open(filelist, encoding="utf-8") as f:
        for line in f:
            cols = line.rstrip("\n").split("\t")
            if line.startswith("#") or len(cols) < 2:
                continue
            if cols[0] == "top":
                top = cols[1]
            elif cols[0].startswith("vhdl") and len(cols) >= 3:
                args += ["--lang", cols[0], "--lib", cols[1], cols[2]]
    run = subprocess.run([sift_parse, "--hier", "--top", top] + args, cwd=root, capture_output=True, text=True)
    errors = [l for l in run.stderr.splitlines() if ": error: " in l]
    ours = []
    for line in run.stdout.splitlines():
        cols = line.split("\t")
        ours.append("\t".join([cols[0].lower(), cols[1].lower(), (cols[3] if len(cols) > 3 else "").lower()]))
    with open(expected_file, encoding="utf-8") as f:
        expected = [l for l in f.read().splitlines() if l]
    ok = len(ours) == len(expected)
    for i in range(max(len(ours), len(expected))):
        e = expected[i] if i < len(expected) else "(none)"
        o = ours[i] if i < len(ours) else "(none)"
        ec, oc = e.split("\t"), o.split("\t")
        same = len(ec) == 3 and len(oc) == 3 and ec[0] == oc[0] and ec[2] == oc[2] and (ec[1] == "-" or ec[1] == oc[1])
        if not same:
            ok = False
            print(f"line {i + 1}: expected {e!r}, elaborated {o!r}")
    if errors:
        ok = False
        print("\n".join(errors))
    print(f"{len(ours)} instances elaborated, {len(expected)} expected")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
