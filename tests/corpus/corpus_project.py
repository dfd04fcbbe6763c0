"""A corpus project as its FILELIST.tsv describes it, and the Tcl script that scans it.

Shared by the corpus parse gate and the parse benchmark, so that both run sift over
exactly the same files, libraries and include directories.
"""

import os

# FILELIST language column -> the sf option that enters such files.
ADD_OPTION = {
    "v2k": "-add_v2klib",
    "sv": "-add_svlib",
    "vhdl93": "-add_vhdl93",
    "vhdl08": "-add_vhdl08",
}

VHDL_LANGS = ("vhdl93", "vhdl08")


class Project:
    def __init__(self, directory):
        self.directory = os.path.abspath(directory)
        self.name = os.path.basename(self.directory.rstrip("/"))
        self.files = []  # (lang, library, absolute path), in list order
        self.incdirs = []
        self.top = ""
        with open(os.path.join(self.directory, "FILELIST.tsv"), encoding="utf-8") as f:
            for raw in f:
                line = raw.rstrip("\n")
                if not line.strip() or line.startswith("#"):
                    continue
                cols = line.split("\t")
                if cols[0] == "incdir" and len(cols) == 2:
                    self.incdirs.append(os.path.join(self.directory, cols[1]))
                elif cols[0] == "top" and len(cols) == 2:
                    self.top = cols[1]
                elif len(cols) == 3 and cols[0] in ADD_OPTION:
                    self.files.append((cols[0], cols[1], os.path.join(self.directory, cols[2])))
                else:
                    raise ValueError("%s: unreadable FILELIST line: %r" % (self.name, line))

    def total_bytes(self):
        return sum(os.path.getsize(path) for _, _, path in self.files)

    def scan_script(self, dump_path, verbosity=3):
        """Tcl text: settings, one sf call per run of files sharing language and
        library (list order kept), then skim, parse and the dump."""
        lines = ["sf -verbosity %d" % verbosity]
        incdirs = " ".join(tcl_word(d) for d in self.incdirs)
        group = None
        for lang, lib, path in self.files:
            if group and group[0] == (lang, lib):
                group[1].append(path)
                continue
            if group:
                lines.append(add_call(group, incdirs))
            group = ((lang, lib), [path])
        if group:
            lines.append(add_call(group, incdirs))
        lines += ["sf -skim", "sf -parse"]
        if dump_path:
            lines.append("sf -print " + tcl_word(dump_path))
        return "\n".join(lines) + "\n"


def tcl_word(text):
    """Braces keep blanks, brackets and dollars of a path from Tcl's substitution."""
    if "{" in text or "}" in text or "\\" in text:
        raise ValueError("path not representable as a braced Tcl word: " + text)
    return "{" + text + "}"


def add_call(group, incdirs):
    (lang, lib), paths = group
    call = "sf %s %s %s" % (ADD_OPTION[lang], tcl_word(lib), " ".join(tcl_word(p) for p in paths))
    if lang not in VHDL_LANGS and incdirs:
        call += " -incdir {%s}" % incdirs
    return call


def corpus_projects(corpus_dir):
    if not os.path.isdir(corpus_dir):
        return []
    return sorted(os.path.join(corpus_dir, d) for d in os.listdir(corpus_dir)
                  if os.path.isfile(os.path.join(corpus_dir, d, "FILELIST.tsv")))
