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

When EXPECTED has a `.params` sibling (the integer parameter values of each cell's module
as Verilator worked them out), each integer `P=value` that our copy names list must be
among Verilator's values for that path (our names list the values that differ from the
defaults; Verilator's paths of generate iterations coincide, so a path may have several).

    compare_verilator.py SIFT_PARSE PROJECT_DIR EXPECTED [--broken OLD NEW]

With `--broken`, the project's sources are copied with OLD replaced by NEW (a mistake
put in on purpose), and the run succeeds only when the comparison catches it.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile

VERILOG = {"v95", "v2k", "sv", "sv05", "sv09", "sv12", "sv17"}
ARRAY = re.compile(r"\[-?\d+\]$")


def copy_values(copy):
    """The integer `P=value` entries of a copy name: `leaf(N=8)`, `sink(bus=bus_if(W=12))`."""
    open_at = copy.find("(")
    if open_at < 0 or not copy.endswith(")"):
        return []
    entries, depth, start = [], 0, open_at + 1
    for i, c in enumerate(copy[open_at + 1:-1], open_at + 1):
        if c == "(":
            depth += 1
        elif c == ")":
            depth -= 1
        elif c == "," and depth == 0:
            entries.append(copy[start:i])
            start = i + 1
    entries.append(copy[start:-1])
    return [e for e in entries if re.fullmatch(r"[A-Za-z_]\w*=-?\d+", e)]


def normalize(lines, values=None):
    """Our listing, depth first, to Verilator's form; `values` gets the integer parameter
    values of each path's copy."""
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
        if values is not None and len(cols) > 2:
            values.update(f"{norm}\t{v}" for v in copy_values(cols[2]))
    return result


def main():
    sift_parse, root, expected_file = sys.argv[1:4]
    if len(sys.argv) == 7 and sys.argv[4] == "--broken":
        if not os.path.isfile(os.path.join(root, "FILELIST.tsv")):
            print(f"no project at {root}")
            return 77
        old, new = sys.argv[5:7]
        with tempfile.TemporaryDirectory() as scratch:
            broken = os.path.join(scratch, os.path.basename(root))
            shutil.copytree(root, broken)
            replaced = 0
            for name in os.listdir(broken):
                path = os.path.join(broken, name)
                with open(path, encoding="utf-8") as f:
                    text = f.read()
                replaced += text.count(old)
                with open(path, "w", encoding="utf-8") as f:
                    f.write(text.replace(old, new))
            if not replaced:
                print(f"'{old}' is not in {root}")
                return 1
            status = compare(sift_parse, broken, expected_file)
        print("the mistake is caught" if status == 1 else "the mistake is NOT caught")
        return 0 if status == 1 else 1
    return compare(sift_parse, root, expected_file)


def compare(sift_parse, root, expected_file):
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
    values = set()
    ours = normalize(run.stdout.splitlines(), values)
    with open(expected_file, encoding="utf-8") as f:
        expected = {l for l in f.read().splitlines() if l}
    ok = ours == expected and not errors
    for line in sorted(expected - ours):
        print(f"missing:    {line}")
    for line in sorted(ours - expected):
        print(f"unexpected: {line}")
    params_file = os.path.splitext(expected_file)[0] + ".params"
    if os.path.isfile(params_file):
        with open(params_file, encoding="utf-8") as f:
            expected_values = {l for l in f.read().splitlines() if l}
        for line in sorted(values - expected_values):
            print(f"wrong value: {line}")
            ok = False
        print(f"{len(values)} parameter values in copy names checked")
    if errors:
        print("\n".join(errors))
    print(f"{len(ours)} distinct instance paths elaborated, {len(expected)} expected")
    return 0 if ok else 1


if __name__ == "__main__":
    sys.exit(main())
