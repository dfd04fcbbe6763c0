#!/usr/bin/env python3
"""The definition/reference gate catches real mistakes: a copy of a corpus project with one
port renamed fails against the tools' data of the original, for a Verilog module
(picorv32) and a VHDL entity (poc), while the unchanged copies pass.
Exit status: 0 pass, 1 fail, 77 corpus absent."""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))


def gate(args, project, expected):
    r = subprocess.run([sys.executable, "-B", os.path.join(HERE, "defref_gate.py"), "--sift", args.sift, "--tables",
                        args.tables, "--data", args.data, "--project", project, "--expected", expected],
                       capture_output=True, text=True, timeout=600)
    return r.returncode, r.stdout


def main():
    parser = argparse.ArgumentParser()
    for name in ("--sift", "--tables", "--data", "--corpus"):
        parser.add_argument(name, required=True)
    args = parser.parse_args()
    cases = [("picorv32", "picorv32.v", r"\bresetn\b", "resetx", ": ports ['clk', 'resetx'"),
             ("poc", "src/arith/arith_prng.vhdl", r"\bclk\b", "clkx", "entity arith_prng port clk")]
    failures = 0
    for project, path, pattern, replacement, message in cases:
        original = os.path.join(args.corpus, project)
        expected = os.path.join(HERE, "defref", project + ".tsv")
        if not os.path.isdir(original) or not os.path.exists(expected):
            print("skipped: no corpus")
            return 77
        with tempfile.TemporaryDirectory() as tmp:
            # The copy keeps the project's name, which the gate's thresholds go by.
            copy = os.path.join(tmp, project)
            shutil.copytree(original, copy)
            status, out = gate(args, copy, expected)
            if status != 0:
                print("%s: the unchanged copy fails:\n%s" % (project, out))
                failures += 1
            with open(os.path.join(copy, path), encoding="utf-8", errors="replace") as f:
                text = f.read()
            with open(os.path.join(copy, path), "w", encoding="utf-8") as f:
                f.write(re.sub(pattern, replacement, text, flags=re.I))
            status, out = gate(args, copy, expected)
            if status != 1 or message not in out:
                print("%s: a renamed port is not caught (status %d):\n%s" % (project, status, out[-3000:]))
                failures += 1
    print("%d passed, %d failed" % (2 * len(cases) - failures, failures))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
