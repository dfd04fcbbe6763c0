#!/usr/bin/env python3
"""Message ids are spelled in the catalogues only: a string literal that is a message id
("VERI-1482", "VHDL-1500", "CMD-1002", "VBSR-1011") or leads with a reference of the
parent's catalogue ("@56-286@...") anywhere else in src/ is a fault. A catalogue is a
file that defines one with HDL_MESSAGE_CATALOGUE."""

import argparse
import os
import re
import sys

RAW_ID = re.compile(r'"(?:(?:VERI|VHDL|CMD|VBSR)-\d+|@\d+-\d+@[^"]*)"')
COMMENT = re.compile(r"//[^\n]*|/\*.*?\*/", re.S)
SOURCE_EXTS = (".h", ".hpp", ".cpp", ".cc", ".c")


def strip_comments(text):
    # Comments may name ids; string literals holding "//" do not occur next to ids.
    return COMMENT.sub(lambda m: "\n" * m.group(0).count("\n"), text)


def check(src):
    problems = []
    for root, _, files in os.walk(src):
        for name in sorted(files):
            if not name.endswith(SOURCE_EXTS):
                continue
            path = os.path.join(root, name)
            with open(path, errors="replace") as f:
                text = f.read()
            if "HDL_MESSAGE_CATALOGUE(" in text:
                continue
            code = strip_comments(text)
            for number, line in enumerate(code.split("\n"), 1):
                for m in RAW_ID.finditer(line):
                    rel = os.path.relpath(path, os.path.dirname(src))
                    problems.append(f"{rel}:{number}: message id {m.group(0)} outside a catalogue")
    return problems


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--src", required=True)
    args = parser.parse_args()
    problems = check(args.src)
    for p in problems:
        print(p)
    print(f"{len(problems)} raw message id(s)" if problems else "message ids stand in catalogues only")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
