#!/usr/bin/env python3
"""Holds src/ to its layer table (src/layers.txt): every folder with sources is listed
and has its library; a file includes only headers of its own folder and of lower
layers; a library links exactly the listed libraries whose headers its folder
includes. Link lists come from the build (one line per library: name, then what it
links, separated by ';')."""

import argparse
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"', re.M)
SOURCE_EXTS = (".h", ".hpp", ".cpp", ".cc", ".c")


def read_table(path):
    """folder -> (layer, library)"""
    table = {}
    with open(path) as f:
        for number, line in enumerate(f, 1):
            line = line.split("#", 1)[0].split()
            if not line:
                continue
            if len(line) != 3 or not line[0].isdigit():
                raise ValueError(f"{path}:{number}: expected 'layer folder library'")
            table[line[1]] = (int(line[0]), line[2])
    return table


def source_folders(src):
    """folder (relative to src, '/'-separated) -> its source files"""
    folders = {}
    for root, _, files in os.walk(src):
        names = sorted(n for n in files if n.endswith(SOURCE_EXTS))
        if names:
            rel = os.path.relpath(root, src).replace(os.sep, "/")
            folders[rel] = [os.path.join(root, n) for n in names]
    return folders


def included_folders(path):
    """(line text, folder) of each quoted include that names a folder"""
    with open(path, errors="replace") as f:
        text = f.read()
    for m in INCLUDE.finditer(text):
        header = m.group(1)
        if "/" in header:
            yield header, header.rsplit("/", 1)[0]


def read_links(path):
    links = {}
    with open(path) as f:
        for line in f:
            parts = [p for p in line.strip().split(";") if p]
            if parts:
                links[parts[0]] = set(parts[1:])
    return links


def check(src, table, links):
    problems = []
    folders = source_folders(src)
    uses = {}
    for folder, files in sorted(folders.items()):
        if folder not in table:
            problems.append(f"src/{folder}: not in the layer table")
            continue
        layer = table[folder][0]
        used = uses.setdefault(folder, set())
        for path in files:
            rel = os.path.relpath(path, os.path.dirname(src)).replace(os.sep, "/")
            for header, target in included_folders(path):
                if target == folder:
                    continue
                if target not in table:
                    if os.path.isdir(os.path.join(src, target)):
                        problems.append(f"{rel}: includes {header} of a folder not in the layer table")
                    continue
                used.add(target)
                if table[target][0] >= layer:
                    kind = "a peer" if table[target][0] == layer else "a higher layer"
                    problems.append(f"{rel}: includes {header} of {kind} (src/{target})")
    if links is None:
        return problems
    library_folder = {lib: folder for folder, (_, lib) in table.items()}
    for folder in sorted(folders):
        if folder not in table:
            continue
        layer, library = table[folder]
        if library not in links:
            problems.append(f"src/{folder}: the build has no library {library}")
            continue
        linked = {library_folder[l] for l in links[library] if l in library_folder}
        for other in sorted(linked):
            if table[other][0] >= layer:
                problems.append(f"{library}: links {table[other][1]} of a layer not below it")
        for other in sorted(uses.get(folder, set()) - linked):
            problems.append(f"{library}: includes headers of src/{other} but does not link {table[other][1]}")
        for other in sorted(linked - uses.get(folder, set())):
            problems.append(f"{library}: links {table[other][1]} but includes nothing of it")
    return problems


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--src", required=True)
    parser.add_argument("--links", help="the libraries' link lists, as the build writes them")
    args = parser.parse_args()
    table = read_table(os.path.join(args.src, "layers.txt"))
    problems = check(args.src, table, read_links(args.links) if args.links else None)
    for p in problems:
        print(p)
    print(f"{len(problems)} layer problem(s)" if problems else "layers hold")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
