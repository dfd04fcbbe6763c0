#!/usr/bin/env python3
"""`sf -elab` of a mixed-language design of designs/ against what a mixed-language
simulator builds of it (mixed/<design>.hier, written by tools/mixed_hierarchy.py).

No mixed simulator is installed, and CI has none: the expected data joins what GHDL
elaborates of the VHDL half and Verilator of the Verilog half at the crossings, with
the values each crossing carries. That is what a mixed simulator builds: each language
elaborates its own units by its own rules, and a unit of the other language receives
the generic values of the instance, types mapped.

The design passes when
  * the top is among the tops of the database, and no unit of its hierarchy is a top
    of its own (a module that only the other language instantiates is no top);
  * the paths under the top are those expected, each bound to a unit of the expected
    language and module;
  * every value a copy's name carries equals the value expected at that path, and every
    generic the name leaves out has its default there;
  * no port of an instance that crosses the languages differs in width from its actual
    (the simulators would warn).

    compare_mixed.py SIFT DATA DESIGN_DIR EXPECTED [--break FILE OLD NEW]

With --break the design is changed first (a wrong value, a misspelt unit) and the run
passes when the comparison finds the difference.
Exit status: 0 pass, 1 fail.
"""
import os
import re
import shutil
import subprocess
import sys
import tempfile


def canonical(value):
    v = value.strip()
    if v.lower() in ("true", "false"):
        return v.lower()
    if re.match(r"^-?\d+$", v):
        return str(int(v))
    if re.match(r"^-?[\d.]+(e[-+]?\d+)?$", v, re.I):
        return repr(float(v))
    return v


def split_values(text):
    """`P=V,...` into [(P, V)], commas inside quotes kept."""
    out, cur, quoted = [], "", False
    for c in text:
        if c == '"':
            quoted = not quoted
        if c == "," and not quoted:
            out.append(cur)
            cur = ""
        else:
            cur += c
    if cur:
        out.append(cur)
    return [tuple(item.split("=", 1)) for item in out]


def read_expected(path):
    rows = {}
    with open(path) as f:
        for line in f:
            cols = line.rstrip("\n").split("\t")
            rows[cols[0].lower()] = (cols[1], cols[2].lower(), split_values(cols[3]), split_values(cols[4]))
    return rows


def database(hier_text, top):
    """{path: key} under the top, and the list of tops, from `sf -print_hier`."""
    rows, stack, inside, tops = {}, [], False, []
    for line in hier_text.splitlines():
        depth = (len(line) - len(line.lstrip(" "))) // 2
        body = line.strip()
        head, key = body.rsplit(" == ", 1)
        if depth == 0:
            tops.append(head)
            inside = head.lower() == top.lower()
            stack = []
        if not inside or "(INACTIVE)" in body:
            continue
        step = head.split('"')[1] if '"' in head else head
        del stack[depth:]
        stack.append(step)
        rows[".".join(stack).lower()] = key
    return rows, tops


def unit_of(key):
    """(language, module, [(P, V)]) of a database key: `/lib/name(P=V)/arch`, `.lib.name(P=V)`."""
    language = "vhdl" if key.startswith("/") else "verilog"
    rest = key[1:].split(key[0], 1)[1]
    primary = rest[:rest.rfind(")") + 1] if "(" in rest else rest.split(key[0])[0]
    values = []
    if primary.endswith(")") and "(" in primary:
        open_at = primary.find("(")
        values = split_values(primary[open_at + 1:-1])
        primary = primary[:open_at]
    return language, primary.lower(), values


def compare(expected, ours, tops, top):
    problems = []
    if top.lower() not in (t.lower() for t in tops):
        problems.append("top %s is not among the tops %s" % (top, tops))
    for t in tops:
        if t.lower() != top.lower() and any(m == t.lower() for _, m, _, _ in expected.values()):
            problems.append("%s is a top, though %s instantiates it" % (t, top))
    for path in sorted(set(expected) - set(ours)):
        problems.append("missing: %s (%s)" % (path, expected[path][1]))
    for path in sorted(set(ours) - set(expected)):
        problems.append("not expected: %s == %s" % (path, ours[path]))
    for path in sorted(set(expected) & set(ours)):
        language, module, values, defaults = expected[path]
        got_language, got_module, got_values = unit_of(ours[path])
        if (got_language, got_module) != (language, module):
            problems.append("%s: %s %s bound, %s %s expected" % (path, got_language, got_module, language, module))
            continue
        want = {n.lower(): canonical(v) for n, v in values}
        default = {n.lower(): canonical(v) for n, v in defaults}
        named = set()
        for n, v in got_values:
            named.add(n.lower())
            if want.get(n.lower()) != canonical(v):
                problems.append("%s: %s=%s, %s expected" % (path, n, v, want.get(n.lower(), "no such generic")))
        for n, v in want.items():
            if n not in named and default.get(n) != v:
                problems.append("%s: %s is %s, the copy %s has the default %s" % (path, n, v, ours[path],
                                                                                   default.get(n)))
    return problems


def width_warnings(dump):
    """The port width messages of `sf -print`: their format lines and the records using them."""
    formats = set(re.findall(r"^  (\d+) : port '%s' of \w+ '%s' is %s bits wide", dump, re.M))
    return [line.strip() for line in dump.splitlines() if any("fmtId: %s," % f in line for f in formats)]


def run(sift, data, design, tmp):
    hier = os.path.join(tmp, "hier.txt")
    dump = os.path.join(tmp, "dump.txt")
    script = os.path.join(tmp, "run.tcl")
    with open(script, "w") as f:
        f.write("sf -add_vhdl08 work %s\nsf -add_svlib work %s\nsf -skim\nsf -parse\nsf -elab\nsf -print_hier %s\n"
                "sf -print %s\n" % (os.path.join(design, "design.vhd"), os.path.join(design, "design.sv"), hier, dump))
    done = subprocess.run([sift, script], env=dict(os.environ, LOOM_DATADIR=data), capture_output=True, text=True)
    if done.returncode != 0 or not os.path.isfile(hier) or not os.path.isfile(dump):
        print(done.stdout[-3000:] + done.stderr[-3000:])
        return None, None
    with open(hier) as f, open(dump) as g:
        return f.read(), g.read()


def main():
    args = sys.argv[1:]
    broken = None
    if "--break" in args:
        at = args.index("--break")
        broken = args[at + 1:at + 4]
        args = args[:at]
    sift, data, design, expected_file = args
    with open(os.path.join(design, "top")) as f:
        top = f.read().split()[0]
    expected = read_expected(expected_file)
    with tempfile.TemporaryDirectory(prefix="mixed-cmp-") as tmp:
        if broken:
            copy = os.path.join(tmp, "design")
            shutil.copytree(design, copy)
            target = os.path.join(copy, broken[0])
            with open(target) as f:
                text = f.read()
            if broken[1] not in text:
                print("the design holds no %r" % broken[1])
                return 1
            with open(target, "w") as f:
                f.write(text.replace(broken[1], broken[2], 1))
            design = copy
        text, dump = run(sift, data, design, tmp)
    if text is None:
        print("sift failed")
        return 1
    ours, tops = database(text, top)
    problems = compare(expected, ours, tops, top)
    problems += ["port width: %s" % w for w in width_warnings(dump)]
    for p in problems:
        print(p)
    print("%d paths expected, %d in the database, %d differences" % (len(expected), len(ours), len(problems)))
    if broken:
        print("broken variant: %s" % ("caught" if problems else "NOT caught"))
        return 0 if problems else 1
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
