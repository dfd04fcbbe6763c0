#!/usr/bin/env python3
"""The bundled example project, run as the README's main job runs it: sift must exit
cleanly, order the files so that every package, entity and configuration comes before
its users, write the archive, and show the mixed-language hierarchy. Its elaboration
(elab.tcl) must choose the configuration as a top, bind the adders it selects in the
configuration's copy of the pair, and leave the device LUT out."""

import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
REPO = os.path.dirname(os.path.dirname(HERE))
sys.path.insert(0, os.path.join(REPO, "tests", "corpus"))
from sift_dump import Dump  # noqa: E402

# file -> files that must be analysed before it
NEEDS = {
    "rtl/top.sv": ["rtl/bus_pkg.sv"],
    "rtl/stream_sink.sv": ["rtl/bus_pkg.sv"],
    "rtl/parity_unit.vhd": ["rtl/util_pkg.vhd"],
    "rtl/adder_pair_cfg.vhd": ["rtl/adder_pair.vhd", "rtl/adder.vhd"],
}

HIERARCHY = [
    "top == .work.top",
    '  adder_pair "add" == /work/adder_pair/structural',
    '    add2 "first" == /work/add2',
    '  parity_unit "par" == /work/parity_unit/rtl',
    '  stream_if "link" == .work.stream_if',
    '  stream_sink "sink" == .work.stream_sink',
    "adder_pair_cfg == /work/adder_pair_cfg",
]


# The VHDL part of the elaborated hierarchy, in order.
ELAB_HIERARCHY = [
    "adder_pair_cfg == /work/adder_pair_cfg",
    '  adder_pair "adder_pair" == /work/adder_pair_adder_pair_cfg_default/structural',
    '    adder "first" == /work/adder/rtl',
    '    adder "second" == /work/adder/rtl',
]


def check_elab(sift, data, work):
    run = subprocess.run([sift, "elab.tcl"], cwd=work, env=dict(os.environ, LOOM_DATADIR=data),
                         stdout=subprocess.PIPE, stderr=subprocess.STDOUT, universal_newlines=True)
    problems = []
    if run.returncode != 0 or not run.stdout.rstrip().endswith("sift exits with return value 0"):
        problems.append("elab.tcl: sift exited with %d" % run.returncode)
    lines = run.stdout.splitlines()
    if "VHDLConfigTop: library:work entity:adder_pair_cfg arch:" not in lines:
        problems.append("elab.tcl: the configuration is no candidate top")
    at = lines.index(ELAB_HIERARCHY[0]) if ELAB_HIERARCHY[0] in lines else -1
    if at < 0 or lines[at:at + len(ELAB_HIERARCHY)] != ELAB_HIERARCHY:
        problems.append("elab.tcl: the configuration's hierarchy differs")
    if any("SB_LUT4" in line or "low_and" in line for line in lines):
        problems.append("elab.tcl: the device LUT was not trimmed")
    if problems:
        print(run.stdout[-3000:])
    return problems


def main():
    sift, data = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    problems = []
    with tempfile.TemporaryDirectory(prefix="example-") as tmp:
        work = os.path.join(tmp, "examples")
        shutil.copytree(os.path.join(REPO, "examples"), work)
        run = subprocess.run([sift, "run.tcl"], cwd=work, env=dict(os.environ, LOOM_DATADIR=data),
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT, universal_newlines=True)
        out = run.stdout
        problems += check_elab(sift, data, work)
        db = os.path.join(work, "example.db")
        if not os.path.isfile(db) or os.path.getsize(db) < 100:
            problems.append("example.db was not written")
    if run.returncode != 0 or not out.rstrip().endswith("sift exits with return value 0"):
        problems.append("sift exited with %d" % run.returncode)
    for line in out.splitlines():
        # The UVM package of the SystemVerilog standard set is not bundled.
        if "ERROR" in line and "uvm" not in line:
            problems.append("unexpected: " + line)
    dump = Dump(out)
    position = {dump.file_names[f]: i for i, f in enumerate(dump.parse_order) if f in dump.file_names}
    for user, needed in NEEDS.items():
        for need in needed:
            if user not in position or need not in position:
                problems.append("%s or %s missing from parseOrder" % (user, need))
            elif position[need] > position[user]:
                problems.append("%s is parsed after its user %s" % (need, user))
    if not dump.parse_done:
        problems.append("isParseDone is not 1")
    lines = out.splitlines()
    for expected in HIERARCHY:
        if expected not in lines:
            problems.append("hierarchy lacks %r" % expected)
    if HIERARCHY[0] in lines and lines.index(HIERARCHY[0]) > lines.index(HIERARCHY[-1]):
        problems.append("the biggest top is not listed first")
    for p in problems:
        print("FAIL " + p)
    if problems:
        print(out[-3000:])
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
