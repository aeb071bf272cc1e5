#!/usr/bin/env python3
"""Compares the pictures that the example image makes with those of dcmj2pnm.

Its program is the example; see peers.py. Modality and VOI transformations, palettes and overlays
have their say in these pictures; that the decoded samples are right is the matter of
compare_pixels.py. JPEG 2000, which dcmj2pnm does not read, is unpacked by gdcmconv first.
"""

import os
import sys
import tempfile

import peers
from peers import J2K, numpy, pydicom, run, syntax_of

try:
    from PIL import Image
except ImportError:
    peers.skip("PIL")

# Ends of a range fall on integers here.
TOLERANCE = 3

NO_WINDOW = "dcmj2pnm does not look for windows in functional groups"
EXPLAINED = {
    **{name: ("differs", NO_WINDOW) for name in (
        "6_1.dcm", "jpeg2000-multiframe-multifragments.dcm", "CT0012.explicit_little_endian.dcm",
        "CT0012.fragmented_no_bot_jpeg_baseline.51.dcm",
        "CT0012.fragmented_no_bot_jpeg_lossless.57.dcm", "CT0012.not_fragmented_bot_rle.dcm")},
    "SC_rgb_jpeg_lossy_gdcm.dcm": (
        "differs", "dcmj2pnm takes its luminance and chrominance for RGB"),
    "explicit_big.dcm": ("differs", "a window of width 0: dcmj2pnm makes one gray of it"),
}
report = peers.Report(EXPLAINED)


def other_picture(ds, path, folder):
    """The picture of dcmj2pnm; None if it makes none."""
    target, raw = os.path.join(folder, "other.ppm"), os.path.join(folder, "raw.dcm")
    if syntax_of(ds) in J2K:
        if not run(("gdcmconv", "--raw"), path, raw):
            return None
        path = raw
    gray = ["+Wi", "1"] if "WindowCenter" in ds else \
        ["+Wl", "1"] if "VOILUTSequence" in ds else ["+Wm"]
    if not run(("dcmj2pnm", *gray), path, target):
        return None
    return numpy.asarray(Image.open(target).convert("RGB"), "i2")


def our_picture(ds, path, folder):
    """Overlays over gray are white in the other picture, and yellow in ours."""
    target = os.path.join(folder, "ours.png")
    if not run((peers.PROGRAM,), path, target, "overlays"):
        return None
    picture = numpy.array(Image.open(target), "i2")
    if ds.get("SamplesPerPixel", 1) == 1:
        picture[(picture == (255, 255, 0)).all(2)] = 255
    return picture


def compare(path, folder):
    """Differences of the pictures."""
    ds = pydicom.dcmread(path, force=True)
    if "PixelData" not in ds:
        return []
    ours = our_picture(ds, path, folder)
    other = other_picture(ds, path, folder) if ours is not None else None
    if other is None:
        report.counts["not decoded" if ours is None else "not read by dcmj2pnm"] += 1
        return []
    report.counts["pictures compared"] += 1
    if ours.shape != other.shape:
        return [f"{ours.shape}, {other.shape}"]
    distance = int(abs(ours - other).max())
    if distance > TOLERANCE:
        return [f"differs by {distance}"]
    report.counts[f"within {distance}"] += 1
    return []


def main():
    peers.need("dcmj2pnm", "gdcmconv")
    for path in peers.files():
        with tempfile.TemporaryDirectory() as folder:
            report.tell(path, compare(path, folder))
    return report.end("pictures compared")


if __name__ == "__main__":
    sys.exit(main())
