"""Reads module headers (name, parameters, ports) out of Verilog cell models.

Cell models are simulation code: the reader only needs what an instantiation sees, so
it strips comments, attributes and preprocessor lines and looks at module headers and
top-level declarations. Both `ifdef branches are read; the first declaration of a
name wins.
"""

import re

_DIRECTIONS = ("input", "output", "inout")
_TYPE_WORDS = {"wire", "reg", "logic", "signed", "unsigned", "var", "tri", "wand", "wor",
               "supply0", "supply1", "int", "integer", "bit", "real", "string", "time"}
# Blocks whose contents are not module items an instantiation can see.
_SKIPPED_BLOCKS = {"function": "endfunction", "task": "endtask", "specify": "endspecify",
                   "generate": "endgenerate", "class": "endclass"}


class Param:
    def __init__(self, name, range_text, value, kind):
        self.name = name
        self.range_text = range_text  # "15:0" or None
        self.value = value            # source text of the default or None
        self.kind = kind              # declared type word ("int", "real", ...) or None


class Port:
    def __init__(self, name, direction, range_text):
        self.name = name
        self.direction = direction
        self.range_text = range_text


class Module:
    def __init__(self, name):
        self.name = name
        self.params = []
        self.ports = []

    def add_param(self, param):
        if all(p.name != param.name for p in self.params):
            self.params.append(param)

    def add_port(self, port):
        for index, known in enumerate(self.ports):
            if known.name == port.name:
                # A non-ANSI list names the port first; its declaration completes it.
                if known.direction is None:
                    self.ports[index] = port
                return
        self.ports.append(port)


def _clean(text):
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    text = re.sub(r"//[^\n]*", " ", text)
    text = re.sub(r"\(\*.*?\*\)", " ", text, flags=re.S)
    lines = []
    for line in text.split("\n"):
        if re.match(r"\s*`(ifdef|ifndef|elsif|else|endif|define|undef|include|timescale|"
                    r"default_nettype|celldefine|endcelldefine|resetall)\b", line):
            continue
        lines.append(line)
    text = "\n".join(lines)
    # Remaining macro uses (default assignments, attribute shorthands) carry no header.
    return re.sub(r"`\w+", " ", text)


def _split_top(text, separator):
    """Splits at `separator` outside brackets, braces and parentheses."""
    parts, depth, current = [], 0, []
    for char in text:
        if char in "([{":
            depth += 1
        elif char in ")]}":
            depth -= 1
        if char == separator and depth == 0:
            parts.append("".join(current))
            current = []
        else:
            current.append(char)
    parts.append("".join(current))
    return parts


def _matching(text, start):
    """Index of the parenthesis closing the one at `start`."""
    depth = 0
    for index in range(start, len(text)):
        if text[index] == "(":
            depth += 1
        elif text[index] == ")":
            depth -= 1
            if depth == 0:
                return index
    return len(text) - 1


def _strip_block_contents(body):
    tokens = re.split(r"(\b(?:%s)\b)" % "|".join(
        list(_SKIPPED_BLOCKS) + list(_SKIPPED_BLOCKS.values())), body)
    kept, closing = [], None
    for token in tokens:
        if closing:
            if token == closing:
                closing = None
            continue
        if token in _SKIPPED_BLOCKS:
            closing = _SKIPPED_BLOCKS[token]
            continue
        kept.append(token)
    return "".join(kept)


def _parse_declaration(words_text):
    """Splits '[type words] [range] rest' into (type words, range, rest)."""
    text = words_text.strip()
    kinds = []
    range_text = None
    while True:
        match = re.match(r"(\w+)\b\s*", text)
        if match and match.group(1) in _TYPE_WORDS:
            kinds.append(match.group(1))
            text = text[match.end():]
            continue
        if text.startswith("[") and range_text is None:
            end = text.index("]")
            range_text = re.sub(r"\s+", "", text[1:end])
            text = text[end + 1:].strip()
            continue
        return kinds, range_text, text


def _params_from(text, module):
    """`text`: the items of a parameter declaration after the keyword."""
    kinds, range_text, rest = _parse_declaration(text)
    kind = next((k for k in kinds if k not in ("signed", "unsigned")), None)
    for item in _split_top(rest, ","):
        match = re.match(r"\s*(\w+)\s*(?:\[[^\]]*\]\s*)?(?:=\s*(.*))?$", item, re.S)
        if match:
            value = match.group(2)
            module.add_param(Param(match.group(1), range_text,
                                   value.strip() if value else None, kind))


def _header_params(text, module):
    kind_prefix = ""
    for item in _split_top(text, ","):
        item = item.strip()
        if not item:
            continue
        match = re.match(r"(parameter|localparam)\b(.*)$", item, re.S)
        if match:
            if match.group(1) == "localparam":
                kind_prefix = None
                continue
            kind_prefix = ""
            _params_from(match.group(2), module)
        elif kind_prefix is not None:
            _params_from(item, module)


def _ansi_ports(text, module):
    direction, range_text = None, None
    for item in _split_top(text, ","):
        item = item.split("=")[0].strip()
        if not item:
            continue
        match = re.match(r"(input|output|inout)\b(.*)$", item, re.S)
        if match:
            direction = match.group(1)
            _, range_text, rest = _parse_declaration(match.group(2))
        else:
            kinds, new_range, rest = _parse_declaration(item)
            if kinds or new_range:
                range_text = new_range
        name = re.match(r"\s*(\w+)", rest)
        if name:
            module.add_port(Port(name.group(1), direction, range_text))


def _body_items(body, module):
    for statement in _split_top(_strip_block_contents(body), ";"):
        statement = statement.strip()
        match = re.match(r"(parameter|input|output|inout)\b(.*)$", statement, re.S)
        if not match:
            continue
        if match.group(1) == "parameter":
            _params_from(match.group(2), module)
            continue
        _, range_text, rest = _parse_declaration(match.group(2))
        for item in _split_top(rest, ","):
            name = re.match(r"\s*(\w+)", item)
            if name:
                module.add_port(Port(name.group(1), match.group(1), range_text))


def read_modules(text):
    """Modules of one source text, in source order."""
    text = _clean(text)
    modules = []
    for match in re.finditer(r"\b(?:module|macromodule)\s+(\w+)\s*", text):
        module = Module(match.group(1))
        position = match.end()
        end = text.find("endmodule", position)
        if end < 0:
            end = len(text)
        if text.startswith("#", position):
            open_paren = text.index("(", position)
            close_paren = _matching(text, open_paren)
            _header_params(text[open_paren + 1:close_paren], module)
            position = close_paren + 1
        rest = text[position:end]
        stripped = rest.lstrip()
        body_start = rest.find(";")
        if stripped.startswith("("):
            open_paren = rest.index("(")
            close_paren = _matching(rest, open_paren)
            port_text = rest[open_paren + 1:close_paren]
            if re.search(r"\b(input|output|inout)\b", port_text):
                _ansi_ports(port_text, module)
            else:
                for item in _split_top(port_text, ","):
                    name = re.match(r"\s*(\w+)\s*$", item)
                    if name:
                        module.add_port(Port(name.group(1), None, None))
            body_start = rest.find(";", close_paren)
        _body_items(rest[body_start + 1:], module)
        for port in module.ports:
            if port.direction is None:
                port.direction = "input"
        modules.append(module)
    return modules
