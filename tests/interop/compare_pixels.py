#!/usr/bin/env python3
"""Compares frames with those of independent decoders. Its program is show; see peers.py.

The others are pydicom for native and RLE frames, dcmdjpeg for JPEG and gdcmconv for JPEG 2000, and
for JPEG that dcmdjpeg does not decode. Next to the files, images made here are compared, and what
dcmtk and gdcmconv compress one native image of each format to.
"""

import collections
import copy
import os
import sys
import tempfile

import peers
from peers import J2K, NATIVE, PREFIX, RLE, numpy, pydicom, run, syntax_of
from pydicom.pixel_data_handlers.util import apply_color_lut, convert_color_space

JPEG = tuple(f"{PREFIX}.4.{n}" for n in (50, 51, 53, 55, 57, 70))
LOSSY = (*JPEG[:4], J2K[1])
SKIPPED = {PREFIX + ".4.80": "JPEG-LS", PREFIX + ".4.81": "JPEG-LS", PREFIX + ".1.99": "deflated",
           PREFIX + ".4.100": "MPEG", PREFIX + ".4.101": "MPEG"}

# File name: how each difference begins, and why it is there.
EXPLAINED = {
    "JPEG2000-embedded-sequence-delimiter.dcm": (
        "frame 0 has status 10",
        "a code stream made of bytes that look like a delimiter; gdcmconv fails, too"),
    "MR_truncated.dcm": ("frame 0 has status 5", "the file ends within its only frame"),
    **{name: (("frame 0 has status 8", "frame 1 has status 8"),
              "no bitmap has colour of 32 bits a component")
       for name in ("SC_rgb_rle_32bit.dcm", "SC_rgb_rle_32bit_2frame.dcm")},
    "SC_rgb_jpeg_lossy_gdcm.dcm": (
        "frame 0 differs: 255",
        "chrominance of half the size under the name of RGB, which dcmdjpeg takes for RGB"),
    **{name: ("frame 0 has status 14", "there are no Rows and no Columns")
       for name in ("meta_missing_tsyntax.dcm", "nested_priv_SQ.dcm")},
    "emri_small_jpeg_2k_lossless_too_short.dcm": (
        "10 frames without Pixel Data", "pydicom leaves Pixel Data without an end out"),
}

# Programs that compress a native file, to see more combinations than the files have.
ENCODERS = {"rle": ("dcmcrle",), "lossless": ("dcmcjpeg", "+e1"), "any": ("dcmcjpeg", "+el"),
            "baseline": ("dcmcjpeg", "+eb"), "extended": ("dcmcjpeg", "+ee"),
            "progressive": ("dcmcjpeg", "+ep"), "gdcm-rle": ("gdcmconv", "--rle"),
            "gdcm-jpeg": ("gdcmconv", "--jpeg"), "j2k": ("gdcmconv", "--j2k"),
            "j2k-lossy": ("gdcmconv", "--j2k", "--lossy", "-r", "10")}

Frame = collections.namedtuple("Frame", "number index status depth palette samples")
report = peers.Report(EXPLAINED)
counts = report.counts


def words_of_12_bits(packed):
    """Samples of 12 bits, of which two share three bytes."""
    bits = numpy.unpackbits(packed, axis=-1, bitorder="little")
    bits = bits[..., :bits.shape[-1] // 12 * 12].reshape(*bits.shape[:-1], -1, 12)
    return (bits.astype("<u2") << numpy.arange(12)).sum(-1).astype("<u2")


def frame_of(words, data):
    """A frame as show prints it; its samples are gray, or red, green and blue."""
    number, index, status, width, height, depth, colors, is_palette = map(int, words)
    if status:
        return Frame(number, index, status, 0, None, None)
    rows, palette = numpy.split(numpy.frombuffer(data, "u1"), [len(data) - colors * 4])
    rows, palette = rows.reshape(height, -1), palette.reshape(-1, 4)[:, 2::-1]
    if depth == 1:
        samples = numpy.unpackbits(rows, axis=1)[:, :width]
    elif depth == 12:
        samples = words_of_12_bits(rows)[:, :width]
    elif depth == 24:
        samples = rows.reshape(height, width, 3)[..., ::-1]
    else:
        samples = rows.view(f"<u{depth // 8}")
    return Frame(number, index, status, depth, palette, palette[samples] if is_palette and colors else samples)


def images_within(ds):
    """Data sets with Pixel Data, inner ones in their place."""
    for tag in ds.keys():
        try:
            element = ds[tag]
        except Exception:
            continue  # a value that its VR does not allow
        if element.VR == "SQ":
            for item in element.value:
                yield from images_within(item)
        elif tag == 0x7FE00010:
            yield ds


def converted(program, path):
    """What a program that unpacks compressed pixels makes of a file."""
    with tempfile.TemporaryDirectory() as folder:
        target = os.path.join(folder, "raw.dcm")
        if not run(program, path, target):
            raise ValueError(f"{program[0]} fails")
        ds = pydicom.dcmread(target, force=True)
        ds.PixelData  # reads it while the file is there
        return ds


def packed_words(ds):
    """The one frame of an image of 12 allocated bits."""
    words = words_of_12_bits(numpy.frombuffer(ds.PixelData, "u1"))
    yield words[:ds.Rows * ds.Columns].reshape(ds.Rows, ds.Columns)


def packed_rle(ds):
    """Frames of one bit in RLE, which none of the programs read: eight pixels to a byte."""
    for frame in pydicom.encaps.generate_pixel_data_frame(ds.PixelData, ds.NumberOfFrames):
        segment = pydicom.pixel_data_handlers.rle_handler._rle_decode_segment(frame[64:])
        bits = numpy.unpackbits(numpy.frombuffer(segment, "u1"), bitorder="little")
        yield bits[:ds.Rows * ds.Columns].reshape(ds.Rows, ds.Columns)


def decoded(ds, path, frames):
    """A data set whose pixels pydicom can read."""
    syntax = syntax_of(ds)
    if syntax in J2K:
        return converted(("gdcmconv", "--raw"), path)
    if syntax in JPEG:
        try:
            return converted(("dcmdjpeg",), path)
        except ValueError:
            return converted(("gdcmconv", "--raw"), path)
    if not ds.is_little_endian and ds.BitsAllocated == 32:
        # Words of 16 bits are turned, the low one comes first; pydicom turns all four bytes.
        return converted(("gdcmconv", "--raw"), path)
    if frames != ds.get("NumberOfFrames", 1):
        counts["files whose frames are not as many as they say"] += 1
        ds = copy.deepcopy(ds)
        ds.NumberOfFrames = frames
    return ds


def reference_frames(ds, path, frames):
    """Frames as an independent decoder has them, in the form of show_pixels."""
    if syntax_of(ds) == RLE and ds.BitsAllocated == 1:
        return list(packed_rle(ds))
    if ds.BitsAllocated == 12:
        return list(packed_words(ds))
    ds = decoded(ds, path, frames)
    array = ds.pixel_array
    color = ds.get("SamplesPerPixel", 1) == 3
    if array.ndim == (3 if color else 2):
        array = array[numpy.newaxis]
    return [as_shown(frame, ds) for frame in array]


def as_shown(frame, ds):
    photometric = ds.PhotometricInterpretation
    if photometric == "PALETTE COLOR":
        colors = apply_color_lut(frame, ds)
        return (colors >> 8 if colors.dtype.itemsize == 2 else colors).astype("u1")
    if ds.BitsAllocated == 1 and photometric == "MONOCHROME1":
        return frame * 255  # the palette of 8 bits inverts
    if ds.get("SamplesPerPixel", 1) == 1:
        return frame.astype(frame.dtype.newbyteorder("<")).view(f"<u{frame.dtype.itemsize}")
    if photometric.startswith("YBR_FULL"):
        frame = convert_color_space(frame, "YBR_FULL", "RGB")
    return (frame >> max(0, ds.BitsStored - 8)).astype("u1")


def tolerance(ds):
    syntax = syntax_of(ds)
    if syntax in LOSSY:
        return 2 if syntax in J2K or ds.BitsStored > 8 else 1
    return 1 if ds.PhotometricInterpretation.startswith("YBR_FULL") else 0


def values(words, ds):
    """Stored values as numbers, without what stands above the stored bits."""
    bits = ds.BitsStored
    numbers = words.astype("i8") & ((1 << bits) - 1)
    if ds.get("PixelRepresentation", 0):
        numbers = (numbers ^ 1 << (bits - 1)) - (1 << (bits - 1))
    return numbers


def difference(frame, other, ds):
    """None if equal, a text, or the greatest distance."""
    if frame.samples.shape != other.shape:
        return f"{frame.samples.shape}, {other.shape}"
    if numpy.array_equal(frame.samples, other):
        return None
    ours, theirs = frame.samples.astype("i8"), other.astype("i8")
    if frame.samples.ndim == 2 and syntax_of(ds) in JPEG + J2K:
        ours, theirs = values(ours, ds), values(theirs, ds)
        if numpy.array_equal(ours, theirs):
            counts["frames equal but for what stands above the stored bits"] += 1
            return None
    return int(abs(ours - theirs).max())


def palette_fault(frame, ds):
    """The gray palette runs from white to black where the least value is white."""
    if frame.samples.ndim == 3 or frame.depth != 8:
        return None
    wanted, first = 255 * (ds.PhotometricInterpretation == "MONOCHROME1"), frame.palette[0, 0]
    return None if first == wanted else f"the gray palette begins with {first}"


def compare_image(ds, path, frames):
    """Differences of the frames of one image."""
    failed = [frame for frame in frames if frame.status]
    if failed:
        return [f"frame {frame.index} has status {frame.status}" for frame in failed]
    try:
        others = reference_frames(ds, path, len(frames))
    except Exception as error:
        return [f"no other decoder: {error}"]
    found = []
    if len(others) != len(frames):
        found.append(f"{len(frames)} frames, {len(others)} elsewhere")
    for frame, other in zip(frames, others):
        counts["frames"] += 1
        distance = difference(frame, other, ds)
        fault = palette_fault(frame, ds)
        if fault:
            found.append(fault)
        if distance is None:
            counts["frames equal"] += 1
        elif isinstance(distance, int) and distance <= tolerance(ds):
            counts[f"frames within {distance}"] += 1
        else:
            found.append(f"frame {frame.index} differs: {distance}")
    return found


def compare(path, frames):
    ds = peers.read(path)
    images = list(images_within(ds))
    syntax = syntax_of(ds)
    if not images:
        counts["files without Pixel Data"] += 1
        return [f"{len(frames)} frames without Pixel Data"] if frames else []
    if syntax in SKIPPED:
        counts[f"skipped: {SKIPPED[syntax]}"] += 1
        return []
    counts["files"] += 1
    found = []
    for number, image in enumerate(images):
        if image is not ds:
            # Pictures within sequences are native, whatever the image is.
            image.file_meta = copy.deepcopy(ds.file_meta)
            image.file_meta.TransferSyntaxUID = NATIVE[1] if ds.is_little_endian else NATIVE[2]
            image.is_little_endian = ds.is_little_endian
            image.is_implicit_VR = ds.is_implicit_VR
        found += compare_image(image, path, [f for f in frames if f.number == number])
    return found


# Images made here: photometric interpretation, samples, bits allocated, bits stored, high bit,
# sign, planes, frames. Odd widths and heights, so that no row ends where a word does.
MADE = (("MONOCHROME1", 1, 8, 8, 7, 0, 0, 1), ("MONOCHROME2", 1, 8, 8, 7, 1, 0, 2),
        ("MONOCHROME2", 1, 8, 6, 5, 0, 0, 1), ("MONOCHROME2", 1, 1, 1, 0, 0, 0, 3),
        ("MONOCHROME1", 1, 1, 1, 0, 0, 0, 2), ("MONOCHROME2", 1, 16, 10, 11, 0, 0, 1),
        ("MONOCHROME2", 1, 16, 12, 11, 1, 0, 2), ("MONOCHROME1", 1, 16, 16, 15, 1, 0, 1),
        ("MONOCHROME2", 1, 32, 32, 31, 1, 0, 1), ("RGB", 3, 8, 8, 7, 0, 1, 2),
        ("RGB", 3, 16, 16, 15, 0, 1, 1), ("RGB", 3, 16, 12, 11, 0, 0, 2),
        ("YBR_FULL", 3, 8, 8, 7, 0, 1, 2), ("YBR_FULL", 3, 8, 8, 7, 0, 0, 1),
        ("YBR_FULL_422", 3, 8, 8, 7, 0, 0, 2), ("PALETTE COLOR", 1, 8, 8, 7, 0, 0, 2),
        ("PALETTE COLOR", 1, 16, 16, 15, 0, 0, 1), ("PALETTE COLOR", 1, 16, 16, 15, 1, 0, 1))


def add_palette(ds, numbers):
    """Tables of 16 bits, of which the last index is not the last value of the samples."""
    first = -200 if ds.PixelRepresentation else 5
    entries = 200 if ds.BitsAllocated == 8 else 1000
    for name in ("Red", "Green", "Blue"):
        descriptor = pydicom.DataElement(f"{name}PaletteColorLookupTableDescriptor",
                                         "SS" if ds.PixelRepresentation else "US",
                                         [entries, first, 16])
        ds.add(descriptor)
        table = numbers.integers(0, 65536, entries).astype("<u2").tobytes()
        setattr(ds, f"{name}PaletteColorLookupTableData", table)


def make(row, path):
    photometric, samples, allocated, stored, high, sign, planes, frames = row
    numbers = numpy.random.default_rng(7)
    ds = copy.deepcopy(pydicom.dcmread(pydicom.data.get_testdata_file("CT_small.dcm")))
    for name in ("RescaleSlope", "RescaleIntercept", "SmallestImagePixelValue",
                 "LargestImagePixelValue", "PixelPaddingValue"):
        if name in ds:
            delattr(ds, name)
    ds.PhotometricInterpretation, ds.SamplesPerPixel = photometric, samples
    ds.NumberOfFrames = frames
    ds.BitsAllocated, ds.BitsStored, ds.HighBit = allocated, stored, high
    ds.PixelRepresentation = sign
    ds.Rows, ds.Columns = 33, 38 if photometric.endswith("422") else 37
    if samples == 3:
        ds.PlanarConfiguration = planes
    if photometric == "PALETTE COLOR":
        add_palette(ds, numbers)
    count = ds.Rows * ds.Columns * frames * (2 if photometric.endswith("422") else samples)
    values_ = numbers.integers(0, 1 << stored, count) << (high + 1 - stored)
    if photometric == "PALETTE COLOR" and allocated == 16:
        values_ = numbers.integers(-300 if sign else 0, 1200, count)
    if allocated == 1:
        data = numpy.packbits(values_.astype("u1"), bitorder="little").tobytes()
    else:
        data = (values_ & ((1 << allocated) - 1)).astype(f"<u{allocated // 8}").tobytes()
    ds.PixelData = data + b"\0" * (len(data) % 2)
    ds["PixelData"].VR = "OW"
    ds.save_as(path)
    return path


def format_of(path):
    """What tells a native image from others for a codec; None for what is no native image."""
    try:
        ds = pydicom.dcmread(path)
        if syntax_of(ds) not in NATIVE[:2] or len(ds.PixelData) > 2000000:
            return None
        return tuple(ds.get(name) for name in (
            "BitsAllocated", "BitsStored", "HighBit", "PixelRepresentation", "SamplesPerPixel",
            "PhotometricInterpretation", "PlanarConfiguration", "NumberOfFrames"))
    except Exception:
        return None


def compress(paths, folder):
    """Compressed forms of one native image of each format."""
    chosen = {format_of(path): path for path in paths}
    chosen.pop(None, None)
    for form, path in chosen.items():
        for name, program in ENCODERS.items():
            # gdcmconv does not read its own codestreams of 32 bits; JPEG has no single bits.
            if (form[0] == 32 and "j2k" in name) or (form[0] == 1 and name == "gdcm-jpeg"):
                continue
            target = os.path.join(folder, f"{os.path.basename(path)}.{name}")
            if run(program, path, target):
                yield target


def compare_all(title, paths):
    for status, path, lines in peers.shown("pixels", list(paths)):
        if status:
            counts["files not loaded"] += 1
            continue
        found = compare(path, [frame_of(words, data) for words, data in lines])
        if not found and os.path.basename(path) in EXPLAINED:
            found = ["does not differ as it should"]
        report.tell(path, found)
    empty = not counts["frames"]
    report.show(title)
    return empty


def main():
    peers.need("dcmdjpeg", "dcmcjpeg", "dcmcrle", "gdcmconv")
    paths = list(peers.files())
    with tempfile.TemporaryDirectory() as folder:
        made = [make(row, os.path.join(folder, f"made{i}.dcm")) for i, row in enumerate(MADE)]
        empty = [compare_all("files", paths), compare_all("made here", made),
                 compare_all("compressed here", compress([*made, *paths], folder))]
    return report.end() or any(empty)


if __name__ == "__main__":
    sys.exit(main())
