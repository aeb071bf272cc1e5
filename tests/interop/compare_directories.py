#!/usr/bin/env python3
"""Compares the record trees of directories with those that pydicom reads. Its program is show; see
peers.py."""

import os
import sys

import peers
from peers import pydicom
from pydicom.fileset import FileSet


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


def main():
    report = peers.Report()
    paths = [path for path in peers.files() if os.path.basename(path).startswith("DICOMDIR")]
    if not paths:
        peers.skip("files with directories")
    for status, path, lines in peers.shown("keys", paths):
        report.counts["directories"] += 1
        if status:
            continue
        ours = [(int(words[0]), int(words[1]), " ".join(words[2:])) for words, _ in lines]
        theirs, records = walk(path)
        report.counts["records"] += len(ours)
        found = [] if ours == theirs else [f"{len(ours)} of {len(records)} records"]
        nodes = node_tree(path)
        if nodes is not None:
            report.counts["record trees"] += 1
            if without_bare_leaves(ours, records) != nodes:
                found.append("another tree")
        report.tell(path, found)
    return report.end("records")


if __name__ == "__main__":
    sys.exit(main())
