#!/usr/bin/env python3
"""Compares the frames that show_pixels decodes with those of independent decoders.

Usage: compare_pixels.py [--list] SHOW_PIXELS FILE_OR_FOLDER...
The others are pydicom for native and RLE frames, dcmdjpeg for JPEG and gdcmconv for JPEG 2000, and
for JPEG that dcmdjpeg does not decode. Next to the files, images made here are compared, and what
dcmtk and gdcmconv compress one native image of each format to. Prints one line per difference that
EXPLAINED does not hold, then counts; exits 1 if anything is unexplained.
"""

import collections
import copy
import os
import shutil
import subprocess
import sys
import tempfile
import warnings

from compare_with_pydicom import files_below

try:
    import numpy
    import pydicom
    import pydicom.data
    from pydicom.pixel_data_handlers.util import apply_color_lut, convert_color_space
except ImportError:
    print("pydicom or numpy is not installed")
    sys.exit(77)

warnings.simplefilter("ignore")
pydicom.config.settings.reading_validation_mode = pydicom.config.IGNORE

LIST = "--list" in sys.argv
NATIVE = ("1.2.840.10008.1.2", "1.2.840.10008.1.2.1", "1.2.840.10008.1.2.2")
RLE = "1.2.840.10008.1.2.5"
JPEG = tuple(f"1.2.840.10008.1.2.4.{n}" for n in (50, 51, 53, 55, 57, 70))
J2K = ("1.2.840.10008.1.2.4.90", "1.2.840.10008.1.2.4.91")
LOSSY = tuple(f"1.2.840.10008.1.2.4.{n}" for n in (50, 51, 53, 55, 91))
SKIPPED = {"1.2.840.10008.1.2.4.80": "JPEG-LS", "1.2.840.10008.1.2.4.81": "JPEG-LS",
           "1.2.840.10008.1.2.1.99": "deflated", "1.2.840.10008.1.2.4.100": "MPEG",
           "1.2.840.10008.1.2.4.101": "MPEG"}

# File name: what differs, and why.
EXPLAINED = {
    "JPEG2000-embedded-sequence-delimiter.dcm": (
        "frame 0 has status 10",
        "a code stream made of bytes that look like a delimiter; gdcmconv fails, too"),
    "MR_truncated.dcm": ("frame 0 has status 5", "the file ends within its only frame"),
    "SC_rgb_rle_32bit.dcm": (
        "frame 0 has status 8", "no bitmap has colour of 32 bits a component"),
    "SC_rgb_rle_32bit_2frame.dcm": (
        "frame 0 has status 8", "no bitmap has colour of 32 bits a component"),
    "SC_rgb_jpeg_lossy_gdcm.dcm": (
        "frame 0 differs: 255",
        "chrominance of half the size under the name of RGB, which dcmdjpeg takes for RGB"),
    "meta_missing_tsyntax.dcm": ("frame 0 has status 14", "there are no Rows and no Columns"),
    "nested_priv_SQ.dcm": ("frame 0 has status 14", "there are no Rows and no Columns"),
    "emri_small_jpeg_2k_lossless_too_short.dcm": (
        "10 frames without Pixel Data", "pydicom leaves Pixel Data without an end out"),
}

# Programs that compress a native file, to see more combinations than the files have.
ENCODERS = {"rle": ("dcmcrle",), "lossless": ("dcmcjpeg", "+e1"), "any": ("dcmcjpeg", "+el"),
            "baseline": ("dcmcjpeg", "+eb"), "extended": ("dcmcjpeg", "+ee"),
            "progressive": ("dcmcjpeg", "+ep"), "gdcm-rle": ("gdcmconv", "--rle"),
            "gdcm-jpeg": ("gdcmconv", "--jpeg"), "j2k": ("gdcmconv", "--j2k"),
            "j2k-lossy": ("gdcmconv", "--j2k", "--lossy", "-r", "10")}

Frame = collections.namedtuple("Frame", "number index status kind width height bytes first samples")
counts = collections.Counter()


def read_frames(stream):
    """The files of show_pixels' output as (status, path, frames)."""
    status, path, frames = None, None, []
    while line := stream.readline():
        words = line.decode().rstrip("\n").split(" ")
        if words[0] == "file":
            if path:
                yield status, path, frames
            status, path, frames = int(words[1]), " ".join(words[2:]), []
            continue
        number, index, frame_status, kind, width, height, size, first = words[1:]
        width, height, size = int(width), int(height), int(size)
        channels = 3 if kind == "color" else 1
        bytes_ = stream.read(width * height * size * channels)
        samples = numpy.frombuffer(bytes_, f"<u{size}" if size else "u1")
        if kind == "color":
            samples = samples.reshape(height, width, 3)
        elif kind == "gray":
            samples = samples.reshape(height, width)
        frames.append(Frame(int(number), int(index), int(frame_status), kind, width, height, size,
                            int(first), samples))
    if path:
        yield status, path, frames


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


def run(program, path, target):
    """True if a program makes a file of another one."""
    result = subprocess.run([*program, path, target], stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, check=False)
    return result.returncode == 0 and os.path.exists(target)


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
    """The samples of 12 allocated bits, of which two share three bytes."""
    packed = numpy.frombuffer(ds.PixelData, "u1")
    triples = packed[:len(packed) // 3 * 3].reshape(-1, 3).astype("<u2")
    low = triples[:, 0] | (triples[:, 1] & 15) << 8
    high = triples[:, 1] >> 4 | triples[:, 2] << 4
    samples = numpy.stack((low, high), 1).ravel()
    yield samples[:ds.Rows * ds.Columns].reshape(ds.Rows, ds.Columns)


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


def syntax_of(ds):
    return str(ds.file_meta.get("TransferSyntaxUID", NATIVE[0]))


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
        return f"{frame.kind} {frame.samples.shape}, {other.shape}"
    if numpy.array_equal(frame.samples, other):
        return None
    ours, theirs = frame.samples.astype("i8"), other.astype("i8")
    if frame.kind == "gray" and syntax_of(ds) in JPEG + J2K:
        ours, theirs = values(ours, ds), values(theirs, ds)
        if numpy.array_equal(ours, theirs):
            counts["frames equal but for what stands above the stored bits"] += 1
            return None
    return int(abs(ours - theirs).max())


def palette_fault(frame, ds):
    """The gray palette runs from white to black where the least value is white."""
    if frame.kind != "gray" or frame.bytes != 1 or ds.BitsAllocated == 1:
        return None
    wanted = 255 if ds.PhotometricInterpretation == "MONOCHROME1" else 0
    return None if frame.first == wanted else f"the gray palette begins with {frame.first}"


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
    ds = pydicom.dcmread(path, force=True)
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
        elif "TransferSyntaxUID" not in ds.get("file_meta", ()):
            image.file_meta = pydicom.dataset.FileMetaDataset()
            image.file_meta.TransferSyntaxUID = NATIVE[0] if ds.is_implicit_VR else NATIVE[1]
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


def report(path, found):
    """Number of differences that nothing explains."""
    text = "; ".join(found[:3])
    expected, reason = EXPLAINED.get(os.path.basename(path), (None, None))
    if expected and found and found[0] == expected:
        counts["files explained"] += 1
        if LIST:
            print(f"  {path}: {text}: {reason}")
        return 0
    if expected or found:
        print(f"  {path}: {text or 'does not differ as it should'}")
    return max(len(found), 1 if expected else 0)


def compare_all(program, paths):
    unexplained = 0
    process = subprocess.Popen([program, *paths], stdout=subprocess.PIPE)
    for status, path, frames in read_frames(process.stdout):
        if status:
            counts["files not loaded"] += 1
        else:
            unexplained += report(path, compare(path, frames))
    return unexplained + (1 if process.wait() else 0)


def main():
    programs = ("dcmdjpeg", "dcmcjpeg", "dcmcrle", "gdcmconv")
    missing = [program for program in programs if not shutil.which(program)]
    if missing:
        print(f"not installed: {', '.join(missing)}")
        return 77
    arguments = [argument for argument in sys.argv[1:] if argument != "--list"]
    paths = list(files_below(arguments[1:]))
    unexplained = 0
    with tempfile.TemporaryDirectory() as folder:
        made = [make(row, os.path.join(folder, f"made{i}.dcm")) for i, row in enumerate(MADE)]
        compressed = compress([*made, *paths], folder)
        for title, files in (("files", paths), ("made here", made),
                             ("compressed here", compressed)):
            counts.clear()
            unexplained += compare_all(arguments[0], list(files))
            print(f"{title}:")
            for count, number in sorted(counts.items()):
                print(f"  {number:6} {count}")
    print(f"{unexplained} differences without an explanation")
    return 1 if unexplained or not counts["frames"] else 0


if __name__ == "__main__":
    sys.exit(main())
