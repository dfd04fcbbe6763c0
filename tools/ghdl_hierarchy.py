#!/usr/bin/env python3
"""Writes the instance hierarchy that GHDL elaborates for each VHDL project of the corpus
whose FILELIST.tsv names a top, and for the test designs of tests/hdl/elab/designs (laid
out the same way), as the expected data of the elaboration test.

    tools/ghdl_hierarchy.py [--corpus ../shared/corpus] [--designs tests/hdl/elab/designs]
                            [--out tests/hdl/elab/ghdl]

For each project: `ghdl -i` of every VHDL file into its library (in a scratch directory),
`ghdl -m TOP`, then `ghdl -r TOP --disp-tree=inst --stop-time=0ns`. GHDL 2.0's `-m` stops
on an assertion for an entity that instantiates itself; then the files are analysed with
`ghdl -a` in the order of the list (a compile order) and elaborated with `ghdl -e`. (Not
always so: `-a` of a file that `-m` would leave alone can hit another GHDL bug.) The tree becomes one
line per instance, the top first, depth first in source order:
PATH<TAB>MODULE<TAB>ARCH, PATH dotted from the top with iterations written `gen[3]`
(GHDL writes `gen(3)`), MODULE the entity (`-` for an instance no entity binds). GHDL
prints names in lower case. The output is never edited by hand: run this again.

GHDL 2.0 (Debian 12) stops with an internal error on a conditional variable assignment
(`v := a when c else b;`) inside a `process(all)`. The sources are copied to the scratch
directory and such a statement, when it stands on one line, is rewritten as the if
statement of the same meaning; nothing else changes.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

STD = {"vhdl87": "87", "vhdl93": "93c", "vhdl2k": "93c", "vhdl08": "08", "vhdl19": "08"}
COND_VAR = re.compile(r"^(\s*)([\w.()\s]+?)\s*:=\s*(.+?)\s+when\s+(.+)\s+else\s+(.+?);\s*$", re.IGNORECASE)
TREE = re.compile(r"^([ |`+-]*)(\S.*?) \[([^\]]+)\]\s*$")


def read_filelist(path):
    files, top = [], None
    with open(path, encoding="utf-8") as f:
        for line in f:
            if line.startswith("#") or not line.strip():
                continue
            cols = line.rstrip("\n").split("\t")
            if cols[0] == "top" and len(cols) > 1:
                top = cols[1]
            elif cols[0] in STD and len(cols) >= 3:
                files.append((cols[0], cols[1], cols[2]))
    return files, top


def rewrite(text):
    out = []
    for line in text.split("\n"):
        m = COND_VAR.match(line)
        if m and not line.strip().startswith("--"):
            ind, target, a, cond, b = m.groups()
            line = f"{ind}if {cond} then {target} := {a}; else {target} := {b}; end if;"
        out.append(line)
    return "\n".join(out)


def top_library(files, top, root):
    pattern = re.compile(r"^\s*entity\s+" + re.escape(top) + r"\s+is", re.IGNORECASE | re.MULTILINE)
    for _, lib, path in files:
        with open(os.path.join(root, path), encoding="latin-1") as f:
            if pattern.search(f.read()):
                return lib
    return "work"


def parse_tree(text):
    """GHDL's --disp-tree=inst output as (path, module, arch) lines."""
    lines = []
    stack = []  # (depth, path step or None, kind)
    pending = None  # an instance waiting for its entity and architecture
    for raw in text.split("\n"):
        m = TREE.match(raw)
        if not m:
            continue
        prefix, name, kind = m.groups()
        depth = len(prefix) // 2
        if kind == "package":
            continue
        while stack and stack[-1][0] >= depth:
            stack.pop()
        if any(s[2] == "if-generate false" for s in stack):
            continue
        if kind == "entity" and pending is not None and pending[0] == depth - 1:
            pending[1][1] = name
            continue
        if kind == "arch" and pending is not None and pending[0] == depth - 2:
            pending[1][2] = name
            stack.append((depth, None, kind))
            continue
        if kind == "entity" and not stack:
            entry = [name, name, ""]
            lines.append(entry)
            pending = (depth - 1, entry)
            stack.append((depth, name, kind))
            continue
        step = None
        if kind == "instance":
            step = name
        elif kind.startswith("for-generate"):
            step = re.sub(r"\((.*)\)$", r"[\1]", name)
        elif kind.startswith("if-generate") or kind in ("case-generate", "block"):
            step = name
        stack.append((depth, step, kind))
        if kind == "if-generate false":
            continue
        if kind == "instance":
            path = ".".join(s[1] for s in stack if s[1] is not None)
            entry = [path, "-", ""]
            lines.append(entry)
            pending = (depth, entry)
    return ["\t".join(e) for e in lines]


def project(name, root, out_dir):
    files, top = read_filelist(os.path.join(root, "FILELIST.tsv"))
    if not files or not top:
        return None
    std = max((STD[lang] for lang, _, _ in files), key=lambda s: {"87": 0, "93c": 1, "08": 2}[s])
    for make in (True, False):
        work = tempfile.mkdtemp(prefix="ghdl_" + name + "_")
        try:
            lines = elaborate(files, top, root, std, work, make)
        finally:
            shutil.rmtree(work, ignore_errors=True)
        if lines:
            break
    if not lines:
        sys.exit(f"{name}: ghdl elaborates no hierarchy")
    with open(os.path.join(out_dir, name + ".hier"), "w", encoding="utf-8") as f:
        f.write("\n".join(lines) + "\n")
    return len(lines)


def elaborate(files, top, root, std, work, make):
    """The hierarchy lines, or None when ghdl fails."""
    for lang, lib, path in files:
        dest = os.path.join(work, "src", path)
        os.makedirs(os.path.dirname(dest), exist_ok=True)
        with open(os.path.join(root, path), encoding="latin-1") as f:
            text = f.read()
        with open(dest, "w", encoding="latin-1") as f:
            f.write(rewrite(text))
        command = "-i" if make else "-a"
        if subprocess.run(["ghdl", command, "--std=" + std, "-frelaxed", "--work=" + lib, dest], cwd=work,
                          capture_output=True).returncode:
            return None
    lib = top_library(files, top, root)
    common = ["--std=" + std, "-frelaxed", "--work=" + lib]
    if subprocess.run(["ghdl", "-m" if make else "-e"] + common + [top], cwd=work, capture_output=True).returncode:
        return None
    run = subprocess.run(["ghdl", "-r"] + common + [top, "--disp-tree=inst", "--stop-time=0ns"], cwd=work,
                         capture_output=True, text=True)
    return parse_tree(run.stdout) or None


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    ap = argparse.ArgumentParser()
    ap.add_argument("--corpus", default=os.path.join(here, "..", "..", "shared", "corpus"))
    ap.add_argument("--designs", default=os.path.join(here, "..", "tests", "hdl", "elab", "designs"))
    ap.add_argument("--out", default=os.path.join(here, "..", "tests", "hdl", "elab", "ghdl"))
    args = ap.parse_args()
    if not shutil.which("ghdl"):
        sys.exit("ghdl is not installed (scripts/setup.sh --extras)")
    os.makedirs(args.out, exist_ok=True)
    for base in (args.corpus, args.designs):
        for name in sorted(os.listdir(base)):
            root = os.path.join(base, name)
            if os.path.isfile(os.path.join(root, "FILELIST.tsv")):
                n = project(name, root, args.out)
                if n:
                    print(f"{name}: {n} instances")


if __name__ == "__main__":
    main()
