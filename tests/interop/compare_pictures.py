#!/usr/bin/env python3
"""Compares the pictures that the example image makes with those of dcmj2pnm.

Usage: compare_pictures.py [--list] IMAGE FILE_OR_FOLDER...
Modality and VOI transformations, palettes and overlays have their say in these; that the decoded
samples are right is the matter of compare_pixels.py. JPEG 2000, which dcmj2pnm does not read, is
unpacked by gdcmconv first. Exits 1 for a difference that EXPLAINED does not hold.
"""

import collections
import os
import shutil
import subprocess
import sys
import tempfile

try:
    import numpy
    import pydicom
    from PIL import Image
except ImportError:
    print("pydicom, numpy or PIL is not installed")
    sys.exit(77)

from compare_pixels import J2K, run, syntax_of
from compare_with_pydicom import files_below

LIST = "--list" in sys.argv
# Ends of a range fall on integers here.
TOLERANCE = 3

# File name: why its picture is not as the other one.
EXPLAINED = {
    "6_1.dcm": "dcmj2pnm does not look for windows in functional groups",
    "jpeg2000-multiframe-multifragments.dcm": "the same",
    "CT0012.explicit_little_endian.dcm": "the same",
    "CT0012.fragmented_no_bot_jpeg_baseline.51.dcm": "the same",
    "CT0012.fragmented_no_bot_jpeg_lossless.57.dcm": "the same",
    "CT0012.not_fragmented_bot_rle.dcm": "the same",
    "SC_rgb_jpeg_lossy_gdcm.dcm": "dcmj2pnm takes its luminance and chrominance for RGB",
    "explicit_big.dcm": "a window of width 0: dcmj2pnm makes one gray of it",
}
counts = collections.Counter()


def other_picture(ds, path, folder):
    """The picture of dcmj2pnm; None if it makes none."""
    target, raw = os.path.join(folder, "other.ppm"), os.path.join(folder, "raw.dcm")
    for name in (target, raw):
        if os.path.exists(name):
            os.remove(name)
    if syntax_of(ds) in J2K:
        if not run(("gdcmconv", "--raw"), path, raw):
            return None
        path = raw
    gray = ["+Wi", "1"] if "WindowCenter" in ds else \
        ["+Wl", "1"] if "VOILUTSequence" in ds else ["+Wm"]
    if not run(("dcmj2pnm", *gray), path, target):
        return None
    return numpy.asarray(Image.open(target).convert("RGB"), "i2")


def our_picture(program, ds, path, folder):
    """Overlays over gray are white in the other picture, and yellow in ours."""
    target = os.path.join(folder, "ours.png")
    if subprocess.run([program, path, target, "overlays"], stdout=subprocess.DEVNULL,
                      stderr=subprocess.DEVNULL, check=False).returncode:
        return None
    picture = numpy.array(Image.open(target), "i2")
    if ds.get("SamplesPerPixel", 1) == 1:
        picture[(picture == (255, 255, 0)).all(2)] = 255
    return picture


def compare(program, path, folder):
    """None, or a text about the difference."""
    ds = pydicom.dcmread(path, force=True)
    if "PixelData" not in ds:
        return None
    ours = our_picture(program, ds, path, folder)
    if ours is None:
        counts["not decoded"] += 1
        return None
    other = other_picture(ds, path, folder)
    if other is None:
        counts["not read by dcmj2pnm"] += 1
        return None
    counts["pictures compared"] += 1
    if ours.shape != other.shape:
        return f"{ours.shape}, {other.shape}"
    distance = int(abs(ours - other).max())
    if distance <= TOLERANCE:
        counts[f"within {distance}"] += 1
        return None
    return f"differs by {distance}"


def main():
    missing = [program for program in ("dcmj2pnm", "gdcmconv") if not shutil.which(program)]
    if missing:
        print(f"not installed: {', '.join(missing)}")
        return 77
    arguments = [argument for argument in sys.argv[1:] if argument != "--list"]
    bad = 0
    with tempfile.TemporaryDirectory() as folder:
        for path in files_below(arguments[1:]):
            found = compare(arguments[0], path, folder)
            reason = EXPLAINED.get(os.path.basename(path))
            if found and reason:
                counts["explained"] += 1
            elif found:
                bad += 1
            if found and (LIST or not reason):
                print(f"  {path}: {found}{': ' + reason if reason else ''}")
    for count, number in sorted(counts.items()):
        print(f"  {number:6} {count}")
    print(f"{bad} differences without an explanation")
    return 1 if bad or not counts["pictures compared"] else 0


if __name__ == "__main__":
    sys.exit(main())
