#!/usr/bin/env python3
"""Corpus elaboration gate: `sf -skim; sf -parse; sf -elab` of one real project with a
top, checked against the front-end's own elaboration of that top.

A project passes when
  * sift exits with 0 and the top of FILELIST.tsv is among the tops of the database
    (a top line of `sf -print_hier`);
  * the hierarchy under that top, as `sf -print_hier` prints it from the database,
    equals `sift-parse --hier --top TOP` path for path, with the same entity and
    architecture at every path;
  * no instance in it is bound to a unit without source: a VHDL key without an
    architecture, or a Verilog key in the default library, which the run names
    `sift_unbound` so that no library of the project can hold it.

With --misspell the first entity instantiation of the sources (for a Verilog project,
the first instantiation of the module of the top's first instance) names a unit that
does not exist (a typing mistake); the gate must then fail and name that unit, and the
run passes when it does.
Exit status: 0 pass, 1 fail, 77 skipped.
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from corpus_project import VHDL_LANGS, Project, tcl_word  # noqa: E402

SKIP = 77


def database_hierarchy(text, top):
    """(path, entity, architecture) under the top of that name, from the print_hier
    text: two blanks of indentation per level, `name "inst" == key`."""
    rows, stack, inside = [], [], False
    for line in text.splitlines():
        depth = (len(line) - len(line.lstrip(" "))) // 2
        body = line.strip()
        if depth == 0:
            inside = body.split(" == ")[0].lower() == top.lower()
            stack = []
        if not inside or "(INACTIVE)" in body:
            continue
        head, key = body.rsplit(" == ", 1)
        step = head.split('"')[1] if '"' in head else head
        del stack[depth:]
        stack.append(step)
        parts = key.split("/")
        entity = head.split(" ")[0]
        arch = parts[3] if key.startswith("/") and len(parts) > 3 else ""
        rows.append((".".join(stack).lower(), entity.lower(), arch.lower(), key))
    return rows


def frontend_hierarchy(sift_parse, project):
    args = []
    for directory in project.incdirs:
        args += ["-I", directory]
    for lang, lib, path in project.files:
        args += ["--lang", lang, "--lib", lib, path]
    run = subprocess.run([sift_parse, "--hier", "--top", project.top] + args, cwd=project.directory,
                         capture_output=True, text=True)
    rows = []
    for line in run.stdout.splitlines():
        cols = line.split("\t")
        rows.append((cols[0].lower(), cols[1].lower(), (cols[3] if len(cols) > 3 else "").lower()))
    return rows


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--sift", required=True)
    ap.add_argument("--sift-parse", required=True)
    ap.add_argument("--data", required=True)
    ap.add_argument("--project", required=True)
    ap.add_argument("--misspell", action="store_true")
    a = ap.parse_args()
    a.sift, a.sift_parse, a.data = (os.path.abspath(p) for p in (a.sift, a.sift_parse, a.data))
    if not os.path.isfile(os.path.join(a.project, "FILELIST.tsv")):
        print("no project at " + a.project)
        return SKIP
    project = Project(a.project)
    if not project.top:
        print(project.name + ": no top")
        return SKIP

    with tempfile.TemporaryDirectory(prefix="elab-gate-") as tmp:
        if a.misspell:
            wrong = misspell(project, tmp) or misspell_module(a, project, tmp)
            if not wrong:
                print(project.name + ": no entity instantiation to misspell")
                return SKIP
            problems = check(a, project, tmp)
            named = [p for p in problems if wrong.lower() in p.lower()]
            print("\n".join(problems))
            print("misspelt %s: %s" % (wrong, "caught" if named else "NOT caught"))
            return 0 if named else 1
        problems = check(a, project, tmp)
    for p in problems:
        print(p)
    return 1 if problems else 0


_ENTITY_INST = re.compile(r"(:\s*entity\s+\w+\.)(\w+)", re.I)


def misspell(project, tmp):
    """Copies the first source with an entity instantiation into `tmp` with the unit's
    name misspelt, and points the project at the copy; returns the wrong name."""
    for i, (lang, lib, path) in enumerate(project.files):
        with open(path, encoding="utf-8", errors="replace") as f:
            text = f.read()
        m = _ENTITY_INST.search(text)
        if not m:
            continue
        wrong = m.group(2) + "_misspelt"
        copy = os.path.join(tmp, os.path.basename(path))
        with open(copy, "w", encoding="utf-8") as f:
            f.write(text[:m.start(2)] + wrong + text[m.end(2):])
        project.files[i] = (lang, lib, copy)
        return wrong
    return None


def misspell_module(a, project, tmp):
    """As misspell, for the module of the first instance under the top: its first
    instantiation (`name #(` or `name inst (`) in list order gets the wrong name."""
    rows = frontend_hierarchy(a.sift_parse, project)
    if len(rows) < 2:
        return None
    name = rows[1][1]
    inst = re.compile(r"^([ \t]*)(" + re.escape(name) + r")(\s*(#|[A-Za-z_]\w*\s*[\[(]))", re.I | re.M)
    for i, (lang, lib, path) in enumerate(project.files):
        if lang in VHDL_LANGS:
            continue
        with open(path, encoding="utf-8", errors="replace") as f:
            text = f.read()
        m = inst.search(text)
        if not m:
            continue
        wrong = m.group(2) + "_misspelt"
        copy = os.path.join(tmp, os.path.basename(path))
        with open(copy, "w", encoding="utf-8") as f:
            f.write(text[:m.start(2)] + wrong + text[m.end(2):])
        project.files[i] = (lang, lib, copy)
        # An include directory of the original stays in reach of the copy.
        project.incdirs.append(os.path.dirname(path))
        return wrong
    return None


def check(a, project, tmp):
    """The problems of one run: sift, then sift-parse, on the project's files."""
    hier = os.path.join(tmp, "hier.txt")
    script = (project.scan_script(None, verbosity=0) + "sf -set_project_defaultlibrary sift_unbound\n" +
              "sf -elab\nsf -print_hier %s\n" % tcl_word(hier))
    with open(os.path.join(tmp, "run.tcl"), "w") as f:
        f.write(script)
    run = subprocess.run([a.sift, os.path.join(tmp, "run.tcl")], cwd=project.directory,
                         env=dict(os.environ, LOOM_DATADIR=a.data), capture_output=True, text=True)
    if run.returncode != 0 or not os.path.isfile(hier):
        print(run.stdout[-3000:] + run.stderr[-3000:])
        return ["sift exited with %d" % run.returncode]
    with open(hier) as f:
        text = f.read()

    problems = []
    tops = [l.split(" == ")[0] for l in text.splitlines() if l and not l.startswith(" ")]
    if project.top.lower() not in (t.lower() for t in tops):
        problems.append("top %s is not among the tops %s" % (project.top, tops))
    ours = database_hierarchy(text, project.top)
    theirs = frontend_hierarchy(a.sift_parse, project)
    if not theirs:
        problems.append("sift-parse elaborated nothing")
    # The database walk orders instances by name, the front-end by source position.
    database_rows = sorted(row[:3] for row in ours)
    for row in sorted(set(database_rows) - set(theirs)):
        problems.append("database only: %s %s(%s)" % row)
    for row in sorted(set(theirs) - set(database_rows)):
        problems.append("front-end only: %s %s(%s)" % row)
    if len(database_rows) != len(theirs):
        problems.append("%d paths in the database, %d from the front-end" % (len(database_rows), len(theirs)))
    for path, _, _, key in ours:
        if key.startswith("."):
            if key.split(".")[1] == "sift_unbound":
                problems.append("%s is bound to %s, a unit without source" % (path, key))
        elif not key.startswith("/") or len(key.split("/")) < 4:
            problems.append("%s is bound to %s, a unit without architecture" % (path, key))
    print("%s: %d paths in the database, %d from the front-end" % (project.name, len(ours), len(theirs)))
    return problems


if __name__ == "__main__":
    sys.exit(main())
