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


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--sift-parse", required=True)
    parser.add_argument("--shared", required=True)
    parser.add_argument("--data", required=True)
    ARGS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0]] + rest)
