"""Writes VHDL component declarations for Verilog module headers.

Generic types follow the Verilog defaults: strings stay strings, plain numbers become
integers, sized literals and ranged parameters become std_logic_vector of their width,
reals stay reals. A default the writer cannot turn into a VHDL literal is left out, so
the generic has to be given at instantiation, as with any generic without default.
Port bounds that are not plain numbers are kept when they are simple arithmetic over
generics; otherwise the port is an unconstrained std_logic_vector.
"""

import re

RESERVED = set("""
abs access after alias all and architecture array assert assume attribute begin block
body buffer bus case component configuration constant context cover default disconnect
downto else elsif end entity exit fairness file for force function generate generic group
guarded if impure in inertial inout is label library linkage literal loop map mod nand new
next nor not null of on open or others out package parameter port postponed private
procedure process property protected pure range record register reject release rem report
restrict return rol ror select sequence severity shared signal sla sll sra srl strong
subtype then to transport type unaffected units until use variable view vmode vpkg vprop
vunit wait when while with xnor xor
""".split())


def vhdl_name(name):
    """The Verilog name as a VHDL identifier; extended when no basic identifier fits."""
    basic = re.match(r"^[A-Za-z](_?[A-Za-z0-9])*$", name)
    if basic and name.lower() not in RESERVED:
        return name
    return "\\" + name.replace("\\", "\\\\") + "\\"


def _int_value(text):
    text = text.replace("_", "").strip()
    match = re.match(r"^(\d+)?\s*'\s*[sS]?([bBoOdDhH])\s*([0-9a-fA-FxXzZ?]+)$", text)
    if match:
        digits = re.sub(r"[xXzZ?]", "0", match.group(3))
        base = {"b": 2, "o": 8, "d": 10, "h": 16}[match.group(2).lower()]
        width = int(match.group(1)) if match.group(1) else None
        return int(digits, base), width
    if re.match(r"^-?\d+$", text):
        return int(text), None
    return None, None


def _vector_literal(value, width):
    value &= (1 << width) - 1
    if width % 4 == 0:
        return 'X"%0*X"' % (width // 4, value)
    return '"%s"' % format(value, "0%db" % width)


def _numeric_range(range_text):
    match = re.match(r"^(-?\d+):(-?\d+)$", range_text or "")
    return (int(match.group(1)), int(match.group(2))) if match else None


def _range_type(left, right):
    return "std_logic_vector(%d %s %d)" % (left, "downto" if left >= right else "to", right)


def generic_decl(param):
    name = vhdl_name(param.name)
    value = param.value
    bounds = _numeric_range(param.range_text)
    if value is not None and re.match(r'^"[^"]*"$', value):
        return "%s : string := %s" % (name, value)
    if param.kind == "real" or (value and re.match(r"^-?\d+\.\d+([eE][-+]?\d+)?$", value)):
        return "%s : real%s" % (name, " := " + value if value else "")
    number, width = _int_value(value) if value else (None, None)
    if bounds:
        width = abs(bounds[0] - bounds[1]) + 1
        vtype = _range_type(*bounds)
        if number is None:
            return "%s : %s" % (name, vtype)
        return "%s : %s := %s" % (name, vtype, _vector_literal(number, width))
    if number is not None and width is not None and param.kind is None:
        return "%s : std_logic_vector(%d downto 0) := %s" % (
            name, width - 1, _vector_literal(number, width))
    if number is not None:
        return "%s : integer := %d" % (name, number)
    return "%s : integer" % name


def _bound_expression(text, generics):
    """A Verilog bound as VHDL text, or None when it is more than simple arithmetic."""
    tokens = re.findall(r"\w+|[-+*/()]|\S", text)
    out = []
    for token in tokens:
        if re.match(r"^\d+$", token) or token in "-+*/()":
            out.append(token)
        elif token in generics:
            out.append(vhdl_name(token))
        else:
            return None
    return " ".join(out).replace("( ", "(").replace(" )", ")")


def port_decl(port, generics):
    name = vhdl_name(port.name)
    mode = {"input": "in", "output": "out", "inout": "inout"}[port.direction]
    if port.range_text is None:
        return "%s : %s std_logic" % (name, mode)
    bounds = _numeric_range(port.range_text)
    if bounds:
        return "%s : %s %s" % (name, mode, _range_type(*bounds))
    sides = port.range_text.split(":")
    if len(sides) == 2:
        left = _bound_expression(sides[0], generics)
        right = _bound_expression(sides[1], generics)
        if left and right:
            return "%s : %s std_logic_vector(%s downto %s)" % (name, mode, left, right)
    return "%s : %s std_logic_vector" % (name, mode)


def component(module):
    """Lines of one component declaration."""
    seen = set()
    generics, ports = [], []
    integer_generics = set()
    for param in module.params:
        if param.name.lower() in seen:
            continue
        seen.add(param.name.lower())
        decl = generic_decl(param)
        if ": integer" in decl:
            integer_generics.add(param.name)
        generics.append(decl)
    for port in module.ports:
        if port.name.lower() in seen:
            continue
        seen.add(port.name.lower())
        ports.append(port_decl(port, integer_generics))
    lines = ["  component %s" % vhdl_name(module.name)]
    if generics:
        lines.append("    generic (")
        lines += ["      %s%s" % (g, ";" if i + 1 < len(generics) else "")
                  for i, g in enumerate(generics)]
        lines.append("    );")
    if ports:
        lines.append("    port (")
        lines += ["      %s%s" % (p, ";" if i + 1 < len(ports) else "")
                  for i, p in enumerate(ports)]
        lines.append("    );")
    lines.append("  end component;")
    return lines


def package(header_comment, modules):
    """A vcomponents package declaring one component per module, in the given order."""
    lines = ["-- " + line if line else "--" for line in header_comment]
    lines += ["", "library ieee;", "use ieee.std_logic_1164.all;", "",
              "package vcomponents is"]
    for module in modules:
        lines.append("")
        lines += component(module)
    lines += ["", "end package vcomponents;", ""]
    return "\n".join(lines)
