#!/usr/bin/env python3
"""Decodes a database archive byte by byte from the published layout, without any
serialization library, and compares it with the JSON description written beside it.

usage: decode_archive.py <sample-program> <work-dir>
The sample program writes <work-dir>/db.bin and <work-dir>/db.json (and the same for an
empty database with the suffix .empty)."""

import json
import os
import struct
import subprocess
import sys


class Reader:
    def __init__(self, data):
        self.data = data
        self.pos = 0
        self.seen = set()  # classes whose preamble has been read

    def take(self, n):
        if self.pos + n > len(self.data):
            raise ValueError("archive ends at %d, wanted %d more bytes" % (len(self.data), n))
        chunk = self.data[self.pos:self.pos + n]
        self.pos += n
        return chunk

    def u8(self):
        return self.take(1)[0]

    def u16(self):
        return struct.unpack("<H", self.take(2))[0]

    def u32(self):
        return struct.unpack("<I", self.take(4))[0]

    def i32(self):
        return struct.unpack("<i", self.take(4))[0]

    def u64(self):
        return struct.unpack("<Q", self.take(8))[0]

    def boolean(self):
        b = self.u8()
        if b not in (0, 1):
            raise ValueError("bool byte %d at %d" % (b, self.pos - 1))
        return b

    def string(self):
        return self.take(self.u64()).decode("utf-8")

    def preamble(self, cls):
        """A class with class info: tracking flag and class version on its first occurrence."""
        if cls in self.seen:
            return
        self.seen.add(cls)
        tracking = self.u8()
        version = self.u32()
        if tracking != 0 or version != 0:
            raise ValueError("preamble of %s: tracking %d version %d" % (cls, tracking, version))


def header(r):
    signature = r.string()
    assert signature == "serialization::archive", signature
    library = r.u16()
    # Boost 1.72's archive library version, which the parent reads with.
    assert library == 17, library
    sizes = [r.u8() for _ in range(4)]
    assert sizes == [4, 8, 4, 8], sizes  # int, long, float, double
    assert r.i32() == 1  # byte order probe
    return library


# Element readers. Each returns the JSON form of ArchiveSample.cpp.

def ids_vector(r):
    """std::vector<unsigned>: no preamble, count, one block of u32."""
    n = r.u64()
    return list(struct.unpack("<%dI" % n, r.take(4 * n)))


def record_vector(r, cls, element):
    """std::vector of records: preamble, count, item version 0, elements."""
    r.preamble("std::vector<%s>" % cls)
    n = r.u64()
    assert r.u32() == 0, "item version"
    return [element(r) for _ in range(n)]


def tuple_of(cls, element):
    """HADLVectorForTuple<cls>: preamble, then its std::vector part."""
    def read(r):
        r.preamble("HADLVectorForTuple<%s>" % cls)
        if cls == "unsigned":
            return ids_vector(r)
        return record_vector(r, cls, element)
    return read


def indexing_of(cls, element):
    tuple_read = tuple_of(cls, element)

    def read(r):
        r.preamble("HADLVectorForIndexing<%s>" % cls)
        return tuple_read(r)
    return read


def record(cls, *fields):
    def read(r):
        r.preamble(cls)
        return [f(r) for f in fields]
    return read


U32 = Reader.u32
I32 = Reader.i32
BOOL = Reader.boolean
IDS = tuple_of("unsigned", None)


def string_table(r):
    r.preamble("HADLStringIndexTable")
    r.preamble("HADLStringIndexTableSerialization")
    return [r.string() for _ in range(r.u32())]


def match_table(r):
    r.preamble("HADLStringMatchTable")
    return string_table(r)


def hash_map(r):
    r.preamble("LoomHashMap")
    return [[r.u32(), IDS(r)] for _ in range(r.u64())]


ATTRIBUTE = record("AttributeAttr", U32, U32)
INST = record("InstAttr", U32, U32, U32, U32, BOOL, BOOL, BOOL)
PORT = record("PortAttr", *([U32] * 9), tuple_of("AttributeAttr", ATTRIBUTE))
PARAM = record("ParamAttr", *([U32] * 9), BOOL, BOOL)
UNIT = record("UnitAttr", *([U32] * 9), tuple_of("InstAttr", INST), IDS, BOOL, BOOL,
              tuple_of("PortAttr", PORT), tuple_of("ParamAttr", PARAM),
              tuple_of("AttributeAttr", ATTRIBUTE))
RINST = record("RInstAttr", U32, U32)
MSG = record("Msg", U32, U32, U32, IDS)
RANGE = record("Range", U32, U32)
VAR = record("Var", U32, BOOL, BOOL, U32, U32, U32, U32)
FILELOC = record("FileLoc", U32, U32, U32)
DEF = record("MacroDef", U32, BOOL)
GDEF = record("GenericDef", U32, BOOL)

LAYOUT = [
    ("fileNames", string_table),
    ("objNames", string_table),
    ("stdVhdlLibNames", match_table),
    ("stdSVLibNames", match_table),
    ("optionStrValues", string_table),
    ("options", record("Options", BOOL, U32, BOOL, BOOL)),
    ("dirNames", string_table),
    ("incDirLists", indexing_of("HADLVectorForTuple<unsigned>", IDS)),
    ("macroNames", string_table),
    ("macroValues", string_table),
    ("macroDefs", indexing_of("MacroDef", DEF)),
    ("fileAttrs", indexing_of("FileAttr", record("FileAttr", U32, U32, U32, U32, U32, BOOL, BOOL))),
    ("fileProps", indexing_of("FileProp", record("FileProp", IDS, IDS, IDS, IDS))),
    ("parseOrder", IDS),
    ("rUnitNames", string_table),
    ("rUnitAttrs", indexing_of("RUnitAttr", record("RUnitAttr", U32, U32, U32, IDS,
                                                   tuple_of("RInstAttr", RINST)))),
    ("unitNames", string_table),
    ("unitAttrs", indexing_of("UnitAttr", UNIT)),
    ("duplicateAttrs", indexing_of("UnitAttr", UNIT)),
    ("pkgIds", indexing_of("HADLVectorForTuple<unsigned>", IDS)),
    ("tops", IDS),
    ("fmtStrs", string_table),
    ("argStrs", string_table),
    ("fileMsgs", indexing_of("HADLVectorForTuple<Msg>", tuple_of("Msg", MSG))),
    ("blockRanges", indexing_of("HADLVectorForTuple<Range>", tuple_of("Range", RANGE))),
    ("rUnitVars", indexing_of("HADLVectorForTuple<Var>", tuple_of("Var", VAR))),
    ("tesselModuleNames", string_table),
    ("tesselLibClauseButNoInsts", BOOL),
    ("enableVhdlVerilogConfig", BOOL),
    ("declTypes", string_table),
    ("variables", indexing_of("Declaration", record("Declaration", *([U32] * 6),
                                                    indexing_of("FileLoc", FILELOC)))),
    ("unitRanges", indexing_of("UnitRange", record("UnitRange", *([U32] * 5)))),
    ("status", record("Status", I32, BOOL, BOOL)),
    ("genericNames", string_table),
    ("genericValues", string_table),
    ("genericDefs", indexing_of("GenericDef", GDEF)),
    ("nonHdlModuleNames", string_table),
    ("primaryToUnits", hash_map),
    ("derivedUnits", indexing_of("HADLVectorForTuple<unsigned>", IDS)),
]


def decode(data):
    r = Reader(data)
    library = header(r)
    r.preamble("HADLDatabase")
    content = {name: read(r) for name, read in LAYOUT}
    if r.pos != len(data):
        raise ValueError("%d bytes left after the last member" % (len(data) - r.pos))
    return library, content


def compare(path_bin, path_json):
    with open(path_bin, "rb") as f:
        library, content = decode(f.read())
    with open(path_json) as f:
        expected = json.load(f)
    assert list(expected) == [name for name, _ in LAYOUT], "member order"
    failures = [name for name in expected if content[name] != expected[name]]
    for name in failures:
        print("MISMATCH %s:\n  archive:  %s\n  expected: %s" % (name, content[name], expected[name]))
    print("%s: library version %d, %d members, %d mismatches"
          % (os.path.basename(path_bin), library, len(content), len(failures)))
    return content, not failures


def main():
    program, work = sys.argv[1], sys.argv[2]
    os.makedirs(work, exist_ok=True)
    base = os.path.join(work, "db")
    subprocess.run([program, base + ".bin", base + ".json"], check=True)
    full, ok_full = compare(base + ".bin", base + ".json")
    empty, ok_empty = compare(base + ".bin.empty", base + ".json.empty")
    # Every member of the sample holds data, so no member can pass by being empty.
    empty_members = [name for name, value in full.items()
                     if value in ([], [[]], [[0, 0]]) and name != "enableVhdlVerilogConfig"]
    if empty_members:
        print("sample leaves members empty: %s" % empty_members)
    # A new database: tables count 0, indexed lists count 1 (slot 0 stored).
    indexed = [name for name, _ in LAYOUT if name in (
        "incDirLists", "macroDefs", "fileAttrs", "fileProps", "rUnitAttrs", "unitAttrs",
        "duplicateAttrs", "pkgIds", "fileMsgs", "blockRanges", "rUnitVars", "variables",
        "unitRanges", "genericDefs", "derivedUnits")]
    bad_empty = [name for name in indexed if len(empty[name]) != 1]
    if bad_empty:
        print("indexed lists of a new database without slot 0: %s" % bad_empty)
    sys.exit(0 if ok_full and ok_empty and not empty_members and not bad_empty else 1)


if __name__ == "__main__":
    main()
