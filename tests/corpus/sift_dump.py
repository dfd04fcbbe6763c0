"""Reader of the text dump that `sf -print` writes: the parts the corpus gate checks."""

import re

_TABLE_ROW = re.compile(r"^  (\d+) : (.*)$")
_MSG = re.compile(r"line: (\d+), type: (\d+), fmtId: (\d+), args: \(([\d, ]*)\)")
_LIST = re.compile(r"(\w+) : \[([\d, ]*)\]")


class Dump:
    def __init__(self, text):
        self.sections = _split_sections(text)
        self.file_names = self._table("fileNames")
        self.obj_names = self._table("objNames")
        self.std_vhdl_libs = set(v.lower() for v in self._table("stdVhdlLibNames").values())
        self.runit_names = self._table("rUnitNames")
        self.fmt_strs = self._table("fmtStrs")
        self.arg_strs = self._table("argStrs")
        self.file_attrs = {}  # id -> (lang name, library, set of flags)
        for fid, body in self._records("fileAttrs").items():
            parts = [p.strip() for p in body.strip().strip("{}").split(",")]
            self.file_attrs[fid] = (parts[0], parts[1] if len(parts) > 1 else "", set(parts[2:]))
        self.pars_req = {}
        for fid, body in self._records("fileProps").items():
            for label, values in _LIST.findall(body):
                if label == "parsReqFiles":
                    self.pars_req[fid] = _ints(values)
        self.runit_files = {rid: _ints(m.group(2)) for rid, body in self._records("rUnitAttrs").items()
                            for m in [_LIST.search(body)] if m}
        self.parse_order = [int(v) for v in self.sections.get("parseOrder", "").split()]
        self.messages = {}  # file id -> [(line, type, text)]
        for fid, body in self._records("fileMsgs").items():
            for line, typ, fmt, args in _MSG.findall(body):
                self.messages.setdefault(fid, []).append(
                    (int(line), int(typ), self._render(int(fmt), _ints(args))))
        status = self.sections.get("status", "")
        m = re.search(r"isParseDone = (\d+)", status)
        self.parse_done = m is not None and m.group(1) == "1"

    def _table(self, name):
        rows = {}
        for line in self.sections.get(name, "").splitlines():
            m = _TABLE_ROW.match(line)
            if m:
                rows[int(m.group(1))] = m.group(2)
        return rows

    def _records(self, name):
        """Record sections: the body of each id, which may span several lines."""
        records, current = {}, None
        for line in self.sections.get(name, "").splitlines():
            m = _TABLE_ROW.match(line)
            if m:
                current = int(m.group(1))
                records[current] = m.group(2)
            elif current is not None:
                records[current] += "\n" + line
        return records

    def _render(self, fmt_id, arg_ids):
        text = self.fmt_strs.get(fmt_id, "?")
        for aid in arg_ids:
            text = text.replace("%s", self.arg_strs.get(aid, ""), 1)
        return text


def _ints(values):
    return [int(v) for v in values.replace(",", " ").split()]


def _split_sections(text):
    """Top-level sections start in column 0 with a label; their body runs to the next."""
    sections, name, body = {}, None, []
    for line in text.splitlines():
        if line[:1] in ("}", "]"):
            continue
        if line and not line[0].isspace():
            if name:
                sections[name] = "\n".join(body)
            name = re.split(r"\s*:", line, 1)[0].strip()
            body = []
        elif name:
            body.append(line)
    if name:
        sections[name] = "\n".join(body)
    return sections
