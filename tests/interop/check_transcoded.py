#!/usr/bin/env python3
"""Changes images to every transfer syntax and lets independent programs read the results.

Its program is transcode_files; see peers.py. pydicom reads native frames and RLE, dcmdrle RLE,
dcmdjpeg JPEG, gdcmconv JPEG without loss and JPEG 2000. Frames without loss have to equal those of
the source, lossy ones to be near them; attributes have to stay but for those that tell of the
frames, and those have to fit.
"""

import collections
import concurrent.futures
import math
import os
import subprocess
import sys
import tempfile

import compare_pixels as pixels
import peers
from check_with_dcmdump import complaints
from compare_with_pydicom import Reference
from peers import J2K, NATIVE, PREFIX, RLE, numpy, pydicom, syntax_of

LOSSY_JPEG = (PREFIX + ".4.50", PREFIX + ".4.51")
LOSSLESS_JPEG = (PREFIX + ".4.57", PREFIX + ".4.70")
LOSSY = (*LOSSY_JPEG, J2K[1])
DCMCONV, DCMDRLE, DCMDJPEG = ("dcmconv", "+te"), ("dcmdrle",), ("dcmdjpeg",)
GDCMCONV = ("gdcmconv", "--raw")
READERS = {**{uid: (None, DCMCONV) for uid in NATIVE}, RLE: (None, DCMDRLE),
           **{uid: (DCMDJPEG,) for uid in LOSSY_JPEG},
           **{uid: (DCMDJPEG, GDCMCONV) for uid in LOSSLESS_JPEG},
           **{uid: (GDCMCONV,) for uid in J2K}}
COLORS = {**{uid: ("RGB", "YBR_FULL") for uid in (*NATIVE, RLE, *LOSSLESS_JPEG)},
          **{uid: ("RGB", "YBR_FULL", "YBR_FULL_422") for uid in LOSSY_JPEG},
          J2K[0]: ("YBR_RCT", "RGB", "YBR_FULL"), J2K[1]: ("YBR_ICT", "RGB")}

PIXEL_DATA = 0x7FE00010
COLOR_TAGS = (0x00280002, 0x00280004, 0x00280006)
BIT_TAGS = (0x00280100, 0x00280101, 0x00280102)
LOSSY_TAGS = (0x00282110, 0x00282112, 0x00282114)

LEAST_DECIBELS = 40

EXPLAINED = {
    "GH340.dcm": (("dcmdjpeg does not", "dcmdrle does not"),
                  "dcmtk's programs need Samples per Pixel, which is not there"),
    "JPEG2000-embedded-sequence-delimiter.dcm": (
        "refused with status 10", "a code stream that describes no picture"),
    "MR_truncated.dcm": (("refused with status 4", "refused with status 5", "saving has"),
                         "the file ends within its only frame"),
    **{("SC_rgb_rle_16bit_2frame.dcm", uid): (
        "gdcmconv does not", "gdcmconv does not read what dcmcjpeg makes of it, either")
       for uid in (".4.57", ".4.70")},
    "ovly_p01.dcm": (
        "gdcmconv does not", "gdcmconv does not take overlays next to others in unused bits"),
    "SC_rgb_jpeg_lossy_gdcm.dcm": (
        ("pydicom: frame 0", "dcmconv: frame 0", "dcmrle: frame 0", "dcmdrle: frame 0",
         "dcmdjpeg: frame 0", "gdcmconv: frame 0", "lossy frame 0", "YBR_"),
        "halved chrominance under the name of RGB, which the source's reader takes for RGB"),
    **{(name, uid): (
        "no other decoder", "no Rows and no Columns; values turn without a look at the image")
       for name in ("meta_missing_tsyntax.dcm", "nested_priv_SQ.dcm") for uid in (".1", ".2")},
    ("badVR.dcm", ".5"): (
        ("(0028,0008)", "pydicom has 15", "dcmdrle has 15"),
        "Number of Frames is no number; fifteen frames are there, and the result says so"),
}

Pictures = collections.namedtuple("Pictures", "frames ds")


class Checker(peers.Report):
    """What one file's results are like."""

    def __init__(self, path, folder):
        super().__init__(EXPLAINED)
        self.path, self.folder = path, folder

    def report(self, uid, found):
        self.tell(self.path, found, uid[len(PREFIX):] or "implicit")

    def check(self):
        run = subprocess.run([peers.PROGRAM, self.path, self.folder], stdout=subprocess.PIPE,
                             check=False)
        rows = [line.split() for line in run.stdout.decode().splitlines()]
        if run.returncode:
            self.counts["files not loaded"] += run.returncode == 1
            if run.returncode != 1:
                self.report("", [f"transcode_files ends with {run.returncode}"])
            return
        ds = pydicom.dcmread(self.path, force=True)
        if "PixelData" not in ds:
            self.counts["files without Pixel Data"] += 1
            return
        self.counts["files"] += 1
        self.words = complaints(self.path)
        self.elements = elements_of(self.path)
        self.syntax, self.source = syntax_of(ds), None
        self.photometric = ds.get("PhotometricInterpretation")
        for uid, changed, saved in rows:
            if changed != "0":
                self.refuse(uid, int(changed), ds)
            else:
                found = [f"saving has status {saved}"] if saved != "0" else self.check_result(uid)
                self.report(uid, found)

    def refuse(self, uid, status, ds):
        reason = reason_of_refusal(status, uid, ds)
        if not reason:
            self.report(uid, [f"refused with status {status}"])
            return
        self.counts["refused"] += 1
        self.counts[f"refused with status {status}: {reason}"] += 1

    def check_result(self, uid):
        path = os.path.join(self.folder, uid + ".dcm")
        self.counts["results"] += 1
        ds = pydicom.dcmread(path)
        found = self.check_attributes(uid, ds, path)
        new = complaints(path) - self.words
        found += [f"dcmdump: {word}" for word in sorted(new)]
        if syntax_of(ds) == self.syntax:
            data = pydicom.dcmread(self.path, force=True).PixelData
            same = ds.PixelData[:len(data)] == data and len(ds.PixelData) - len(data) < 2
            return found if same else [*found, "Pixel Data does not stay as it was"]
        if self.source is None:
            self.source = source_pictures(self.path, frame_count(ds))
        if isinstance(self.source, str):
            return [*found, self.source]
        for reader in readers_of(ds):
            found += self.check_frames(ds, path, reader)
        return found

    def check_frames(self, ds, path, reader):
        name = reader[0] if reader else "pydicom"
        try:
            result = pictures(path, reader, ds)
        except Exception as error:
            return [f"{name} does not read it: {error}"]
        if len(result.frames) != len(self.source.frames):
            return [f"{name} has {len(result.frames)} frames of {len(self.source.frames)}"]
        found = []
        for index in range(len(result.frames)):
            kind, text = compare_frame(self.source, result, index, ds)
            self.counts[f"frames read by {name}"] += 1
            self.counts[f"frames {kind}"] += 1
            if text:
                found.append(f"{name}: frame {index} {text}")
        return found

    def check_attributes(self, uid, ds, path):
        before, after = self.elements, elements_of(path)
        found = [f"({tag[-1][0] >> 16:04X},{tag[-1][0] & 0xFFFF:04X}) differs"
                 for tag in sorted(before.keys() | after.keys())
                 if before.get(tag) != after.get(tag) and not self.may_change(uid, tag, ds)]
        if syntax_of(ds) == self.syntax:
            self.counts["results whose frames stay as they are"] += 1
            return found
        return found + photometric_faults(ds, self.photometric, self.syntax)

    def may_change(self, uid, place, ds):
        """True for attributes of the frames whose new value fits."""
        tag = place[-1][0]
        if len(place) > 1 or ds.file_meta.TransferSyntaxUID != uid:
            return False
        if tag in LOSSY_TAGS:
            return uid in LOSSY and ds[tag].value is not None
        if tag in BIT_TAGS:
            return bits_fit(pydicom.dcmread(self.path, force=True), ds, uid)
        return tag in COLOR_TAGS and ds.SamplesPerPixel == 3


def bits_fit(source, ds, uid):
    """Stored bits move to the low end of the fewest bytes for lossy JPEG; packed ones get words."""
    if source.BitsAllocated == 12:
        return ds.BitsAllocated == 16 and ds.BitsStored == 12
    if syntax_of(source) in J2K and ds.BitsStored > source.BitsStored:
        # The attributes told of fewer bits than the codestream has.
        size = dict(segments(first_stream(source)))[0x51]
        return ds.BitsStored == (size[36] & 127) + 1 == ds.HighBit + 1
    fewest = 8 if ds.BitsStored <= 8 else 16
    return (uid in LOSSY_JPEG and ds.BitsStored == source.BitsStored
            and ds.HighBit == ds.BitsStored - 1 and ds.BitsAllocated == fewest)


def elements_of(path):
    """The values of a file by their places, without Meta Header and the Pixel Data."""
    found, place, within_pixels = {}, [], False
    for depth, tag, _, _, value in Reference(path).lines:
        within_pixels = depth > 0 if within_pixels else False
        if depth == 0 and tag == PIXEL_DATA:
            within_pixels = True
        if within_pixels or tag >> 16 < 8:
            continue
        number = place[depth][1] + 1 if len(place) > depth and place[depth][0] == tag else 0
        place = [*place[:depth], (tag, number)]
        found[tuple(place)] = None if value is None else value.rstrip(b" \0")
    return found


def readers_of(ds):
    """The programs that read a result. No one but this script reads single bits in RLE, and pydicom
    knows only words of 16 bits in big endian."""
    uid = syntax_of(ds)
    if uid == RLE and ds.BitsAllocated == 1:
        return (None,)
    is_misread = uid == NATIVE[2] and ds["PixelData"].VR == "OW" and ds.BitsAllocated != 16
    return READERS[uid][1:] if is_misread else READERS[uid]


def frame_count(ds):
    """Number of Frames, one if it is no number."""
    try:
        return int(ds.get("NumberOfFrames", 1) or 1)
    except ValueError:
        return 1


def complete(ds):
    """Gives a data set what pydicom cannot do without."""
    ds.NumberOfFrames = frame_count(ds)
    ds.setdefault("SamplesPerPixel", 1)
    ds.setdefault("PhotometricInterpretation", "MONOCHROME2")


def pictures(path, reader, ds):
    """The frames of a file as one program has them, pydicom if none is named."""
    complete(ds)
    if reader is None and syntax_of(ds) == RLE and ds.BitsAllocated == 1:
        return Pictures(list(pixels.packed_rle(ds)), ds)
    if reader:
        ds = pixels.converted(reader, path)
        complete(ds)
    if ds.BitsAllocated == 12:
        return Pictures(list(pixels.packed_words(ds)), ds)
    array = ds.pixel_array
    if array.ndim == (3 if ds.SamplesPerPixel > 1 else 2):
        array = array[numpy.newaxis]
    return Pictures(list(array), ds)


def source_pictures(path, frames):
    """The frames of a source as an independent decoder has them, or why there are none."""
    try:
        ds = peers.read(path)
        complete(ds)
        decoded = pixels.decoded(ds, path, frames)
        decoded.LossyTolerance = pixels.tolerance(ds)
        return pictures(path, None, decoded)
    except Exception as error:
        return f"no other decoder: {error}"


def is_ybr(ds):
    return ds.get("PhotometricInterpretation", "").startswith("YBR_FULL")


def low_bit(ds):
    return ds.HighBit + 1 - ds.BitsStored


def stored(frame, ds):
    """Stored values as numbers, from wherever their bits stand."""
    numbers = frame.astype("i8") >> low_bit(ds)
    return pixels.values(numbers, ds)


def comparable(source, result, index):
    """Both frames as numbers of the same meaning."""
    ours, theirs = (stored(each.frames[index], each.ds) for each in (result, source))
    if ours.ndim == 3 and is_ybr(result.ds) != is_ybr(source.ds):
        ours, theirs = (
            pixels.convert_color_space(numbers.astype("u1"), "YBR_FULL", "RGB").astype("i8")
            if is_ybr(each.ds) else numbers
            for numbers, each in ((ours, result), (theirs, source)))
    return ours, theirs


def compare_frame(source, result, index, ds):
    """What to count a frame as, and a text if it differs."""
    first, second = result.frames[index], source.frames[index]
    if first.shape != second.shape:
        return "different", f"is {first.shape}, not {second.shape}"
    if first.dtype == second.dtype and is_ybr(result.ds) == is_ybr(source.ds) and (
            numpy.array_equal(first, second)):
        return "equal", None
    ours, theirs = comparable(source, result, index)
    distance = abs(ours - theirs)
    if low_bit(result.ds) == low_bit(source.ds) and is_ybr(result.ds) == is_ybr(source.ds):
        # Values may pass their stored bits; then whole samples tell how near they are.
        whole = abs(first.astype("i8") - second.astype("i8"))
        distance = min(distance, whole, key=numpy.max)
    worst = int(distance.max())
    if worst == 0:
        return "equal in their stored bits", None
    if syntax_of(ds) in LOSSY:
        return compare_lossy(distance, second, ds)
    allowed = getattr(source.ds, "LossyTolerance", 0)
    if ours.ndim == 3 and is_ybr(result.ds) != is_ybr(source.ds):
        allowed = max(allowed, 1)
    return (f"within {worst}", None) if worst <= allowed else ("different", f"differs by {worst}")


def compare_lossy(distance, original, ds):
    """Words mostly fill a small part of their range, which is what counts in JPEG 2000; JPEG
    rounds by the range."""
    span = (1 << ds.BitsStored) - 1
    if ds.BitsStored > 8 and syntax_of(ds) in J2K:
        span = max(1, int(original.max()) - int(original.min()))
    decibels = 20 * math.log10(span) - 10 * math.log10((distance.astype("f8") ** 2).mean())
    mean = distance.mean() / span
    is_small = min(distance.shape[:2]) <= 32
    if mean < 0.01 and (decibels > LEAST_DECIBELS or is_small):
        return "lossy and near", None
    return "different", f"has {decibels:.1f} dB, {100 * mean:.2f} % off in the mean"


def segments(stream):
    """Markers of a JPEG or JPEG 2000 header with their contents."""
    place = 2
    while place + 4 <= len(stream) and stream[place] == 0xFF:
        length = int.from_bytes(stream[place + 2:place + 4], "big")
        yield stream[place + 1], stream[place + 4:place + 2 + length]
        place += 2 + length


def first_stream(ds):
    return next(pydicom.encaps.generate_pixel_data_frame(ds.PixelData, frame_count(ds)))


def colors_of_stream(ds):
    """The photometric interpretations that a colour stream can stand under."""
    uid = syntax_of(ds)
    markers = dict(reversed(list(segments(first_stream(ds)))))
    if uid in J2K:
        if markers[0x52][4] == 0:
            return ("RGB", "YBR_FULL")
        return ("YBR_RCT",) if markers[0x52][9] == 1 else ("YBR_ICT",)
    frame = next(content for marker, content in markers.items() if marker in (0xC0, 0xC1))
    if 0xEE in markers and markers[0xEE][11] == 0 or frame[6:13:3] == b"RGB":
        return ("RGB",)
    return ("YBR_FULL_422",)


def photometric_faults(ds, before, syntax):
    photometric, uid = ds.get("PhotometricInterpretation"), syntax_of(ds)
    if ds.get("SamplesPerPixel", 1) != 3:
        return []
    if uid in NATIVE and syntax in NATIVE:
        return [] if photometric == before else [f"{photometric} was {before}"]
    allowed = COLORS[uid]
    if uid in LOSSY_JPEG + J2K:
        allowed = [color for color in colors_of_stream(ds) if color in allowed]
    return [] if photometric in allowed else [f"{photometric} is not among {allowed}"]


def reason_of_refusal(status, uid, ds):
    """Why an image cannot have a syntax; None if it could."""
    allocated, stored = ds.get("BitsAllocated"), ds.get("BitsStored", 0)
    is_color, is_palette = (ds.get("SamplesPerPixel", 1) == 3,
                            ds.get("PhotometricInterpretation") == "PALETTE COLOR")
    reasons = ((8, is_color and allocated == 32, "colour of 32 bits is not decoded"),
               (11, syntax_of(ds) in pixels.SKIPPED, "JPEG-LS is not decoded"),
               (11, allocated == 1, "JPEG and JPEG 2000 are not taken for single bits"),
               (12, is_palette and uid in LOSSY, "indices of a palette cannot be near"),
               (14, "Rows" not in ds, "there are no Rows and no Columns"),
               (208, is_palette and allocated == 16, "a palette of 16 bits stays native"),
               (9, uid == LOSSY_JPEG[0] and stored > 8, "baseline JPEG holds 8 bits"),
               (9, uid == LOSSY_JPEG[1] and stored != 12, "extended JPEG is taken for 12 bits"),
               (9, uid in LOSSY_JPEG and ds.get("PixelRepresentation") == 1,
                "lossy JPEG holds no sign"),
               (9, allocated == 32, "JPEG and JPEG 2000 hold no 32 bits"),
               (9, uid in J2K and is_color and allocated > 8, "colour of JPEG 2000 has 8 bits"))
    return next((text for code, holds, text in reasons if holds and code == status), None)


def check(path):
    with tempfile.TemporaryDirectory() as folder:
        checker = Checker(path, folder)
        try:
            checker.check()
        except Exception as error:
            checker.report("", [f"cannot be checked: {error!r}"])
    result = peers.Report()
    result.add(checker)
    return result


def main():
    peers.need("dcmdump", "dcmconv", "dcmdjpeg", "dcmdrle", "gdcmconv")
    report = peers.Report()
    with concurrent.futures.ProcessPoolExecutor(2) as pool:
        for part in pool.map(check, peers.files()):
            report.add(part)
    return report.end("results")


if __name__ == "__main__":
    sys.exit(main())
