#!/usr/bin/env python3
"""Writes what the independent tools find of declarations, references and ports in each
corpus project, as the expected data of the definition/reference gate
(tests/corpus/defref_gate.py).

    tools/defref_reference.py [--corpus ../shared/corpus] [--out tests/corpus/defref]

VHDL: every file is entered with `ghdl -i` into its library (a scratch directory), then
each file is dumped with `ghdl --file-to-xml`. From the dump: the ports of each entity in
order (name, mode), and every simple name whose `named_entity` link points at a
declaration in a file of the project (the reference's and the declaration's positions).
Verilog/SystemVerilog: `verilator --xml-only` over the project's files; for each module
that Verilator kept under its own name (not a copy for other parameter values), its
ports in pin order with direction and, for a plain vector, the left and right bounds
(Verilator evaluates them with the parameters' default values); and each variable
reference of such a module to the one variable of the module that bears its name.

Columns count characters (GHDL's columns, which widen tabs, are converted).
Rows, tab-separated, paths relative to the project:
    vport  ENTITY  INDEX  NAME  MODE  FILE  LINE  COL
    ref    FILE:LINE:COL  FILE:LINE:COL  NAME        (reference, declaration)
    port   MODULE  INDEX  NAME  DIR  LEFT  RIGHT  FILE  LINE   (LEFT/RIGHT "-" when not a plain vector)
    vref   FILE:LINE:COL  FILE:LINE:COL  NAME        (Verilog reference, the module's variable)
The output is never edited by hand: run this again.
"""
import argparse
import collections
import os
import re
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET

STD = {"vhdl93": "93c", "vhdl08": "08"}
VERILOG = ("v2k", "sv")


def read_filelist(project):
    files, incdirs = [], []
    with open(os.path.join(project, "FILELIST.tsv"), encoding="utf-8") as f:
        for line in f:
            if line.startswith("#") or not line.strip():
                continue
            cols = line.rstrip("\n").split("\t")
            if cols[0] == "incdir":
                incdirs.append(os.path.join(project, cols[1]))
            elif len(cols) == 3:
                files.append((cols[0], cols[1], os.path.join(project, cols[2])))
    return files, incdirs


_lines = {}


def char_col(path, line, col):
    """Ours count characters; GHDL moves a tab at column c to column (c // 8 + 1) * 8 + 1."""
    if path not in _lines:
        with open(path, encoding="utf-8", errors="replace") as f:
            _lines[path] = f.read().split("\n")
    text = _lines[path][int(line) - 1] if 0 < int(line) <= len(_lines[path]) else ""
    visual = 1
    for index, c in enumerate(text):
        if visual >= int(col):
            return str(index + 1)
        visual = (visual // 8 + 1) * 8 + 1 if c == "\t" else visual + 1
    return col


def vhdl_rows(project, files):
    vhdl = [f for f in files if f[0] in STD]
    if not vhdl:
        return []
    std = STD[vhdl[0][0]]
    own = {os.path.realpath(p) for _, _, p in vhdl}
    rel = lambda p: os.path.relpath(os.path.realpath(p), project)
    rows = []
    with tempfile.TemporaryDirectory() as work:
        for _, lib, path in vhdl:
            subprocess.run(["ghdl", "-i", "--std=" + std, "-frelaxed", "--work=" + lib, "--workdir=" + work, path],
                           capture_output=True, check=False)
        for _, lib, path in vhdl:
            r = subprocess.run(["ghdl", "--file-to-xml", "--std=" + std, "-frelaxed", "--work=" + lib,
                                "--workdir=" + work, "-P" + work, path], capture_output=True, check=False)
            if r.returncode != 0 or not r.stdout:
                print("%s: ghdl could not dump %s" % (os.path.basename(project), rel(path)), file=sys.stderr)
                continue
            root = ET.fromstring(r.stdout)
            by_id = {el.get("id"): el for el in root.iter() if el.get("id")}
            mine = lambda el: el is not None and el.get("file") and os.path.realpath(el.get("file")) in own
            here = os.path.realpath(path)
            for el in root.iter():
                if el.get("file") is None or os.path.realpath(el.get("file")) != here:
                    continue
                kind = el.get("kind")
                if kind == "entity_declaration":
                    chain = el.find("port_chain")
                    for index, port in enumerate(chain if chain is not None else []):
                        rows.append(("vport", el.get("identifier"), str(index), port.get("identifier"),
                                     port.get("mode") or "in", rel(path), port.get("line"),
                                     char_col(here, port.get("line"), port.get("col"))))
                elif kind == "simple_name":
                    link = el.find("named_entity")
                    target = by_id.get(link.get("ref")) if link is not None else None
                    if mine(target) and target.get("line") and target.get("col"):
                        line, col = el.get("line"), char_col(here, el.get("line"), el.get("col"))
                        decl = os.path.realpath(target.get("file"))
                        dline, dcol = target.get("line"), char_col(decl, target.get("line"), target.get("col"))
                        rows.append(("ref", "%s:%s:%s" % (rel(path), line, col),
                                     "%s:%s:%s" % (rel(decl), dline, dcol), el.get("identifier")))
    return sorted(set(rows), key=lambda r: (r[0], r[1:]))


def verilog_rows(project, files, incdirs):
    paths = [os.path.realpath(p) for lang, _, p in files if lang in VERILOG]
    if not paths:
        return []
    rows = []
    with tempfile.TemporaryDirectory() as work:
        out = os.path.join(work, "out.xml")
        # A file that instantiates a module the project does not hold stops Verilator; it
        # is left out, with its modules.
        for _ in range(20):
            cmd = ["verilator", "--xml-only", "-Wno-fatal", "-Wno-lint", "-Wno-style", "--bbox-unsup",
                   "--xml-output", out, "--Mdir", work] + ["-I" + d for d in incdirs] + paths
            r = subprocess.run(cmd, capture_output=True, text=True, check=False)
            missing = re.search(r"%Error: (\S+?):\d+:\d+: Cannot find file containing module", r.stderr)
            if os.path.exists(out) or not missing or os.path.realpath(missing.group(1)) not in paths:
                break
            print("%s: Verilator left without %s" % (os.path.basename(project), os.path.relpath(missing.group(1),
                                                                                               project)),
                  file=sys.stderr)
            paths.remove(os.path.realpath(missing.group(1)))
        if not os.path.exists(out):
            print("%s: verilator wrote nothing:\n%s" % (os.path.basename(project), r.stderr[-2000:]), file=sys.stderr)
            return []
        root = ET.parse(out).getroot()
    files_by_letter = {f.get("id"): f.get("filename") for f in root.iter("file")}
    dtypes = {d.get("id"): d for d in root.iter() if d.tag.endswith("dtype") and d.get("id")}
    def place(loc):
        parts = loc.split(",")
        name = files_by_letter.get(parts[0], "")
        return "%s:%s:%s" % (os.path.relpath(os.path.realpath(name), project), parts[1], parts[2]) if name else None

    for module in root.iter("module"):
        if module.get("name") != module.get("origName"):
            continue
        # Variable references: to the one variable of that name in the module (names
        # declared more than once, in blocks or subprograms, are left out).
        declared = collections.defaultdict(list)
        for var in module.iter("var"):
            declared[var.get("origName") or var.get("name")].append(var)
        for ref in module.iter("varref"):
            name = ref.get("name")
            vars_ = declared.get(name, [])
            if len(vars_) != 1 or name.startswith("__V"):
                continue
            at, decl = place(ref.get("loc")), place(vars_[0].get("loc"))
            if at and decl and at != decl:
                rows.append(("vref", at, decl, name))
        ports = [v for v in module.findall("var") if v.get("dir")]
        ports.sort(key=lambda v: int(v.get("pinIndex") or 0))
        for index, var in enumerate(ports):
            dtype = dtypes.get(var.get("dtype_id"))
            left = right = "-"
            if dtype is not None and dtype.tag == "basicdtype":
                left, right = dtype.get("left", "0"), dtype.get("right", "0")
            loc = var.get("loc").split(",")
            name = files_by_letter.get(loc[0], "")
            rows.append(("port", module.get("name"), str(index), var.get("origName") or var.get("name"),
                         var.get("dir"), left, right, os.path.relpath(os.path.realpath(name), project) if name else "",
                         loc[1]))
    return sorted(set(rows), key=lambda r: (r[0], r[1], int(r[2])) if r[0] == "port" else r)


def main():
    here = os.path.dirname(os.path.abspath(__file__))
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--corpus", default=os.path.join(here, "..", "..", "shared", "corpus"))
    parser.add_argument("--out", default=os.path.join(here, "..", "tests", "corpus", "defref"))
    parser.add_argument("projects", nargs="*")
    args = parser.parse_args()
    os.makedirs(args.out, exist_ok=True)
    names = args.projects or sorted(d for d in os.listdir(args.corpus)
                                    if os.path.exists(os.path.join(args.corpus, d, "FILELIST.tsv")))
    for name in names:
        project = os.path.realpath(os.path.join(args.corpus, name))
        files, incdirs = read_filelist(project)
        rows = vhdl_rows(project, files) + verilog_rows(project, files, incdirs)
        with open(os.path.join(args.out, name + ".tsv"), "w", encoding="utf-8") as f:
            f.write("# %s: written by tools/defref_reference.py from ghdl --file-to-xml and verilator --xml-only\n"
                    % name)
            for row in rows:
                f.write("\t".join(row) + "\n")
        print("%s: %d rows" % (name, len(rows)))


if __name__ == "__main__":
    main()
