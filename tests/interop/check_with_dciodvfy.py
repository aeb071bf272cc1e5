#!/usr/bin/env python3
"""Lets dciodvfy judge new data sets of several classes.

Usage: check_with_dciodvfy.py CREATE
CREATE makes a data set of a class. Exits 1 if dciodvfy reports an error, or does not recognise the
class, of any of them.
"""

import os
import shutil
import subprocess
import sys
import tempfile

# First line of dciodvfy's output for each class that CREATE knows.
CLASSES = {
    "ct": "CTImage",
    "mr": "MRImage",
    "sc": "SCImage",
    "gsps": "GrayscaleSoftcopyPresentationState",
}


def judge(path):
    """The class that dciodvfy sees, and what it reports as an error."""
    run = subprocess.run(["dciodvfy", path], stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                         check=False)
    lines = run.stdout.decode("latin-1").splitlines()
    errors = [line for line in lines if line.startswith("Error")]
    return (lines[0] if lines else ""), errors


def main():
    if shutil.which("dciodvfy") is None:
        print("dciodvfy is not installed")
        return 77
    bad = 0
    with tempfile.TemporaryDirectory() as folder:
        for word, name in CLASSES.items():
            path = os.path.join(folder, word + ".dcm")
            subprocess.run([sys.argv[1], path, word], check=True)
            seen, errors = judge(path)
            print(f"{word}: {seen}, {len(errors)} errors")
            for error in errors:
                print("  " + error)
            bad += seen != name or len(errors) > 0
    return 1 if bad else 0


if __name__ == "__main__":
    sys.exit(main())
