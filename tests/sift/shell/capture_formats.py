"""The message capture fetches an argument only for %G, %c, %d, %s, %u and %x; after a
length modifier, a width or a flag it fetches nothing, so the arguments that follow
would be taken for the wrong conversions (a size_t read as a text pointer). Every
format of the front-end, whose messages the capture receives, must keep to those six.
A literal on a line that formats with the printf family itself is not a message."""

import os
import re
import sys

LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
# A '%' and what follows it, up to the conversion character.
CONVERSION = re.compile(r"%([-+ #0-9.*]*(?:hh|ll|[hlzjtLq])?)([A-Za-z%])")
UNDERSTOOD = set("Gcdsux%")


def problems(root):
    for folder, _, names in os.walk(root):
        for name in sorted(names):
            if not name.endswith((".cpp", ".h")):
                continue
            path = os.path.join(folder, name)
            with open(path, encoding="utf-8") as f:
                for number, line in enumerate(f, 1):
                    if "printf" in line:
                        continue
                    for literal in LITERAL.findall(line):
                        for modifier, conversion in CONVERSION.findall(literal):
                            if modifier or conversion not in UNDERSTOOD:
                                yield "%s:%d: %%%s%s" % (path, number, modifier, conversion)


def main():
    found = list(problems(sys.argv[1]))
    for problem in found:
        print(problem)
    print("%d conversions the message capture does not understand" % len(found))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
