#!/usr/bin/env python3
"""`sf -skipElabIfCrash`: a crash inside the front-end during `sf -elab` ends the process
by the signal itself, without a back trace and without running the rest of the script;
without the option the back trace handler prints one before the process dies.

    crash_check.py SIFT_CRASH DATA

SIFT_CRASH is sift with a Verilog elaborator that crashes on a top named `crash_here`
(a test build; the shipped sift has no such hook). A design whose top has another name
runs through.
Exit status: 0 pass, 1 fail.
"""
import os
import signal
import subprocess
import sys
import tempfile


def run(binary, data, tmp, top, skip):
    design = os.path.join(tmp, "design.sv")
    with open(design, "w") as f:
        f.write("module %s; endmodule\n" % top)
    script = os.path.join(tmp, "run.tcl")
    with open(script, "w") as f:
        f.write("sf -add_svlib work %s\nsf -skim\nsf -parse\n%ssf -elab\nputs after_elab\n" %
                (design, "sf -skipElabIfCrash\n" if skip else ""))
    return subprocess.run([binary, script], env=dict(os.environ, LOOM_DATADIR=data), capture_output=True, text=True,
                          timeout=120)


def main():
    binary, data = sys.argv[1:3]
    problems = []
    with tempfile.TemporaryDirectory(prefix="crash-") as tmp:
        skipped = run(binary, data, tmp, "crash_here", True)
        if skipped.returncode != -signal.SIGSEGV:
            problems.append("with the option: status %d, not death by SIGSEGV" % skipped.returncode)
        if "after_elab" in skipped.stdout:
            problems.append("with the option: the script went on after the crash")
        if skipped.stderr.strip():
            problems.append("with the option: something printed on stderr:\n" + skipped.stderr[-2000:])

        traced = run(binary, data, tmp, "crash_here", False)
        if traced.returncode != -signal.SIGSEGV:
            problems.append("without the option: status %d, not death by SIGSEGV" % traced.returncode)
        if not traced.stderr.strip():
            problems.append("without the option: no back trace on stderr")

        sound = run(binary, data, tmp, "calm", True)
        if sound.returncode != 0 or "after_elab" not in sound.stdout:
            problems.append("a design that does not crash: status %d\n%s" % (sound.returncode, sound.stdout[-2000:]))
    for p in problems:
        print(p)
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
