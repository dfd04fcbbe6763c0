#!/usr/bin/env python3
"""Definition/reference gate: scans one corpus project with `sf -skim; sf -parse;
sf -port_decls; sf -defref; sf -save` (Verilog files in `work`, where raw units are
looked up for their ports) and compares the saved tables with what GHDL and Verilator
found in the same sources (tests/corpus/defref/PROJECT.tsv, written by
tools/defref_reference.py).

  * Verilog ports: every module that Verilator kept under its own name has a raw unit
    whose `Var` records give the same names in the same order, the same directions and,
    where ours are numbers (bounds that are literals or parameters at their defaults),
    the same bounds. A bound we cannot evaluate is 0 in the record: such ports are
    counted as symbolic, not compared.
  * VHDL ports: each entity port that GHDL reports is a declaration of ours at the same
    place, with the same name, whose type text starts with the mode (a port written
    without a mode reads `in` in GHDL and has no mode word in ours), in GHDL's order.
  * VHDL references: of the simple names that GHDL links to a declaration of the project,
    the share that our table lists as a reference of a declaration at the same place is
    printed, and must reach the project's share in MIN_SHARE (or --min-share). GHDL ties the names in a subprogram body to the
    parameters of the subprogram's declaration where there is one; ours to the body's own
    parameter list: those are counted apart, as are names we do not resolve.
  * Verilog references: of Verilator's variable references to the one variable of that
    name in their module, the share that our table lists at the same declaration is
    printed, and must reach the project's share in MIN_SHARE_VERILOG.
  * Block ranges: every unit range is one of the file's block ranges.
Exit status: 0 pass, 1 fail, 77 project or expected data absent (skipped).
"""

import argparse
import collections
import os
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from corpus_project import Project, tcl_word  # noqa: E402

SKIP = 77
# The share of GHDL's references that each project must keep agreeing on: the measured
# share less two points. What differs, and why, is in docs/defref.md.
MIN_SHARE = {"microwatt": 0.87, "osvvm": 0.50, "poc": 0.62}
# The same for Verilator's variable references.
MIN_SHARE_VERILOG = {"common_cells": 0.67, "cv32e40p": 0.96, "picorv32": 0.95, "serv": 0.92}
MODES = ("in", "out", "inout", "buffer", "linkage")


def scan(args, project, work):
    project.files = [(lang, "work" if lang in ("v2k", "sv") else lib, path) for lang, lib, path in project.files]
    archive = os.path.join(work, "db.bin")
    script = project.scan_script(None, verbosity=0)
    script += "sf -port_decls all\nsf -defref\nsf -save %s\n" % tcl_word(archive)
    with open(os.path.join(work, "scan.tcl"), "w") as f:
        f.write(script)
    env = dict(os.environ, LOOM_DATADIR=args.data)
    r = subprocess.run([args.sift, os.path.join(work, "scan.tcl")], capture_output=True, text=True, env=env,
                       timeout=600)
    if r.returncode != 0:
        raise SystemExit("sift failed: %s" % r.stdout[-2000:])
    r = subprocess.run([args.tables, archive], capture_output=True, text=True, timeout=300)
    if r.returncode != 0:
        raise SystemExit("defref_tables could not read the archive")
    return r.stdout


class Tables:
    def __init__(self, text, root):
        self.files, self.ports, self.decls, self.refs, self.units, self.blocks = {}, {}, {}, {}, [], {}
        for line in text.splitlines():
            c = line.split("\t")
            if c[0] == "F":
                self.files[int(c[1])] = os.path.relpath(os.path.realpath(c[2]), root)
            elif c[0] == "P":
                self.ports.setdefault(c[1], []).append((c[3], c[4] == "1", c[5] == "1", int(c[6]), int(c[7])))
            elif c[0] == "D":
                self.decls[int(c[1])] = (c[2], c[3], int(c[4]), int(c[5]), int(c[6]), int(c[7]))
            elif c[0] == "R":
                self.refs.setdefault(int(c[1]), []).append((int(c[2]), int(c[3]), int(c[4])))
            elif c[0] == "U":
                self.units.append((c[1], int(c[2]), int(c[3]), int(c[4])))
            elif c[0] == "B":
                self.blocks.setdefault(int(c[1]), set()).add((int(c[2]), int(c[3])))

    def place(self, file_id, line, col):
        return "%s:%d:%d" % (self.files.get(file_id, "?"), line, col)


def read_expected(path):
    rows = collections.defaultdict(list)
    with open(path, encoding="utf-8") as f:
        for line in f:
            if not line.startswith("#") and line.strip():
                cols = line.rstrip("\n").split("\t")
                rows[cols[0]].append(cols[1:])
    return rows


def check_verilog_ports(t, expected, problems):
    modules = collections.OrderedDict()
    for module, index, name, direction, left, right, _, _ in sorted(expected["port"], key=lambda r: (r[0], int(r[1]))):
        modules.setdefault(module, []).append((name, direction, left, right))
    compared = symbolic = 0
    for module, ports in modules.items():
        ours = t.ports.get(".work." + module)
        if ours is None:
            problems.append("module %s: no ports recorded (Verilator has %d)" % (module, len(ports)))
            continue
        if [p[0] for p in ours] != [p[0] for p in ports]:
            problems.append("module %s: ports %s, Verilator %s" % (module, [p[0] for p in ours], [p[0] for p in ports]))
            continue
        for (name, is_in, is_out, msb, lsb), (_, direction, left, right) in zip(ours, ports):
            want = {"input": (True, False), "output": (False, True), "inout": (True, True)}.get(direction)
            if want and (is_in, is_out) != want:
                problems.append("%s.%s: direction in=%d out=%d, Verilator %s" % (module, name, is_in, is_out,
                                                                                 direction))
            if left == "-":
                continue
            if (msb, lsb) == (int(left), int(right)):
                compared += 1
            elif msb == 0 and lsb == 0:
                symbolic += 1
            else:
                problems.append("%s.%s: [%d:%d], Verilator [%s:%s]" % (module, name, msb, lsb, left, right))
    return len(modules), compared, symbolic


def check_vhdl(t, expected, problems, min_share):
    by_place = {}
    for did, (name, type_text, kind, fid, line, col) in t.decls.items():
        by_place.setdefault(t.place(fid, line, col), []).append((did, name, type_text))
    entities = collections.OrderedDict()
    for entity, index, name, mode, path, line, col in sorted(expected["vport"], key=lambda r: (r[0], int(r[1]))):
        entities.setdefault(entity, []).append((name, mode, "%s:%s:%s" % (path, line, col)))
    for entity, ports in entities.items():
        last = 0
        for name, mode, place in ports:
            found = [d for d in by_place.get(place, []) if d[1].lower() == name.lower()]
            if not found:
                problems.append("entity %s port %s at %s: not declared in our table" % (entity, name, place))
                continue
            did, _, type_text = found[0]
            word = type_text.split(" ", 1)[0].lower()
            ours = word if word in MODES else "in"
            if ours != mode:
                problems.append("entity %s port %s: type text %r, GHDL mode %s" % (entity, name, type_text, mode))
            if did < last:
                problems.append("entity %s port %s: out of GHDL's order" % (entity, name))
            last = did
    ours = {}
    for did, refs in t.refs.items():
        name, _, _, fid, line, col = t.decls[did]
        for rf, rl, rc in refs:
            ours[t.place(rf, rl, rc)] = t.place(fid, line, col)
    links = expected["ref"]
    names = {t.place(d[3], d[4], d[5]): d[0].lower() for d in t.decls.values()}
    agreed = renamed = 0
    for ref, decl, name in links:
        if ours.get(ref) == decl:
            agreed += 1
        elif ours.get(ref) and names.get(ours[ref]) == name.lower():
            renamed += 1  # another declaration of the name: a subprogram body's own parameters
    share = agreed / len(links) if links else 1.0
    print("  references: %d agree, %d at another declaration of the same name, %d missing" %
          (agreed, renamed, len(links) - agreed - renamed))
    if share < min_share:
        problems.append("references: %d of GHDL's %d agree (%.1f%%), below %.1f%%" %
                        (agreed, len(links), 100 * share, 100 * min_share))
    return len(entities), agreed, len(links)


def check_verilog_refs(t, expected, problems, min_share):
    ours = {}
    for did, refs in t.refs.items():
        name, _, _, fid, line, col = t.decls[did]
        for rf, rl, rc in refs:
            ours[t.place(rf, rl, rc)] = t.place(fid, line, col)
    links = expected["vref"]
    agreed = sum(1 for ref, decl, _ in links if ours.get(ref) == decl)
    if links and agreed / len(links) < min_share:
        problems.append("Verilog references: %d of Verilator's %d agree (%.1f%%), below %.1f%%" %
                        (agreed, len(links), 100.0 * agreed / len(links), 100 * min_share))
    return agreed, len(links)


def check_unit_ranges(t, problems):
    for name, fid, start, end in t.units:
        if end > start and (start, end) not in t.blocks.get(fid, set()):
            problems.append("unit %s (%s %d..%d) is not a block range" % (name, t.files.get(fid), start, end))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sift", required=True)
    parser.add_argument("--tables", required=True)
    parser.add_argument("--data", required=True)
    parser.add_argument("--project", required=True)
    parser.add_argument("--expected", required=True)
    parser.add_argument("--min-share", type=float, default=None)
    args = parser.parse_args()
    if not os.path.exists(os.path.join(args.project, "FILELIST.tsv")) or not os.path.exists(args.expected):
        print("skipped: no project or expected data")
        return SKIP
    project = Project(args.project)
    if args.min_share is None:
        args.min_share = MIN_SHARE.get(project.name, 0.0)
    expected = read_expected(args.expected)
    with tempfile.TemporaryDirectory() as work:
        t = Tables(scan(args, project, work), os.path.realpath(args.project))
    problems = []
    modules, compared, symbolic = check_verilog_ports(t, expected, problems)
    entities, agreed, links = check_vhdl(t, expected, problems, args.min_share)
    vagreed, vlinks = check_verilog_refs(t, expected, problems, MIN_SHARE_VERILOG.get(project.name, 0.0))
    check_unit_ranges(t, problems)
    print("%s: %d modules (%d port bounds equal, %d symbolic), %d entities, references %d of %d (%.1f%%), "
          "Verilog references %d of %d (%.1f%%)" %
          (project.name, modules, compared, symbolic, entities, agreed, links, 100.0 * agreed / links if links else 100,
           vagreed, vlinks, 100.0 * vagreed / vlinks if vlinks else 100))
    for p in problems[:60]:
        print("  " + p)
    if len(problems) > 60:
        print("  ... %d more" % (len(problems) - 60))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
