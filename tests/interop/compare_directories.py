#!/usr/bin/env python3
"""Compares the record trees that list_keys prints with those that pydicom reads.

Usage: compare_directories.py LIST_KEYS FILE_OR_FOLDER...
The files are those with a directory record sequence. Exits 1 at a difference, 77 without pydicom.
"""

import os
import subprocess
import sys
import warnings

try:
    import pydicom
    from pydicom.fileset import FileSet
except ImportError:
    print("pydicom is not installed")
    sys.exit(77)

warnings.simplefilter("ignore")


def files_below(paths):
    for path in paths:
        if os.path.isfile(path):
            yield path
        for folder, _, names in sorted(os.walk(path)):
            for name in sorted(names):
                if name.startswith("DICOMDIR"):
                    yield os.path.join(folder, name)


def walk(path):
    """Depth, offset and type of each record by the references that pydicom reads."""
    ds = pydicom.dcmread(path, force=True)
    records = {record.seq_item_tell: record for record in ds.get("DirectoryRecordSequence") or []}
    lines = []

    def level(offset, depth):
        while offset in records:
            record = records[offset]
            lines.append((depth, offset, record.DirectoryRecordType))
            level(record.get("OffsetOfReferencedLowerLevelDirectoryEntity", 0), depth + 1)
            offset = record.get("OffsetOfTheNextDirectoryRecord", 0)

    level(ds.get("OffsetOfTheFirstDirectoryRecordOfTheRootDirectoryEntity", 0), 0)
    return lines, records


def node_tree(path):
    """The same out of pydicom's own record tree; None where it does not take the file."""
    try:
        tree = FileSet(path)._tree
    except Exception:
        return None
    return [(node.depth, node._offset, node.record_type)
            for node in tree if not node.is_root]


def without_bare_leaves(lines, records):
    """pydicom drops records that have neither records below them nor a file."""
    lower = "OffsetOfReferencedLowerLevelDirectoryEntity"
    return [line for line in lines
            if records[line[1]].get(lower, 0) or "ReferencedFileID" in records[line[1]]]


def parse(lines):
    for line in lines:
        depth, offset, kind = line.split(" ", 2)
        yield int(depth), int(offset), kind


def main():
    paths = list(files_below(sys.argv[2:]))
    if not paths:
        print("no directories found")
        return 77
    output = subprocess.run([sys.argv[1], *paths], stdout=subprocess.PIPE, check=True).stdout
    failures = count = trees = 0
    for path, block in zip(paths, output.decode().split("file ")[1:]):
        lines = block.splitlines()
        ours = list(parse(lines[1:]))
        theirs, records = walk(path)
        count += len(ours)
        same = not lines[0].startswith("0") or ours == theirs
        nodes = node_tree(path)
        if nodes is not None:
            trees += 1
            same = same and without_bare_leaves(ours, records) == nodes
        print(f"{'same' if same else 'DIFFERENT'} {len(ours)} of {len(records)} records: {path}")
        failures += not same
    print(f"{len(paths)} directories, {count} records, {trees} compared with record trees")
    return 1 if failures or not count else 0


if __name__ == "__main__":
    sys.exit(main())
