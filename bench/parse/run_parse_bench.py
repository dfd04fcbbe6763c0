#!/usr/bin/env python3
"""Skim+parse+elab benchmark over the corpus, beside `ghdl -a` and `verilator --lint-only`.

For each project under the corpus folder: a whole `sf -skim; sf -parse; sf -elab;
sf -save` run of sift (wall time, MB/s over the project's own files, peak resident
memory of the child, and the time of each phase inside the run),
then `ghdl -a` over the project's VHDL files in sift's parseOrder, in a scratch work
folder, and `verilator --lint-only` over its Verilog files with the include folders
and the top. The ghdl run doubles as an independent check of the parse order: a
package analysed after one of its users makes ghdl fail.

  bench/parse/run_parse_bench.py --sift build/sift [--corpus DIR] [--data DIR] [--repeat N] [--sift-only]

The generated 10 000-file project: bench/skim/gen_project.py DIR/gen10k, then --corpus DIR.
"""

import argparse
import os
import shutil
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(REPO, "tests", "corpus"))
from corpus_project import Project, VHDL_LANGS, corpus_projects  # noqa: E402
from sift_dump import Dump  # noqa: E402


def measure(cmd, cwd, env=None):
    """Runs cmd; returns (exit status, wall seconds, peak RSS in MB, output tail)."""
    start = time.perf_counter()
    proc = subprocess.Popen(cmd, cwd=cwd, env=env, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
    out = proc.stdout.read()
    _, status, usage = os.wait4(proc.pid, 0)
    wall = time.perf_counter() - start
    proc.returncode = os.waitstatus_to_exitcode(status)
    # ru_maxrss is in kilobytes on Linux.
    return proc.returncode, wall, usage.ru_maxrss / 1024.0, out.decode("utf-8", "replace")[-2000:]


# Times the two phases inside the run, apart from the start of the process.
PHASE_TIMING = """set phaseT0 [clock microseconds]
sf -skim
set phaseT1 [clock microseconds]
sf -parse
set phaseT2 [clock microseconds]
sf -elab
set phaseT3 [clock microseconds]
sf -save bench.db
puts "PHASES [expr {$phaseT1 - $phaseT0}] [expr {$phaseT2 - $phaseT1}] [expr {$phaseT3 - $phaseT2}] \
[expr {[clock microseconds] - $phaseT3}]"
"""


def phase_times(output):
    """(skim, parse, elab, save) microseconds from a timed run's output, or None."""
    for line in output.splitlines():
        if line.startswith("PHASES "):
            return tuple(int(v) for v in line.split()[1:5])
    return None


def sift_runs(sift, project, data, tmp, repeat):
    """The fastest whole run, the fastest skim and parse phases of those runs, and
    the parse order."""
    env = dict(os.environ, LOOM_DATADIR=data)
    timed = os.path.join(tmp, "timed.tcl")
    with open(timed, "w", encoding="utf-8") as f:
        f.write(project.scan_script(None, verbosity=1).replace("sf -skim\nsf -parse\n", PHASE_TIMING))
    runs = [measure([sift, timed], tmp, env) for _ in range(repeat)]
    result = min(runs, key=lambda r: r[1])
    phases = [t for t in (phase_times(r[3]) for r in runs) if t]
    best = tuple(min(t[i] for t in phases) for i in range(4)) if phases else None
    # A separate, untimed run prints the dump for the parse order.
    dump_path = os.path.join(tmp, "dump.txt")
    with open(os.path.join(tmp, "order.tcl"), "w", encoding="utf-8") as f:
        f.write(project.scan_script(dump_path, verbosity=1))
    subprocess.run([sift, "order.tcl"], cwd=tmp, env=env, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)
    with open(dump_path, encoding="utf-8", errors="replace") as f:
        dump = Dump(f.read())
    return result, best, [dump.file_names[fid] for fid in dump.parse_order]


def ghdl_run(project, order, tmp):
    """`ghdl -a` of the VHDL files in parseOrder, one call per run of files of the same
    library and edition. Returns the summed measurement, or None without VHDL."""
    lang_of = {path: (lang, lib) for lang, lib, path in project.files}
    files = [(lang_of[p], p) for p in order if p in lang_of and lang_of[p][0] in VHDL_LANGS]
    if not files:
        return None
    work = os.path.join(tmp, "ghdl")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    groups = []
    for key, path in files:
        if groups and groups[-1][0] == key:
            groups[-1][1].append(path)
        else:
            groups.append((key, [path]))
    status, wall, peak, tail = 0, 0.0, 0.0, ""
    for (lang, lib), paths in groups:
        std = "08" if lang == "vhdl08" else "93"
        rc, w, p, out = measure(["ghdl", "-a", "--std=" + std, "-frelaxed", "--work=" + lib,
                                 "--workdir=" + work, "-P" + work] + paths, work)
        wall += w
        peak = max(peak, p)
        if rc and not status:
            status, tail = rc, out
    return status, wall, peak, tail


def verilator_run(project, tmp):
    files = [p for lang, _, p in project.files if lang not in VHDL_LANGS]
    if not files:
        return None
    cmd = ["verilator", "--lint-only", "-Wno-fatal", "-Wno-lint", "-Wno-style", "--timing"]
    cmd += ["-I" + d for d in project.incdirs]
    if project.top:
        cmd += ["--top-module", project.top]
    return measure(cmd + files, tmp)


def row(name, label, nbytes, result):
    if result is None:
        return "%-13s %-10s %8s" % (name, label, "-")
    rc, wall, peak, _ = result
    return "%-13s %-10s %8.3f s %8.2f MB/s %8.1f MB peak  exit %d" % (
        name, label, wall, nbytes / 1e6 / wall if wall else 0.0, peak, rc)


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--sift", required=True)
    ap.add_argument("--corpus", default=os.path.join(os.path.dirname(REPO), "shared", "corpus"))
    ap.add_argument("--data", default=os.path.join(REPO, "data"))
    ap.add_argument("--repeat", type=int, default=3, help="sift runs per project; the fastest counts")
    ap.add_argument("--sift-only", action="store_true", help="leave out ghdl and verilator")
    args = ap.parse_args()
    sift = os.path.abspath(args.sift)
    projects = corpus_projects(args.corpus)
    if not projects:
        print("no corpus projects under " + args.corpus)
        return 0
    have_ghdl, have_verilator = shutil.which("ghdl"), shutil.which("verilator")
    if args.sift_only:
        have_ghdl = have_verilator = None
    failures = []
    for directory in projects:
        project = Project(directory)
        nbytes = project.total_bytes()
        with tempfile.TemporaryDirectory(prefix="parsebench-") as tmp:
            sift_result, phases, order = sift_runs(sift, project, os.path.abspath(args.data), tmp, args.repeat)
            ghdl = ghdl_run(project, order, tmp) if have_ghdl else None
            veri = verilator_run(project, tmp) if have_verilator else None
        print("%s: %d files, %.1f kB" % (project.name, len(project.files), nbytes / 1e3))
        print(row(project.name, "sift", nbytes, sift_result))
        if phases:
            skim, parse, elab, save = phases
            print("%-13s %-10s skim %.2f ms (%.1f MB/s), parse %.2f ms (%.1f MB/s), parse/skim %.1fx" % (
                project.name, "phases", skim / 1e3, nbytes / skim, parse / 1e3, nbytes / parse, parse / skim))
            print("%-13s %-10s elab %.2f ms (elab/parse %.2fx), save %.2f ms" % (
                project.name, "", elab / 1e3, elab / parse, save / 1e3))
        print(row(project.name, "ghdl -a", nbytes, ghdl))
        print(row(project.name, "verilator", nbytes, veri))
        if sift_result[0]:
            failures.append("%s: sift exit %d\n%s" % (project.name, sift_result[0], sift_result[3]))
        if ghdl and ghdl[0]:
            failures.append("%s: ghdl -a in sift's parse order failed:\n%s" % (project.name, ghdl[3]))
        if veri and veri[0]:
            failures.append("%s: verilator --lint-only failed:\n%s" % (project.name, veri[3]))
    for text in failures:
        print("\n" + text)
    return 1 if any("sift exit" in f or "ghdl" in f for f in failures) else 0


if __name__ == "__main__":
    sys.exit(main())
