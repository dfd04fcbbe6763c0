#!/usr/bin/env python3
"""Writes the instance hierarchy that Verilator elaborates for each Verilog project of the
corpus whose FILELIST.tsv names a top, and for the test designs of
tests/hdl/elab/verilog_designs (laid out the same way), as the expected data of the
Verilog elaboration test.

    tools/verilator_hierarchy.py [--corpus ../shared/corpus]
                                 [--designs tests/hdl/elab/verilog_designs]
                                 [--out tests/hdl/elab/verilator]

For each project: `verilator --xml-only --top-module TOP` on the Verilog files of the
list (with its include directories and defines), warnings not fatal. Each `cell` of the
XML gives one line `HIER<TAB>MODULE`: HIER the cell's `hier` attribute (Verilator leaves
generate block names out of it and lists an instance array once, under its name), MODULE
the `origName` of the module or interface the cell instantiates (Verilator names copies `leaf__W8`).
Verilator cannot elaborate picorv32's top (`testbench` is left out under `ifndef
VERILATOR`, which Verilator always defines), so that project has no expected list.
The lines are sorted and unique: Verilator's hier of instances in different generate
iterations coincide. The output is never edited by hand: run this again.

Beside it, PROJECT.params lists the integer parameter values of each cell's module as
Verilator worked them out (`HIER<TAB>NAME=VALUE`, decimal), for the copy names to be
checked against. `--only NAME` runs one project (repeatable).
"""
import argparse
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

VERILOG = {"v95", "v2k", "sv", "sv05", "sv09", "sv12", "sv17"}


def read_filelist(path):
    files, incdirs, defines, top = [], [], [], None
    with open(path, encoding="utf-8") as f:
        for line in f:
            cols = line.rstrip("\n").split("\t")
            if line.startswith("#") or len(cols) < 2:
                continue
            if cols[0] == "top":
                top = cols[1]
            elif cols[0] == "incdir":
                incdirs.append(cols[1])
            elif cols[0] == "define":
                defines.append(cols[1])
            elif cols[0] in VERILOG and len(cols) >= 3:
                files.append(cols[2])
    return files, incdirs, defines, top


def hierarchy(root):
    files, incdirs, defines, top = read_filelist(os.path.join(root, "FILELIST.tsv"))
    if not files or not top:
        return None
    with tempfile.TemporaryDirectory() as scratch:
        out = os.path.join(scratch, "out.xml")
        cmd = ["verilator", "--xml-only", "--xml-output", out, "--top-module", top, "-Wno-fatal", "-Wno-lint",
               "-Wno-style", "--Mdir", scratch]
        cmd += [f"-I{d}" for d in incdirs] + [f"-D{d}" for d in defines] + files
        run = subprocess.run(cmd, cwd=root, capture_output=True, text=True)
        if run.returncode != 0 or not os.path.exists(out):
            sys.stderr.write(f"{root}: verilator failed\n{run.stderr[-2000:]}\n")
            return None
        tree = ET.parse(out)
    orig, params = {}, {}
    for m in list(tree.iter("module")) + list(tree.iter("iface")):
        orig[m.get("name")] = m.get("origName")
        params[m.get("name")] = module_params(m)
    lines, values = set(), set()
    for cell in tree.iter("cell"):
        sub = cell.get("submodname")
        # Verilator 5.006 lists no `iface` element for a copy of an interface
        # (`bus_if__D18`): the original is the name before the parameter suffix.
        lines.add(f"{cell.get('hier')}\t{orig.get(sub, sub.split('__')[0])}")
        for name, value in params.get(sub, []):
            values.add(f"{cell.get('hier')}\t{name}={value}")
    return sorted(lines), sorted(values)


CONST = re.compile(r"^\d*'s?([hdbo])([0-9a-fA-F_]+)$")


def module_params(module):
    """The parameters of a module element with an integer value: (name, decimal)."""
    result = []
    for var in module.iter("var"):
        if var.get("param") != "true":
            continue
        const = var.find("const")
        match = CONST.match(const.get("name", "")) if const is not None else None
        if not match:
            continue
        base = {"h": 16, "d": 10, "b": 2, "o": 8}[match.group(1)]
        result.append((var.get("name"), int(match.group(2).replace("_", ""), base)))
    return result


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    repo = os.path.dirname(here)
    ap = argparse.ArgumentParser()
    ap.add_argument("--corpus", default=os.path.join(repo, "..", "shared", "corpus"))
    ap.add_argument("--designs", default=os.path.join(repo, "tests", "hdl", "elab", "verilog_designs"))
    ap.add_argument("--out", default=os.path.join(repo, "tests", "hdl", "elab", "verilator"))
    ap.add_argument("--only", action="append", default=[], help="the project of that name alone")
    args = ap.parse_args()
    os.makedirs(args.out, exist_ok=True)
    projects = []
    for base in (args.corpus, args.designs):
        if os.path.isdir(base):
            projects += [os.path.join(base, p) for p in sorted(os.listdir(base))]
    for root in projects:
        if not os.path.isfile(os.path.join(root, "FILELIST.tsv")):
            continue
        name = os.path.basename(root)
        if args.only and name not in args.only:
            continue
        result = hierarchy(root)
        if result is None:
            continue
        lines, values = result
        with open(os.path.join(args.out, name + ".hier"), "w", encoding="utf-8") as f:
            f.write("".join(l + "\n" for l in lines))
        with open(os.path.join(args.out, name + ".params"), "w", encoding="utf-8") as f:
            f.write("".join(l + "\n" for l in values))
        print(f"{name}: {len(lines)} lines")
    return 0


if __name__ == "__main__":
    sys.exit(main())
