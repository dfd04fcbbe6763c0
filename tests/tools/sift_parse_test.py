#!/usr/bin/env python3
"""sift-parse as a compiler is used: exit status 1 when it reported an error (0 when
not, 2 when it could not run), and the standard libraries of the data directory
analysed first, quietly, as the scanner's parse phase does, unless --no-stdlib."""

import argparse
import os
import subprocess
import sys
import tempfile
import unittest

ARGS = None


def run(*args, env=None):
    return subprocess.run([ARGS.sift_parse, *args], capture_output=True, text=True, env=env, timeout=120)


def errors(result):
    return [l for l in result.stdout.splitlines() if ": error: " in l]


class SiftParse(unittest.TestCase):
    def setUp(self):
        self.scratch = tempfile.TemporaryDirectory()
        self.utils = os.path.join(ARGS.shared, "corpus", "microwatt", "utils.vhdl")
        self.alu = os.path.join(ARGS.shared, "corpus", "serv", "rtl", "serv_alu.v")
        if not (os.path.exists(self.utils) and os.path.exists(self.alu)):
            self.skipTest("no corpus")
        with open(self.utils) as f:
            self.utilsText = f.read()
        with open(self.alu) as f:
            self.aluText = f.read()

    def tearDown(self):
        self.scratch.cleanup()

    def write(self, name, text):
        path = os.path.join(self.scratch.name, name)
        with open(path, "w") as f:
            f.write(text)
        return path

    def test_clean_real_code_exits_0(self):
        for lang, path in (("vhdl08", self.utils), ("vhdl93", self.utils), ("v2k", self.alu), ("sv", self.alu)):
            r = run("--lang", lang, path)
            self.assertEqual(r.returncode, 0, (lang, r.stdout, r.stderr))
            self.assertEqual(errors(r), [])
            # The standard libraries' own messages (the UVM package is not bundled) are not told.
            self.assertNotIn("corvid_uvm_package", r.stdout)
            self.assertNotIn("standard.vhd", r.stdout)

    def test_an_error_exits_1(self):
        broken = self.write("serv_alu.v", self.aluText.replace("wire        add_cy;", "wire        add_cy"))
        r = run("--lang", "v2k", broken)
        self.assertEqual(r.returncode, 1)
        self.assertEqual(len(errors(r)), 1, r.stdout)
        self.assertIn("serv_alu.v:37:", errors(r)[0])
        r = run("--lang", "sv", os.path.join(self.scratch.name, "absent.sv"))
        self.assertEqual(r.returncode, 1)
        self.assertIn("VERI-1000", r.stdout)
        # A warning alone is no failure.
        warned = self.write("w.vhd", self.utilsText.replace("end utils;", "end utilz;", 1))
        r = run("--lang", "vhdl08", warned)
        self.assertEqual(r.returncode, 0, r.stdout)
        self.assertIn(": warning: VHDL-1101:", r.stdout)

    def test_the_standard_libraries_come_first(self):
        # A misspelt IEEE package is caught only when the IEEE library was analysed.
        broken = self.write("utils.vhdl", self.utilsText.replace("ieee.numeric_std.all", "ieee.numeric_stb.all"))
        r = run("--lang", "vhdl08", broken)
        self.assertEqual(r.returncode, 1)
        self.assertEqual([e.split(": error: ")[1] for e in errors(r)],
                         ["VHDL-1505: unit 'numeric_stb' is not analyzed in library 'ieee'"])
        r = run("--no-stdlib", "--lang", "vhdl08", broken)
        self.assertEqual(r.returncode, 0, r.stdout)
        # 2008 packages exist only when the 2008 set was chosen for a VHDL-2008 file.
        fixed = self.write("fx.vhd", "library ieee; use ieee.fixed_pkg.all; package fx is end;\n")
        self.assertEqual(run("--lang", "vhdl08", fixed).returncode, 0)
        r = run("--lang", "vhdl93", fixed)
        self.assertEqual(r.returncode, 1)
        self.assertIn("unit 'fixed_pkg' is not analyzed in library 'ieee'", r.stdout)

    def test_the_data_directory_comes_from_loom_datadir(self):
        empty = tempfile.mkdtemp(dir=self.scratch.name)
        r = run("--lang", "vhdl08", self.utils, env=dict(os.environ, LOOM_DATADIR=empty))
        self.assertEqual(r.returncode, 0)
        self.assertIn("no VHDL standard libraries in the data directory", r.stderr)
        r = run("--lang", "vhdl08", self.utils, env=dict(os.environ, LOOM_DATADIR=ARGS.data))
        self.assertEqual(r.stderr, "")

    def test_print_tree_shows_every_unit_node_by_node(self):
        r = run("--no-stdlib", "--lang", "v2k", "--print-tree", self.alu)
        self.assertEqual(r.returncode, 0, r.stdout)
        lines = [l for l in r.stdout.splitlines() if ": info: " not in l]
        # Pre-order from the unit down, the line first and two blanks per level.
        self.assertRegex(lines[0], r"^ +[0-9]+  MODULE$")
        self.assertRegex(lines[1], r"^ +[0-9]+    MODULEID$")
        depths = [len(l[4:]) - len(l[4:].lstrip(" ")) - 1 for l in lines]
        self.assertTrue(all(b <= a + 2 for a, b in zip(depths, depths[1:])), "a child is one level below")
        self.assertIn("ALWAYSCONSTRUCT", r.stdout)
        self.assertNotIn(" ?", r.stdout)
        r = run("--no-stdlib", "--lang", "vhdl08", "--print-tree", self.utils)
        self.assertEqual(r.returncode, 0, r.stdout)
        self.assertRegex(r.stdout, r"(?m)^ +[0-9]+  PACKAGEDECL$")
        self.assertRegex(r.stdout, r"(?m)^ +[0-9]+  PACKAGEBODY$")

    def test_usage_mistakes_exit_2(self):
        self.assertEqual(run().returncode, 2)
        self.assertEqual(run("--lang", "vhdl2099", self.utils).returncode, 2)
        self.assertEqual(run("--no-such-option", self.utils).returncode, 2)


CONFIG_DESIGN = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "e2e", "designs", "verilog_config")

# --hier of the configured design: each `mid` with the leaf its place binds (lib2's
# under the configuration's cell rule, the W=2 copy where the instance rule reaches,
# lib1's in `bench`), and the VHDL entity bound in both languages' elaboration.
CONFIG_HIER = """top\ttop\ttop_cfg_default
top.m\tmid\tmid_cfg_default
top.m.l\tleaf\tleaf
top.m.l.y\ttwo\ttwo
top.m.e\tvent\tvent\trtl
top.m.e.o\tone\tone
top.u\tleaf\tleaf(W=4)
top.u.y\ttwo\ttwo
top.m2\tmid\tmid_cfg_1_default
top.m2.l\tleaf\tleaf(W=2)
top.m2.l.y\ttwo\ttwo
top.m2.e\tvent\tvent\trtl
top.m2.e.o\tone\tone
bench\tbench\tbench
bench.m\tmid\tmid
bench.m.l\tleaf\tleaf
bench.m.l.x\tone\tone
bench.m.e\tvent\tvent\trtl
bench.m.e.o\tone\tone
"""


class SiftParseHierarchy(unittest.TestCase):
    def hier(self, top_text):
        with tempfile.TemporaryDirectory() as scratch:
            top = os.path.join(scratch, "top.sv")
            with open(top, "w") as f:
                f.write(top_text)
            return run("--hier", "--top", "cfg", "--top", "bench", "--lang", "sv", "--lib", "lib1",
                       os.path.join(CONFIG_DESIGN, "lib1.sv"), "--lib", "lib2", os.path.join(CONFIG_DESIGN, "lib2.sv"),
                       "--lang", "vhdl08", "--lib", "work", os.path.join(CONFIG_DESIGN, "vent.vhd"),
                       "--lang", "sv", "--lib", "work", top)

    def test_a_configuration_and_a_vhdl_entity_bind_as_the_scanner_binds_them(self):
        with open(os.path.join(CONFIG_DESIGN, "top.sv")) as f:
            text = f.read()
        r = self.hier(text)
        self.assertEqual(r.returncode, 0, r.stdout)
        self.assertEqual(r.stdout, CONFIG_HIER)
        # A cell rule sending leaf to a library nobody has: unbound where it reaches, told.
        r = self.hier(text.replace("cell leaf use lib2.leaf;", "cell leaf use lib3.leaf;"))
        self.assertEqual(r.returncode, 0, r.stdout)
        self.assertIn("top.m.l\tleaf\tleaf\n", r.stdout)
        self.assertNotIn("top.m.l.", r.stdout)
        self.assertIn("warning: VERI-1605: module 'leaf' of instance 'l' is not found", r.stderr + r.stdout)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--sift-parse", required=True)
    parser.add_argument("--shared", required=True)
    parser.add_argument("--data", required=True)
    ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0]] + rest)
