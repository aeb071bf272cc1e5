#!/usr/bin/env python3
"""Resaves files in every encoding and lets dcmdump read each result.

Usage: check_with_dcmdump.py RESAVE FILE_OR_FOLDER...
dcmdump may complain about a result only in words that it has for the source, too. Exits 1 if a
file does not come back equal or has a new complaint.
"""

import concurrent.futures
import os
import re
import shutil
import subprocess
import sys
import tempfile

from compare_with_pydicom import files_below


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
    if shutil.which("dcmdump") is None:
        print("dcmdump is not installed")
        return 77
    resave, paths = sys.argv[1], list(files_below(sys.argv[2:]))
    bad = count = 0
    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run([resave, folder, *paths], stdout=subprocess.PIPE, check=False)
        rows = [line.split("\t") for line in run.stdout.decode("latin-1").splitlines()]
        for row in rows:
            if row[0] == "wrong":
                bad += 1
                print("  not equal:", *row[1:])
            elif row[0] == "cut":
                print("  cannot be saved, a value passes the end of the file:", row[1])
        saved = [row for row in rows if row[0] == "saved"]
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            known = dict(zip(paths, pool.map(complaints, paths)))
            found = pool.map(complaints, [row[2] for row in saved])
            for row, words in zip(saved, found):
                count += 1
                new = words - known[row[1]]
                if new:
                    bad += 1
                    print(f"  {row[1]} as {os.path.basename(row[2])}: {'; '.join(sorted(new))}")
    print(f"{count} results read by dcmdump, {bad} of them unequal or with a new complaint")
    return 1 if bad or run.returncode or not count else 0


if __name__ == "__main__":
    sys.exit(main())
