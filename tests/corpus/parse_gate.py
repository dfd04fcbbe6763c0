#!/usr/bin/env python3
"""Corpus parse gate: skims and parses one real HDL project with sift and checks the dump.

A project passes when
  * the run reaches isParseDone = 1 and sift exits with 0;
  * no file of the project holds an error message (type 1) in fileMsgs, and the
    standard library sources, which are analysed before messages are captured, print
    no error either;
  * every package the sources name resolves: a VHDL `use L.P`, `context L.P` or
    `use entity|configuration L.P` names a standard library package that one of the
    run's standard library files declares, or a unit that the skim found in a file
    coming earlier in parseOrder (or in the same file); an SV `import P::` names a
    package that such a file declares.
The VHDL front-end reports a used unit that its library lacks only for libraries that
hold some unit, and says nothing about other names it cannot resolve, so the last
check is done here too, from the dump's tables and the sources' clauses.

Errors listed in known_failures.tsv (project, file suffix, line, message pattern,
reason) are reported but tolerated; each entry documents why.
Exit status: 0 pass, 1 fail, 77 corpus project absent (skipped).
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from corpus_project import Project, VHDL_LANGS  # noqa: E402
from sift_dump import Dump  # noqa: E402

SKIP = 77

# Comments, string literals and character literals (so that '"' opens no string).
_VHDL_COMMENT = re.compile(r"--[^\n]*|/\*.*?\*/|'.'|\"(?:[^\"\n]|\"\")*\"", re.S)
_VHDL_REFS = re.compile(
    r"\b(?:use|context)\s+(?:entity\s+|configuration\s+)?([a-z]\w*)\s*\.\s*([a-z]\w*)", re.I)
_VHDL_DECL = r"\b(?:package|context)\s+%s\s+is\b"
# The data directory does not bundle UVM (docs/notes.md), but the SystemVerilog standard
# set still names its package source: that file's one "cannot open" line is expected.
_UVM_NOT_BUNDLED = re.compile(r"cannot open file '[^']*/uvm_1\.2/[^'/]*\.sv'")
_STDOUT_ERROR = re.compile(r"^(?:.*: )?ERROR:")
_SV_COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
_SV_IMPORT = re.compile(r"\bimport\s+([A-Za-z_]\w*)\s*::")
_SV_CONDITIONAL = re.compile(r"^\s*`(ifdef|ifndef|elsif|else|endif|define)\b\s*(\w*)")


def read(path):
    with open(path, encoding="utf-8", errors="replace") as f:
        return f.read()


def sv_active_text(text):
    """The text with lines in inactive `ifdef branches blanked. The corpus runs define
    no macros, so only what the file itself defines counts as defined."""
    defined, stack, out = set(), [], []
    for line in text.split("\n"):
        m = _SV_CONDITIONAL.match(line)
        active = all(on for on, _ in stack)
        if m:
            kind, name = m.groups()
            if kind in ("ifdef", "ifndef"):
                on = (name in defined) == (kind == "ifdef")
                stack.append((on, on))
            elif stack and kind == "elsif":
                taken = stack[-1][1]
                stack[-1] = (not taken and name in defined, taken or name in defined)
            elif stack and kind == "else":
                stack[-1] = (not stack[-1][1], True)
            elif stack and kind == "endif":
                stack.pop()
            elif kind == "define" and active:
                defined.add(name)
            out.append("")
        else:
            out.append(line if active else "")
    return "\n".join(out)


def load_known(path, project):
    known = []
    if not os.path.exists(path):
        return known
    for raw in read(path).splitlines():
        if not raw.strip() or raw.startswith("#"):
            continue
        cols = raw.split("\t")
        if len(cols) != 5:
            raise ValueError("known_failures.tsv: need 5 tab-separated columns: %r" % raw)
        if cols[0] == project:
            known.append((cols[1], int(cols[2]), re.compile(cols[3]), cols[4]))
    return known


class Gate:
    def __init__(self, project, dump, stdout):
        self.project = project
        self.dump = dump
        self.stdout = stdout
        self.problems = []  # (path, line, text)
        self.ids = {path: fid for fid, path in dump.file_names.items()}
        self.position = {fid: i for i, fid in enumerate(dump.parse_order)}
        self.std_text = {}
        self.references = 0

    def fail(self, path, line, text):
        self.problems.append((path, line, text))

    def check(self):
        if not self.dump.parse_done:
            self.fail(self.project.name, 0, "isParseDone is not 1")
        for line in self.stdout.splitlines():
            if _STDOUT_ERROR.match(line) and not _UVM_NOT_BUNDLED.search(line):
                self.fail("(standard library)", 0, line)
        for lang, lib, path in self.project.files:
            fid = self.ids.get(path)
            if fid is None:
                self.fail(path, 0, "file missing from fileNames")
                continue
            if fid not in self.position:
                self.fail(path, 0, "file missing from parseOrder")
            for line, typ, text in self.dump.messages.get(fid, []):
                if typ == 1:
                    self.fail(path, line, "error: " + text)
            if lang in VHDL_LANGS:
                self.check_vhdl_refs(fid, lib, path)
            else:
                self.check_sv_imports(fid, path)
        return self.problems

    def declared_before(self, fid, key_matches):
        """Files that the skim says declare a matching unit; whether one of them is
        this file or comes before it in parseOrder."""
        declaring = [f for rid, key in self.dump.runit_names.items() if key_matches(key.lower())
                     for f in self.dump.runit_files.get(rid, [])]
        here = self.position.get(fid, -1)
        ok = any(f == fid or self.position.get(f, here) < here for f in declaring)
        return declaring, ok

    def std_declares(self, lib, name):
        pattern = re.compile(_VHDL_DECL % re.escape(name), re.I)
        for fid, (_, flib, flags) in self.dump.file_attrs.items():
            if "isStdVhdl" in flags and flib.lower() == lib:
                path = self.dump.file_names[fid]
                if path not in self.std_text:
                    self.std_text[path] = _VHDL_COMMENT.sub("", read(path)) if os.path.exists(path) else ""
                if pattern.search(self.std_text[path]):
                    return True
        return False

    def check_vhdl_refs(self, fid, lib, path):
        text = _VHDL_COMMENT.sub(lambda m: "\n" * m.group(0).count("\n"), read(path))
        for m in _VHDL_REFS.finditer(text):
            ref_lib, unit = m.group(1).lower(), m.group(2).lower()
            line = text.count("\n", 0, m.start()) + 1
            self.references += 1
            if ref_lib == "work":
                ref_lib = lib.lower()
            if ref_lib in self.dump.std_vhdl_libs and ref_lib not in self.project_libs():
                if not self.std_declares(ref_lib, unit):
                    self.fail(path, line, "%s.%s: no standard library file of the run declares it"
                              % (ref_lib, unit))
                continue
            key = "/%s/%s" % (ref_lib, unit)
            declaring, ok = self.declared_before(
                fid, lambda k: k == key or k.startswith(key + "/"))
            if not declaring:
                self.fail(path, line, "%s.%s: no file of the run declares it" % (ref_lib, unit))
            elif not ok:
                self.fail(path, line, "%s.%s: declared only in files parsed later" % (ref_lib, unit))

    def check_sv_imports(self, fid, path):
        text = sv_active_text(_SV_COMMENT.sub(lambda m: "\n" * m.group(0).count("\n"), read(path)))
        for m in _SV_IMPORT.finditer(text):
            pkg = m.group(1).lower()
            if pkg == "std":
                continue
            line = text.count("\n", 0, m.start()) + 1
            self.references += 1
            declaring, ok = self.declared_before(fid, lambda k: k.endswith("." + pkg))
            if not declaring:
                self.fail(path, line, "import %s: no file of the run declares the package" % pkg)
            elif not ok:
                self.fail(path, line, "import %s: package declared only in files parsed later" % pkg)

    def project_libs(self):
        return {lib.lower() for _, lib, _ in self.project.files}


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--sift", required=True)
    ap.add_argument("--data", required=True, help="the repository's data directory")
    ap.add_argument("--project", required=True, help="corpus project directory")
    ap.add_argument("--known", default=os.path.join(os.path.dirname(__file__), "known_failures.tsv"))
    args = ap.parse_args()

    if not os.path.isfile(os.path.join(args.project, "FILELIST.tsv")):
        print("SKIP: no corpus project at " + args.project)
        return SKIP
    if not os.path.isfile(os.path.join(args.data, "vhdl", "src", "std", "standard.vhd")):
        print("FAIL: %s has no vhdl/src: run scripts/assemble_data.sh first" % args.data)
        return 1

    project = Project(args.project)
    with tempfile.TemporaryDirectory(prefix="parsegate-") as tmp:
        dump_path = os.path.join(tmp, "dump.txt")
        script = os.path.join(tmp, "run.tcl")
        with open(script, "w", encoding="utf-8") as f:
            f.write(project.scan_script(dump_path))
        env = dict(os.environ, LOOM_DATADIR=os.path.abspath(args.data))
        run = subprocess.run([os.path.abspath(args.sift), script], cwd=tmp, env=env, stdout=subprocess.PIPE,
                             stderr=subprocess.STDOUT, universal_newlines=True, errors="replace")
        if run.returncode != 0 or not os.path.exists(dump_path):
            print(run.stdout[-4000:])
            print("FAIL: sift exited with %d" % run.returncode)
            return 1
        dump = Dump(read(dump_path))

    gate = Gate(project, dump, run.stdout)
    problems = gate.check()
    known = load_known(args.known, project.name)
    failed = 0
    for path, line, text in problems:
        reason = next((k[3] for k in known if path.endswith(k[0]) and k[1] == line and k[2].search(text)),
                      None)
        where = "%s:%d: %s" % (os.path.relpath(path, project.directory) if path.startswith("/") else path,
                               line, text)
        if reason:
            print("known  " + where + "  -- " + reason)
        else:
            print("FAIL   " + where)
            failed += 1
    print("%s: %d files, %d package references, %d problems, %d not known"
          % (project.name, len(project.files), gate.references, len(problems), failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
