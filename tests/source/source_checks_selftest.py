#!/usr/bin/env python3
"""The source checks must catch each kind of fault they are there for: small source trees
in a scratch folder, clean and with one fault each."""

import os
import sys
import tempfile
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import check_layers  # noqa: E402
import check_message_ids  # noqa: E402

TABLE = """# layer folder library
0 low/base low_base
0 runtime rt_lib
1 low/a low_a
1 low/b low_b
2 top top_lib
3 planned planned_lib
"""

CLEAN = {
    "low/base/Base.h": "#pragma once\n#include <vector>\n",
    "low/base/Base.cpp": '#include "low/base/Base.h"\n',
    "runtime/Rt.h": "#pragma once\n",
    "low/a/A.cpp": '#include "low/a/A.h"\n#include "low/base/Base.h"\n',
    "low/a/A.h": "#pragma once\n",
    "low/b/B.cpp": '#include "low/base/Base.h"\n#include "B.h"\n',
    "low/b/B.h": "#pragma once\n",
    "top/Top.cpp": '#include "low/a/A.h"\n#include "low/b/B.h"\n#include "runtime/Rt.h"\n',
}
LINKS = {
    "low_base": set(),
    "rt_lib": set(),
    "low_a": {"low_base", "Boost::regex"},
    "low_b": {"low_base"},
    "top_lib": {"low_a", "low_b", "rt_lib", "-lrt"},
}


class LayerCheck(unittest.TestCase):
    def run_check(self, files=None, links=None, table=TABLE):
        files = dict(CLEAN if files is None else files)
        links = {k: set(v) for k, v in (LINKS if links is None else links).items()}
        with tempfile.TemporaryDirectory() as root:
            src = os.path.join(root, "src")
            for rel, text in files.items():
                path = os.path.join(src, rel)
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "w") as f:
                    f.write(text)
            with open(os.path.join(src, "layers.txt"), "w") as f:
                f.write(table)
            return check_layers.check(src, check_layers.read_table(os.path.join(src, "layers.txt")), links)

    def assertOneProblem(self, problems, *words):
        self.assertEqual(len(problems), 1, problems)
        for w in words:
            self.assertIn(w, problems[0])

    def test_clean_tree_passes(self):
        self.assertEqual(self.run_check(), [])

    def test_upward_include(self):
        files = dict(CLEAN)
        files["low/base/Base.cpp"] += '#include "top/Top.h"\n'
        files["top/Top.h"] = "#pragma once\n"
        problems = self.run_check(files)
        self.assertIn("src/low/base/Base.cpp: includes top/Top.h of a higher layer (src/top)", problems)

    def test_peer_include(self):
        files = dict(CLEAN)
        files["low/a/A.cpp"] += '  #  include "low/b/B.h"\n'
        problems = self.run_check(files)
        self.assertTrue(any("a peer" in p and "src/low/a/A.cpp" in p for p in problems), problems)

    def test_folder_missing_from_table(self):
        files = dict(CLEAN)
        files["extra/E.cpp"] = "int e;\n"
        self.assertOneProblem(self.run_check(files), "src/extra", "not in the layer table")

    def test_include_of_an_unlisted_folder(self):
        files = dict(CLEAN)
        files["top/Top.cpp"] += '#include "extra/E.h"\n'
        files["extra/E.h"] = "#pragma once\n"
        problems = self.run_check(files)
        self.assertIn("src/extra: not in the layer table", problems)
        self.assertTrue(any("extra/E.h of a folder not in the layer table" in p for p in problems), problems)

    def test_system_and_plain_includes_are_not_folders(self):
        files = dict(CLEAN)
        files["low/base/Base.cpp"] += '#include <boost/regex.hpp>\n#include "gtest/gtest.h"\n'
        self.assertEqual(self.run_check(files), [])

    def test_library_missing_from_build(self):
        links = dict(LINKS)
        del links["low_b"]
        self.assertOneProblem(self.run_check(links=links), "src/low/b", "no library low_b")

    def test_link_upward(self):
        links = dict(LINKS)
        links["low_a"] = {"low_base", "top_lib"}
        problems = self.run_check(links=links)
        self.assertIn("low_a: links top_lib of a layer not below it", problems)

    def test_include_without_link(self):
        links = dict(LINKS)
        links["top_lib"] = {"low_a", "rt_lib"}
        self.assertOneProblem(self.run_check(links=links), "top_lib", "src/low/b", "does not link low_b")

    def test_link_without_include(self):
        links = dict(LINKS)
        links["low_b"] = {"low_base", "rt_lib"}
        self.assertOneProblem(self.run_check(links=links), "low_b: links rt_lib but includes nothing of it")

    def test_bad_table_row(self):
        with self.assertRaises(ValueError):
            self.run_check(table="low/base low_base\n")


class MessageIdCheck(unittest.TestCase):
    def run_check(self, files):
        with tempfile.TemporaryDirectory() as root:
            src = os.path.join(root, "src")
            for rel, text in files.items():
                path = os.path.join(src, rel)
                os.makedirs(os.path.dirname(path), exist_ok=True)
                with open(path, "w") as f:
                    f.write(text)
            return check_message_ids.check(src)

    def test_ids_in_catalogues_and_comments_pass(self):
        files = {
            "a/Ids.h": '#define L(ID, TEXT) ID(kX, "VERI-1000", MSG_ERROR)\nHDL_MESSAGE_CATALOGUE(C, "a", L)\n',
            "a/Use.cpp": '// told as "VERI-1000"\n/* or "CMD-1002" */\nTell<kX>(loc, "VERI 1000", "VERI-");\n',
        }
        self.assertEqual(self.run_check(files), [])

    def test_raw_ids_at_call_sites_fail(self):
        files = {
            "a/One.cpp": 'int x;\nMessage::Error("VHDL-1100", loc, "syntax");\n',
            "b/Two.cpp": 'create(mask, "@56-286@%s", name);\nSetMessageType("VBSR-1011", 3);\n',
            "b/Three.h": 'const char* id = "CMD-1002";\n',
        }
        problems = self.run_check(files)
        self.assertEqual(len(problems), 4, problems)
        self.assertIn('src/a/One.cpp:2: message id "VHDL-1100" outside a catalogue', problems)
        self.assertTrue(any('"@56-286@%s"' in p and "Two.cpp:1" in p for p in problems), problems)


if __name__ == "__main__":
    unittest.main()
