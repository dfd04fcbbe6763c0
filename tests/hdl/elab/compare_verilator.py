#!/usr/bin/env python3
"""Compares the hierarchy that `sift-parse --hier` elaborates for a Verilog project (laid
out as the corpus is, with a FILELIST.tsv naming the files and the top) with the one
Verilator elaborated (tools/verilator_hierarchy.py wrote it).

Verilator's `hier` leaves out generate block names and lists an instance array once, so
our paths are brought to that form first: each instance's path becomes its parent
instance's path and its own name, without the generate blocks between them, and
`arr[3]` becomes `arr`. Then both sides are sets of `PATH<TAB>MODULE` lines (MODULE the
original module, not the copy) and must be equal. Exit status 77 when the project is not
there (no corpus).

    compare_verilator.py SIFT_PARSE PROJECT_DIR EXPECTED
"""
import os
import re
import subprocess
import sys

VERILOG = {"v95", "v2k", "sv", "sv05", "sv09", "sv12", "sv17"}
ARRAY = re.compile(r"\[-?\d+\]$")


def normalize(lines):
    """Our listing, depth first, to Verilator's form."""
    result = set()
    stack = []  # (our path, normalized path)
    for line in lines:
        cols = line.split("\t")
        path, module = cols[0], cols[1]
        while stack and not path.startswith(stack[-1][0] + "."):
            stack.pop()
        if not stack:
            norm = path
        else:
            parent, parent_norm = stack[-1]
            # The last step is the instance; the steps between are generate blocks.
            last = path[len(parent) + 1:]
            name = re.split(r"\.(?![^\[]*\])", last)[-1]
            norm = parent_norm + "." + ARRAY.sub("", name)
        stack.append((path, norm))
        result.add(f"{norm}\t{module}")
    return result


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
            elif cols[0] == "incdir":
                args += ["-I", cols[1]]
            elif cols[0] == "define":
                args += ["-D", cols[1]]
            elif cols[0] in VERILOG and len(cols) >= 3:
                args += ["--lang", cols[0], "--lib", cols[1], cols[2]]
    run = subprocess.run([sift_parse, "--hier", "--top", top] + args, cwd=root, capture_output=True, text=True)
    errors = [l for l in run.stderr.splitlines() if ": error: " in l]
    ours = normalize(run.stdout.splitlines())
    with open(expected_file, encoding="utf-8") as f:
        expected = {l for l in f.read().splitlines() if l}
    ok = ours == expected and not errors
    for line in sorted(expected - ours):
        print(f"missing:    {line}")
    for line in sorted(ours - expected):
        print(f"unexpected: {line}")
    if errors:
        print("\n".join(errors))
    print(f"{len(ours)} distinct instance paths elaborated, {len(expected)} expected")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
