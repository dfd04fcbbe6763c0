"""The message capture fetches an argument only for %G, %c, %d, %s, %u and %x; after a
length modifier, a width or a flag it fetches nothing, so the arguments that follow
would be taken for the wrong conversions (a size_t read as a text pointer). Every
format that reaches the front-end's message sink must keep to those six.

Checked: the string literals in the arguments of Message::Error, Warning, Info,
Comment and Msg, and of the two lexers' error helpers, which hand their format on.
Formats that a function prints into text of its own (and hands on as "%s") are free."""

import os
import re
import sys

CALLS = re.compile(r"\bMessage::(?:Error|Warning|Info|Comment|Msg)\s*\(")
# Helpers that pass their format to the sink unchanged, by the file that defines them.
HELPERS = {"VhdlLexer.cpp": re.compile(r"\bError\s*\("), "VeriLexer.cpp": re.compile(r"\berror\s*\(")}
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
CONVERSION = re.compile(r"%([-+ #0-9.*]*(?:hh|ll|[hlzjtLq])?)([A-Za-z%])")
UNDERSTOOD = set("Gcdsux%")


def arguments(text, start):
    """The text of a call's arguments from the '(' at start to its ')'."""
    depth, i = 0, start
    while i < len(text):
        c = text[i]
        if c == '"':
            i += 1
            while i < len(text) and text[i] != '"':
                i += 2 if text[i] == "\\" else 1
        elif c == "'":
            i += 1
            while i < len(text) and text[i] != "'":
                i += 2 if text[i] == "\\" else 1
        elif c == "(":
            depth += 1
        elif c == ")":
            depth -= 1
            if depth == 0:
                return text[start:i]
        i += 1
    return text[start:]


def problems(root):
    for folder, _, names in os.walk(root):
        for name in sorted(names):
            if not name.endswith((".cpp", ".h")):
                continue
            path = os.path.join(folder, name)
            with open(path, encoding="utf-8") as f:
                text = f.read()
            patterns = [CALLS] + ([HELPERS[name]] if name in HELPERS else [])
            for pattern in patterns:
                for call in pattern.finditer(text):
                    line = text.count("\n", 0, call.start()) + 1
                    for literal in LITERAL.findall(arguments(text, call.end() - 1)):
                        for modifier, conversion in CONVERSION.findall(literal):
                            if modifier or conversion not in UNDERSTOOD:
                                yield "%s:%d: %%%s%s" % (path, line, modifier, conversion)


def main():
    found = list(problems(sys.argv[1]))
    for problem in found:
        print(problem)
    print("%d conversions the message capture does not understand" % len(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
