#!/usr/bin/env python3
"""Writes, for each mixed-language design of tests/e2e/designs, the hierarchy
and the generic (parameter) values that a mixed-language simulator would build, as the
expected data of the test `e2e_mixed_<design>`.

    tools/mixed_hierarchy.py [--designs tests/e2e/designs]
                             [--out tests/e2e/mixed]

No mixed-language simulator is at hand (GHDL reads no Verilog; Verilator and Icarus read
no VHDL), so each language is elaborated by its own tool and the results are joined at
the crossings, as a mixed simulator joins them:
  * the VHDL side: every Verilog module a VHDL component names becomes a VHDL entity of
    the component's interface (a shell), every architecture reports its generics
    (`report` of `'path_name` and each value, in a process added to a scratch copy);
    `ghdl -r --disp-tree=inst --stop-time=0ns` gives the tree and the values;
  * the Verilog side: every VHDL entity a Verilog module instantiates becomes a module of
    the entity's interface (types mapped: integer -> int, boolean -> bit, real -> real,
    string -> string, std_logic_vector(a downto b) -> logic [a:b]);
    `verilator --xml-only` gives the instances and the parameter values of each copy;
  * a shell reached on one side is elaborated on the other as a top, with the values
    the shell received (`ghdl -r -gP=V`, `verilator -GP=V`), and its tree is joined at
    the shell's path.
A unit's defaults are its values when elaborated as a top alone. Each design folder holds
`design.vhd`, `design.sv` and `top` (the top's name and language, `vhdl` or `verilog`).
Output: one line per instance, sorted by path (the top first):
PATH<TAB>LANGUAGE<TAB>MODULE<TAB>VALUES<TAB>DEFAULTS, VALUES and DEFAULTS `P=V` joined by
`,` in declaration order (integers in decimal, booleans true/false, reals as Python
writes them, strings in double quotes). Never edited by hand: run this again.
"""
import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ET


def balanced(text, start):
    """The text inside the parentheses opening at `start`, and the index after them."""
    depth = 0
    for i in range(start, len(text)):
        if text[i] == "(":
            depth += 1
        elif text[i] == ")":
            depth -= 1
            if depth == 0:
                return text[start + 1:i], i + 1
    raise ValueError("unbalanced parentheses")


def split_items(text):
    items, depth, cur = [], 0, ""
    for c in text:
        depth += c == "("
        depth -= c == ")"
        if c == ";" and depth == 0:
            items.append(cur)
            cur = ""
        else:
            cur += c
    if cur.strip():
        items.append(cur)
    return items


def interface(header, keyword):
    """[(name, mode, type, default)] of the generic or port clause of a VHDL header."""
    m = re.search(r"\b" + keyword + r"\s*\(", header, re.I)
    if not m:
        return []
    body, _ = balanced(header, m.end() - 1)
    out = []
    for item in split_items(body):
        names, rest = item.split(":", 1)
        default = None
        if ":=" in rest:
            rest, default = rest.split(":=", 1)
            default = default.strip()
        rest = rest.strip()
        mode = ""
        mm = re.match(r"(in|out|inout|buffer)\s+(.*)", rest, re.I | re.S)
        if mm:
            mode, rest = mm.group(1).lower(), mm.group(2)
        for n in names.split(","):
            out.append((n.strip(), mode, " ".join(rest.split()), default))
    return out


def vhdl_headers(text, keyword):
    """{lower name: (name, generics, ports)} of the entities or components of a text."""
    found = {}
    for m in re.finditer(r"\b" + keyword + r"\s+(\w+)\s+is\b(.*?)\bend\b", text, re.I | re.S):
        name = m.group(1)
        found.setdefault(name.lower(), (name, interface(m.group(2), "generic"), interface(m.group(2), "port")))
    return found


def verilog_modules(text):
    return {m.group(1).lower(): m.group(1) for m in re.finditer(r"^\s*module\s+(\w+)", text, re.M)}


VHDL_IMAGE = {"integer": "integer'image({0})", "natural": "integer'image({0})", "positive": "integer'image({0})",
              "boolean": "boolean'image({0})", "real": "real'image({0})", "time": "time'image({0})",
              "string": "'\"' & {0} & '\"'", "std_logic_vector": "'\"' & to_string({0}) & '\"'"}


def report_process(entity, generics):
    parts = ['"GENERICS {0} " & {0}\'path_name'.format(entity)]
    for name, _, typ, _ in generics:
        image = VHDL_IMAGE.get(re.sub(r"\s*\(.*", "", typ.lower()), "to_string({0})")
        parts.append('" {0}=" & {1}'.format(name, image.format(name)))
    return "  sift_generics: process begin report {0}; wait; end process;\n".format(" & ".join(parts))


def vhdl_scratch(vhdl, verilog):
    """The VHDL side: reports added to every architecture, shells for Verilog modules."""
    entities = vhdl_headers(vhdl, "entity")
    out = vhdl
    for m in reversed(list(re.finditer(r"\barchitecture\s+\w+\s+of\s+(\w+)\s+is\b", vhdl, re.I))):
        # Before the end of the architecture: its statement part (the designs close
        # every architecture with `end architecture;`).
        end = re.compile(r"\bend\s+architecture\b", re.I).search(vhdl, m.end())
        entity = entities[m.group(1).lower()]
        at = end.start()
        out = out[:at] + report_process(entity[0], entity[1]) + out[at:]
    modules = verilog_modules(verilog)
    shells = ""
    for key, (name, generics, ports) in vhdl_headers(vhdl, "component").items():
        if key in entities or key not in modules:
            continue
        gen = "; ".join("%s : %s%s" % (n, t, " := " + d if d else "") for n, _, t, d in generics)
        prt = "; ".join("%s : %s %s" % (n, mode, t) for n, mode, t, _ in ports)
        shells += "library ieee; use ieee.std_logic_1164.all;\nentity %s is%s%s end entity;\n" % (
            modules[key], " generic (%s);" % gen if gen else "", " port (%s);" % prt if prt else "")
        shells += "architecture shell of %s is begin\n%send architecture;\n" % (
            modules[key], report_process(modules[key], generics))
    return shells + out


def verilog_type(vhdl_type):
    t = vhdl_type.lower()
    m = re.match(r"std_u?logic_vector\s*\((.*)\s+downto\s+(.*)\)$", vhdl_type, re.I)
    if m:
        return "logic [%s:%s]" % (m.group(1), m.group(2))
    return {"integer": "int", "natural": "int", "positive": "int", "boolean": "bit", "real": "real",
            "string": "string", "std_logic": "logic", "std_ulogic": "logic"}.get(t, "int")


def verilog_default(vhdl_type, default):
    t = vhdl_type.lower()
    if t == "boolean":
        return "1" if default.lower() == "true" else "0"
    m = re.match(r'^x"([0-9a-f_]+)"$', default, re.I)
    if m:
        return "%d'h%s" % (4 * len(m.group(1)), m.group(1))
    m = re.match(r'^"([01]+)"$', default)
    if m and t.startswith("std_logic_vector"):
        return "%d'b%s" % (len(m.group(1)), m.group(1))
    return default.replace("'", "'b") if default.startswith("'") else default


def verilog_scratch(vhdl, verilog):
    """The Verilog side: a module for each VHDL entity a module instantiates."""
    shells = ""
    modules = verilog_modules(verilog)
    for key, (name, generics, ports) in vhdl_headers(vhdl, "entity").items():
        if key in modules or not re.search(r"^\s*" + name + r"\b", verilog, re.M | re.I):
            continue
        params = ", ".join("parameter %s %s = %s" % (verilog_type(t), n, verilog_default(t, d or "0"))
                           for n, _, t, d in generics)
        direction = {"in": "input", "out": "output", "inout": "inout", "buffer": "output"}
        prts = ", ".join("%s %s %s" % (direction.get(mode, "input"), verilog_type(t), n) for n, mode, t, _ in ports)
        shells += "module %s %s(%s); endmodule\n" % (name, "#(%s) " % params if params else "", prts)
    return verilog + "\n" + shells


def canonical(value):
    v = value.strip()
    if v.lower() in ("true", "false"):
        return v.lower()
    m = re.match(r"^(\d+)'(s?)h([0-9a-f]+)$", v, re.I)
    if m:
        width, signed, digits = int(m.group(1)), m.group(2), int(m.group(3), 16)
        if signed and digits >= 1 << (width - 1):
            digits -= 1 << width
        return str(digits)
    if re.match(r"^-?\d+$", v):
        return str(int(v))
    if re.match(r"^-?[\d.]+(e[-+]?\d+)?$", v, re.I):
        return repr(float(v))
    m = re.match(r"^(-?\d+) fs$", v)
    if m:
        return "%d fs" % int(m.group(1))
    return v


def wrapper(entity, values):
    """A VHDL top that instantiates `entity` with the values, its inputs tied to 0."""
    name, generics, ports = entity
    types = {n.lower(): t.lower() for n, _, t, _ in generics}
    gen = []
    for n, v in values:
        t = types.get(n.lower(), "")
        if t == "string" or t.startswith("std_logic_vector"):
            v = '"%s"' % v.strip('"')
        gen.append("%s => %s" % (n, v))
    prt = ["%s => %s" % (n, "(others => '0')" if "vector" in t.lower() else "'0'") for n, mode, t, _ in ports
           if mode == "in"]
    return ("library ieee; use ieee.std_logic_1164.all;\nentity sift_wrap is end entity;\n"
            "architecture w of sift_wrap is begin\n  u: entity work.%s generic map (%s)%s;\nend architecture;\n" %
            (name, ", ".join(gen), " port map (%s)" % ", ".join(prt) if prt else ""))


def run_ghdl(tmp, vhdl, verilog, top, values):
    """[(path, module, {generic: value})] from GHDL, paths dotted from the top."""
    work = os.path.join(tmp, "ghdl")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    src = os.path.join(work, "design.vhd")
    text = vhdl_scratch(vhdl, verilog)
    unit = top
    if values:
        # GHDL's -g takes no real values: a wrapper hands the values down instead.
        text += wrapper(vhdl_headers(text, "entity")[top.lower()], values)
        unit = "sift_wrap"
    with open(src, "w") as f:
        f.write(text)
    std = ["--std=08", "-fsynopsys"]
    subprocess.run(["ghdl", "-a"] + std + [src], cwd=work, check=True)
    subprocess.run(["ghdl", "-e"] + std + [unit], cwd=work, check=True)
    run = subprocess.run(["ghdl", "-r"] + std + [unit, "--stop-time=0ns"], cwd=work, capture_output=True, text=True)
    rows = {}
    for line in (run.stdout + run.stderr).splitlines():
        m = re.search(r"\(report note\): GENERICS (\w+) :(\S*):\s*(.*)$", line)
        if not m:
            continue
        steps = [re.sub(r"\((.*)\)$", r"[\1]", s) for s in m.group(2).split(":") if s]
        if unit != top:
            steps = [top] + steps[2:]
        vals = re.findall(r"(\w+)=(\"[^\"]*\"|\S+(?: fs)?)", m.group(3))
        rows[".".join(steps)] = (m.group(1), vals)
    return rows


def run_verilator(tmp, vhdl, verilog, top, values):
    work = os.path.join(tmp, "verilator")
    shutil.rmtree(work, ignore_errors=True)
    os.makedirs(work)
    src = os.path.join(work, "design.sv")
    with open(src, "w") as f:
        f.write(verilog_scratch(vhdl, verilog))
    subprocess.run(["verilator", "--xml-only", "-Wno-fatal", "-Wno-lint", "--top-module", top, "-Mdir", work] +
                   ["-G%s=%s" % kv for kv in values] + [src], cwd=work, check=True, capture_output=True)
    root = ET.parse(os.path.join(work, "V%s.xml" % top)).getroot()
    modules = {m.get("name"): m for m in root.iter("module")}
    rows = {}

    def params(module):
        out = []
        for var in module.findall("var"):
            if var.get("param") == "true":
                const = var.find("const")
                out.append((var.get("origName") or var.get("name"), const.get("name") if const is not None else ""))
        return out

    def walk(module, path, scope):
        for child in module:
            if child.tag == "begin":
                walk(child, path, scope + [child.get("name")])
            elif child.tag == "instance":
                sub = modules[child.get("defName")]
                p = path + "." + ".".join(scope + [child.get("name")])
                rows[p] = (sub.get("origName"), params(sub))
                walk(sub, p, [])

    top_module = next(m for m in modules.values() if m.get("topModule") == "1")
    rows[top] = (top_module.get("origName"), params(top_module))
    walk(top_module, top, [])
    return rows


class Design:
    def __init__(self, folder):
        with open(os.path.join(folder, "design.vhd")) as f:
            self.vhdl = f.read()
        with open(os.path.join(folder, "design.sv")) as f:
            self.verilog = f.read()
        with open(os.path.join(folder, "top")) as f:
            self.top, self.language = f.read().split()
        self.entities = vhdl_headers(self.vhdl, "entity")
        self.modules = verilog_modules(self.verilog)
        self.components = vhdl_headers(self.vhdl, "component")

    def elaborate(self, tmp, unit, language, values, path):
        """Rows (path, language, module, [(P, V)]) of a unit and everything under it."""
        out = []
        run = run_ghdl if language == "vhdl" else run_verilator
        own = self.entities if language == "vhdl" else self.modules
        other = self.modules if language == "vhdl" else self.entities
        rows = run(tmp, self.vhdl, self.verilog, unit, values)
        for p in order_paths(rows):
            module, vals = rows[p]
            steps = p.split(".")
            # Below a shell: the other side's tree stands there.
            if any(is_shell(rows, ".".join(steps[:i]), own, other) for i in range(1, len(steps))):
                continue
            full = ".".join([path] + steps[1:])
            if p != steps[0] and is_shell(rows, p, own, other):
                name = other[module.lower()]
                name = name[0] if isinstance(name, tuple) else name
                crossing = [(self.parameter_name(name, n) if language == "vhdl" else n,
                             cross_value(v, language, self.generic_type(name, n))) for n, v in vals]
                out += self.elaborate(tmp, name, "verilog" if language == "vhdl" else "vhdl", crossing, full)
                continue
            out.append((full, language, module.lower() if language == "vhdl" else module,
                        [(n, canonical(v)) for n, v in vals]))
        return out

    def parameter_name(self, module, name):
        """A VHDL generic's name as the Verilog module spells its parameter."""
        m = re.search(r"^\s*module\s+" + module + r"\b(.*?)\bendmodule", self.verilog, re.M | re.S)
        for p in re.findall(r"parameter\s+(?:\w+\s+)?(?:\[[^\]]*\]\s*)?(\w+)\s*=", m.group(1) if m else ""):
            if p.lower() == name.lower():
                return p
        return name

    def generic_type(self, unit, generic):
        """The VHDL type of a generic of an entity, or of the component that stands for
        a Verilog module."""
        header = self.entities.get(unit.lower()) or self.components.get(unit.lower(), ("", [], []))
        for n, _, t, _ in header[1]:
            if n.lower() == generic.lower():
                return t.lower()
        return ""


def is_shell(rows, p, own, other):
    row = rows.get(p)
    return row is not None and row[0].lower() in other and row[0].lower() not in own


def cross_value(v, from_language, vhdl_type):
    """A value as the other tool's command line takes it; `vhdl_type` the type of the
    VHDL generic it sets, when it crosses into VHDL."""
    c = canonical(v)
    if from_language == "vhdl" and vhdl_type.startswith("std_logic_vector"):
        return "%d'b%s" % (len(c) - 2, c.strip('"'))
    if from_language == "verilog" and vhdl_type == "real" and re.match(r"^-?\d+$", c):
        return c + ".0"
    if from_language == "verilog" and vhdl_type == "boolean":
        return "true" if c not in ("0", "false") else "false"
    m = re.match(r"^(\d+)'h([0-9a-f]+)$", v.strip(), re.I)
    if vhdl_type.startswith("std_logic_vector") and m:
        return format(int(m.group(2), 16), "0%db" % int(m.group(1)))
    if from_language == "vhdl":
        if c in ("true", "false"):
            return "1" if c == "true" else "0"
        return c
    return c.strip('"') if c.startswith('"') else c


def order_paths(rows):
    return sorted(rows, key=lambda k: k.split("."))


def main():
    ap = argparse.ArgumentParser()
    here = os.path.dirname(os.path.abspath(__file__))
    ap.add_argument("--designs", default=os.path.join(here, "..", "tests", "e2e", "designs"))
    ap.add_argument("--out", default=os.path.join(here, "..", "tests", "e2e", "mixed"))
    a = ap.parse_args()
    os.makedirs(a.out, exist_ok=True)
    for name in sorted(os.listdir(a.designs)):
        folder = os.path.join(a.designs, name)
        design = Design(folder)
        with tempfile.TemporaryDirectory(prefix="mixed-") as tmp:
            rows = design.elaborate(tmp, design.top, design.language, [], design.top)
            lines = []
            for path, language, module, vals in rows:
                defaults = design.elaborate(tmp, module, language, [], module)[0][3]
                lines.append("\t".join([path, language, module, ",".join("%s=%s" % kv for kv in vals),
                                        ",".join("%s=%s" % kv for kv in defaults)]))
        with open(os.path.join(a.out, name + ".hier"), "w") as f:
            f.write("\n".join(lines) + "\n")
        print("%s: %d instances" % (name, len(lines)))
    return 0


if __name__ == "__main__":
    sys.exit(main())
