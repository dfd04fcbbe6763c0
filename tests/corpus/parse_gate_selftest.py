#!/usr/bin/env python3
"""The corpus gate must fail on the faults it is there to catch and pass clean
projects: small projects written to a scratch folder are run through parse_gate.py."""

import argparse
import os
import subprocess
import sys
import tempfile

GATE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "parse_gate.py")

PKG = """library ieee;
use ieee.std_logic_1164.all;
package shared_pkg is
  constant W : natural := 8;
end package;
"""

USER = """library ieee;
use ieee.std_logic_1164.all;
use ieee.numeric_std.all;
use work.shared_pkg.all;
entity user is
  port (a : in std_logic_vector(W - 1 downto 0); y : out std_logic);
end entity;
architecture rtl of user is
begin
  -- use work.commented_out.all is no reference
  y <= a(0);
  assert true report "use work.in_a_string.all" severity note;
end architecture;
"""

SV_PKG = "package sv_pkg;\n  typedef logic [3:0] nib_t;\nendpackage\n"

SV_USER = """module sv_user import sv_pkg::*; (input nib_t a, output logic y);
`ifdef NEVER_DEFINED
  import absent_pkg::*;
`endif
  assign y = a[0];
endmodule
"""

CASES = [
    # name, files {path: (lang, lib, text)}, known failures text, expected exit, expected output
    ("clean", {"pkg.vhd": ("vhdl93", "lib1", PKG), "user.vhd": ("vhdl93", "lib1", USER),
               "sv_pkg.sv": ("sv", "lib1", SV_PKG), "sv_user.sv": ("sv", "lib1", SV_USER)},
     "", 0, "0 problems"),
    ("missing project package", {"user.vhd": ("vhdl93", "lib1", USER)},
     "", 1, "FAIL   user.vhd:4: lib1.shared_pkg: no file of the run declares it"),
    ("missing standard package", {"pkg.vhd": ("vhdl93", "lib1", PKG.replace("std_logic_1164", "no_such_pkg"))},
     "", 1, "ieee.no_such_pkg: no standard library file of the run declares it"),
    ("syntax error", {"pkg.vhd": ("vhdl93", "lib1", PKG.replace("constant W", "constant W W"))},
     "", 1, "FAIL   pkg.vhd:4: error:"),
    ("missing SV package", {"sv_user.sv": ("sv", "lib1", SV_USER)},
     "", 1, "import sv_pkg: no file of the run declares the package"),
    ("known failure", {"user.vhd": ("vhdl93", "lib1", USER)},
     "selftest\tuser.vhd\t4\tshared_pkg\twritten without its package on purpose\n", 0,
     "known  user.vhd:4"),
]


def run_case(sift, data, name, files, known, tmp):
    project = os.path.join(tmp, "selftest")
    os.makedirs(project)
    lines = []
    for path, (lang, lib, text) in files.items():
        with open(os.path.join(project, path), "w", encoding="utf-8") as f:
            f.write(text)
        lines.append("%s\t%s\t%s" % (lang, lib, path))
    with open(os.path.join(project, "FILELIST.tsv"), "w", encoding="utf-8") as f:
        f.write("# %s\n%s\n" % (name, "\n".join(lines)))
    known_path = os.path.join(tmp, "known.tsv")
    with open(known_path, "w", encoding="utf-8") as f:
        f.write(known)
    run = subprocess.run([sys.executable, GATE, "--sift", sift, "--data", data, "--project", project,
                          "--known", known_path], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                         universal_newlines=True)
    return run.returncode, run.stdout


def main():
    ap = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    ap.add_argument("--sift", required=True)
    ap.add_argument("--data", required=True)
    args = ap.parse_args()
    failures = 0
    for name, files, known, want_rc, want_text in CASES:
        with tempfile.TemporaryDirectory(prefix="parsegate-self-") as tmp:
            rc, out = run_case(args.sift, args.data, name, files, known, tmp)
        if rc != want_rc or want_text not in out:
            failures += 1
            print("case %r: exit %d (want %d), output lacks %r:\n%s" % (name, rc, want_rc, want_text, out))
        else:
            print("case %r: ok" % name)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
