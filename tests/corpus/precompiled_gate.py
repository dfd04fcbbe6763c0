#!/usr/bin/env python3
"""Precompiled gate: a corpus project scans with -use_precompiled_std_libs exactly as it
does with the standard library sources: for every file of the project the same messages,
the same units declared, the same files required, in the same order. The precompiled
libraries are built for the test, by scripts/precompile_stdlibs.sh, into a scratch data
directory that shares the repository's sources.

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


def scan(sift, data, project, workdir, name, precompiled):
    dump_path = os.path.join(workdir, name + ".txt")
    script = os.path.join(workdir, name + ".tcl")
    with open(script, "w") as f:
        f.write(("sf -use_precompiled_std_libs\n" if precompiled else "") + project.scan_script(dump_path))
    env = dict(os.environ, LOOM_DATADIR=data)
    proc = subprocess.run([sift, script], stdout=subprocess.PIPE, stderr=subprocess.STDOUT, env=env, timeout=600)
    with open(dump_path, encoding="utf-8", errors="replace") as f:
        return proc.returncode, proc.stdout.decode(errors="replace"), Dump(f.read())


def view(dump, project):
    """What the run found about the project's own files, by path."""
    paths = {path for _, _, path in project.files}
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
        status, _, sources = scan(args.sift, data, project, work, "sources", False)
        if status != 0:
            problems.append("run with sources exits with %d" % status)
        status, out, precompiled = scan(args.sift, data, project, work, "precompiled", True)
        if status != 0 or not precompiled.parse_done:
            problems.append("run with precompiled libraries: exit %d, parse done %s" % (status, precompiled.parse_done))
        if "cannot restore" in out:
            problems.append("a precompiled unit was refused: " +
                            next(line for line in out.splitlines() if "cannot restore" in line))
        files_s, order_s = view(sources, project)
        files_p, order_p = view(precompiled, project)
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
