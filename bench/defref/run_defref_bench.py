#!/usr/bin/env python3
"""Definition/reference walk benchmark: `sf -skim; sf -parse; sf -defref; sf -save` over
each corpus project (or any folder with a FILELIST.tsv, such as the generated project of
bench/skim/gen_project.py), with the CPU time of each phase inside the run (from
/proc/self/schedstat, so that other load on the machine does not count), the walk's speed
over the project's own source bytes, the resident memory before and after the walk, the
peak of the process, the declarations and references written and the archive's size.

  bench/defref/run_defref_bench.py --sift build/sift [--data data] [--repeat N] PROJECT_DIR...
"""

import argparse
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(REPO, "tests", "corpus"))
from corpus_project import Project, tcl_word  # noqa: E402

TIMED = """proc rssKb {field} {
    set f [open /proc/self/status]
    set text [read $f]
    close $f
    regexp "$field:\\\\s+(\\\\d+)" $text -> kb
    return $kb
}
proc cpuUs {} {
    set f [open /proc/self/schedstat]
    set ns [lindex [read $f] 0]
    close $f
    return [expr {$ns / 1000}]
}
set t0 [cpuUs]
sf -skim
set t1 [cpuUs]
sf -parse
set t2 [cpuUs]
set rssParsed [rssKb VmRSS]
sf -defref
set t3 [cpuUs]
set rssWalked [rssKb VmRSS]
sf -save %s
set t4 [cpuUs]
puts "TIMES [expr {$t1-$t0}] [expr {$t2-$t1}] [expr {$t3-$t2}] [expr {$t4-$t3}] $rssParsed $rssWalked [rssKb VmHWM]"
"""


def run(args, project, tmp):
    archive = os.path.join(tmp, "db.bin")
    script = project.scan_script(None, verbosity=0).replace("sf -skim\nsf -parse\n", "")
    script += TIMED % tcl_word(archive)
    path = os.path.join(tmp, "bench.tcl")
    with open(path, "w") as f:
        f.write(script)
    out = subprocess.run([args.sift, path], capture_output=True, text=True, cwd=tmp,
                         env=dict(os.environ, LOOM_DATADIR=args.data)).stdout
    for line in out.splitlines():
        if line.startswith("TIMES "):
            values = [int(v) for v in line.split()[1:]]
            return values + [os.path.getsize(archive)]
    raise SystemExit("%s: no timing line:\n%s" % (project.name, out[-2000:]))


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--sift", required=True)
    parser.add_argument("--data", default=os.path.join(REPO, "data"))
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("projects", nargs="+")
    args = parser.parse_args()
    args.sift, args.data = os.path.abspath(args.sift), os.path.abspath(args.data)
    print("%-14s %8s %9s %9s %9s %9s %10s %9s %9s %9s %9s" %
          ("project", "MB", "skim s", "parse s", "walk s", "save s", "walk MB/s", "RSS MB", "+walk MB",
           "peak MB", "arch MB"))
    for directory in args.projects:
        project = Project(directory)
        size = project.total_bytes() / 1e6
        with tempfile.TemporaryDirectory() as tmp:
            best = min((run(args, project, tmp) for _ in range(args.repeat)), key=lambda r: r[2])
        skim, parse, walk, save, rss_parsed, rss_walked, peak, archive = best
        print("%-14s %8.2f %9.3f %9.3f %9.3f %9.3f %10.1f %9.1f %9.1f %9.1f %9.2f" %
              (project.name, size, skim / 1e6, parse / 1e6, walk / 1e6, save / 1e6, size / max(walk / 1e6, 1e-6),
               rss_parsed / 1024, (rss_walked - rss_parsed) / 1024, peak / 1024, archive / 1e6))


if __name__ == "__main__":
    main()
