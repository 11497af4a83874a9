#!/usr/bin/env python3
"""Check that the folders of src/ form layers.

Every folder of src/ has a rank, read from the Layout table of the README
(the order of its rows, lowest first).  A file may include a header of its
own folder or of a folder of lower rank; an include that points up, or a
folder missing from the table, or a row naming no folder, is an error.

Usage: layers.py [ROOT]        prints the folder graph; exit 1 on an error
"""
import os
import re
import sys
from collections import defaultdict

ROW = re.compile(r"^\|\s*`src/([a-z0-9_/]+)/`")
INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')
SOURCE_SUFFIXES = (".h", ".hpp", ".c", ".cpp")


def read_ranks(readme):
    """Folder -> rank, from the rows of the README's Layout table."""
    ranks = {}
    in_layout = False
    for line in open(readme, encoding="utf-8"):
        if line.startswith("## "):
            in_layout = line.strip() == "## Layout"
            continue
        m = ROW.match(line) if in_layout else None
        if m:
            ranks.setdefault(m.group(1).split("/")[0], len(ranks))
    return ranks


def scan(src):
    """(folder of each source file, folders holding each header name)."""
    files, where = [], defaultdict(set)
    for d, _, names in os.walk(src):
        rel = os.path.relpath(d, src)
        top = rel.split(os.sep)[0] if rel != "." else "."
        for f in names:
            if f.endswith(SOURCE_SUFFIXES):
                files.append((top, os.path.join(d, f)))
                where[f].add(top)
    return files, where


def main():
    root = sys.argv[1] if len(sys.argv) > 1 else "."
    src = os.path.join(root, "src")
    ranks = read_ranks(os.path.join(root, "README.md"))
    files, where = scan(src)
    errors = []
    folders = {top for top, _ in files if top != "."}
    for f in sorted(folders - set(ranks)):
        errors.append(f"src/{f}/ is missing from the README's Layout table")
    for f in sorted(set(ranks) - folders):
        errors.append(f"the README's Layout table names src/{f}/, which does not exist")
    edges = defaultdict(set)
    for top, path in files:
        for n, line in enumerate(open(path, encoding="utf-8", errors="replace"), 1):
            m = INCLUDE.match(line)
            if not m:
                continue
            for target in where.get(os.path.basename(m.group(1)), ()):
                if target == top or top == ".":
                    continue
                edges[top].add(target)
                if ranks.get(target, -1) > ranks.get(top, -1):
                    errors.append(f"{os.path.relpath(path, root)}:{n}: "
                                  f"{top} includes {m.group(1)} of {target}, a higher layer")
    for f in sorted(ranks, key=ranks.get):
        print(f"{f:10} -> {' '.join(sorted(edges[f], key=lambda t: ranks.get(t, 99)))}")
    for e in errors:
        print("error:", e)
    return 1 if errors else 0


if __name__ == "__main__":
    sys.exit(main())
