#!/usr/bin/env python3
"""Precompiled gate: a corpus project scans with -use_precompiled_std_libs exactly as it
does with the standard library sources: for every file of the project the same messages,
the same units declared, the same files required, in the same order. The precompiled
libraries are built for the test, by scripts/precompile_stdlibs.sh, into a scratch data
directory that shares the repository's sources. A SystemVerilog project gets two probe
files besides its own: one that uses the package std (restored from its saved form in
the precompiled run) and one that imports a misspelt package, which both runs must report.

Exit status: 0 pass, 1 fail, 77 corpus project absent (skipped).
"""

import argparse
import os
import subprocess
import sys
import tempfile

here = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, here)
from corpus_project import Project  # noqa: E402
from sift_dump import Dump  # noqa: E402

SKIP = 77
ERROR, WARNING = 1, 2  # message types


GOOD_PROBE = ("module gate_std_probe;\n  import std::*;\n  process p;\n  semaphore s = new(1);\n"
              "  initial p = std::process::self();\nendmodule\n")
BAD_PROBE = "module gate_bad_probe;\n  import sdt::*;\nendmodule\n"


def probes(workdir):
    """The probe files of a SystemVerilog project: (good, bad) paths."""
    paths = (os.path.join(workdir, "gate_std_probe.sv"), os.path.join(workdir, "gate_bad_probe.sv"))
    for path, text in zip(paths, (GOOD_PROBE, BAD_PROBE)):
        with open(path, "w") as f:
            f.write(text)
    return paths


def scan(sift, data, project, workdir, name, precompiled, extra=()):
    dump_path = os.path.join(workdir, name + ".txt")
    script = os.path.join(workdir, name + ".tcl")
    text = project.scan_script(dump_path)
    if extra:
        text = text.replace("sf -skim\n", "sf -add_svlib gate_probe %s\nsf -skim\n" %
                            " ".join("{%s}" % p for p in extra), 1)
    with open(script, "w") as f:
        f.write(("sf -use_precompiled_std_libs\n" if precompiled else "") + text)
    env = dict(os.environ, LOOM_DATADIR=data)
    proc = subprocess.run([sift, script], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=env, timeout=600)
    with open(dump_path, encoding="utf-8", errors="replace") as f:
        return proc.returncode, proc.stdout.decode(errors="replace"), Dump(f.read())


def view(dump, project, extra=()):
    """What the run found about the project's own files (and the probes), by path."""
    paths = {path for _, _, path in project.files} | set(extra)
    ids = {fid: path for fid, path in dump.file_names.items()}
    out = {}
    for fid, path in ids.items():
        if path not in paths:
            continue
        units = sorted(key for rid, key in dump.runit_names.items() if fid in dump.runit_files.get(rid, []))
        required = [ids.get(r, "?") for r in dump.pars_req.get(fid, [])]
        out[path] = {"messages": dump.messages.get(fid, []), "units": units,
                     "required": [r for r in required if r in paths]}
    order = [ids[f] for f in dump.parse_order if ids.get(f) in paths]
    return out, order


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--sift", required=True)
    ap.add_argument("--data", required=True, help="the repository's data directory")
    ap.add_argument("--project", required=True)
    ap.add_argument("--precompile", required=True, help="scripts/precompile_stdlibs.sh")
    args = ap.parse_args()
    if not os.path.isfile(os.path.join(args.project, "FILELIST.tsv")):
        print("corpus project absent: " + args.project)
        return SKIP
    project = Project(args.project)
    problems = []
    with tempfile.TemporaryDirectory(prefix="sift-precompiled-") as work:
        data = os.path.join(work, "data")
        os.mkdir(data)
        for entry in os.listdir(args.data):
            if entry != "precomp_hsv":
                os.symlink(os.path.join(os.path.abspath(args.data), entry), os.path.join(data, entry))
        subprocess.run([args.precompile, args.sift, data], check=True, stdout=subprocess.DEVNULL)
        sv = any(lang == "sv" for lang, _, _ in project.files)
        extra = probes(work) if sv else ()
        status, _, sources = scan(args.sift, data, project, work, "sources", False, extra)
        if status != 0:
            problems.append("run with sources exits with %d" % status)
        status, out, precompiled = scan(args.sift, data, project, work, "precompiled", True, extra)
        if status != 0 or not precompiled.parse_done:
            problems.append("run with precompiled libraries: exit %d, parse done %s" % (status, precompiled.parse_done))
        if "cannot restore" in out:
            problems.append("a precompiled unit was refused: " +
                            next(line for line in out.splitlines() if "cannot restore" in line))
        refused = [m[2] for ms in precompiled.messages.values() for m in ms if "cannot restore" in m[2]]
        if refused:
            problems.append("a precompiled unit was refused: " + refused[0])
        if sv and "Using precompiled files for SV std libs" not in out:
            problems.append("the precompiled run attached no SystemVerilog libraries")
        files_s, order_s = view(sources, project, extra)
        files_p, order_p = view(precompiled, project, extra)
        if extra:
            good, bad = extra
            for name, files in (("sources", files_s), ("precompiled", files_p)):
                found = [m for m in files.get(good, {}).get("messages", []) if m[1] in (ERROR, WARNING)]
                if found:
                    problems.append("%s run: the std probe has messages: %r" % (name, found))
                if not any(m[1] == ERROR and "sdt" in m[2] for m in files.get(bad, {}).get("messages", [])):
                    problems.append("%s run: the misspelt import is not reported" % name)
        if order_s != order_p:
            problems.append("the parse order differs")
        for path in sorted(files_s):
            for what in ("messages", "units", "required"):
                if files_s[path][what] != files_p.get(path, {}).get(what):
                    problems.append("%s: %s differ: %r / %r" % (path, what, files_s[path][what],
                                                                files_p.get(path, {}).get(what)))
        if not files_s:
            problems.append("no file of the project in the run")
    for p in problems:
        print("FAIL " + p)
    print("%s: %d files compared, %s" % (project.name, len(project.files), "ok" if not problems else "FAILED"))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
