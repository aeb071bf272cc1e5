#!/usr/bin/env python3
"""Resaves files in every encoding and lets dcmdump read each result, for which it may complain only
in words that it has for the source, too. Its program is resave; see peers.py."""

import concurrent.futures
import os
import re
import subprocess
import sys
import tempfile

import peers

# Implicit VR cannot say that a private element is a sequence; undefined length can, and dcmdump
# remarks on how it reads one.
REMARKS = ("with VR UN and undefined length, reading a sequence",)


def complaints(path):
    """What dcmdump says of a file, without numbers and names."""
    run = subprocess.run(["dcmdump", path], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE,
                         check=False)
    lines = run.stderr.decode("latin-1").splitlines()
    lines = [line for line in lines if re.match(r"[EWF]: ", line) and path not in line
             and not any(remark in line for remark in REMARKS)]
    return {re.sub(r"\([0-9a-fx, ]+\)|0x[0-9a-f]+|\d+", "", line) for line in lines} | (
        {"exit"} if run.returncode else set())


def main():
    peers.need("dcmdump")
    report, paths = peers.Report(), list(peers.files())
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor() as pool:
        run = subprocess.run([peers.PROGRAM, folder, *paths], stdout=subprocess.PIPE, check=False)
        rows = [line.split("\t") for line in run.stdout.decode("latin-1").splitlines()]
        saved = [row for row in rows if row[0] == "saved"]
        report.counts["files that end within a value"] = sum(row[0] == "cut" for row in rows)
        report.counts["results read"] = len(saved)
        for row in rows:
            report.tell(row[1], [" ".join(row)] if row[0] == "wrong" else [])
        known = dict(zip(paths, pool.map(complaints, paths)))
        for row, words in zip(saved, pool.map(complaints, [row[2] for row in saved])):
            report.tell(row[1], sorted(words - known[row[1]]), os.path.basename(row[2]))
    return report.end("results read") or run.returncode


if __name__ == "__main__":
    sys.exit(main())
