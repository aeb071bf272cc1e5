#!/usr/bin/env python3
"""Compares what list_elements prints with what pydicom reads of the same files.

Usage: compare_with_pydicom.py [--list] LIST_ELEMENTS FILE_OR_FOLDER...
Prints one line per difference that no rule below explains, then a count per rule; exits 1 if
anything is unexplained. With --list the differences that a rule explains are printed, too.
"""

import collections
import os
import struct
import subprocess
import sys
import warnings
import zlib

try:
    import pydicom
    from pydicom.dataelem import RawDataElement
except ImportError:
    print("pydicom is not installed")
    sys.exit(77)

warnings.simplefilter("ignore")
pydicom.config.settings.reading_validation_mode = pydicom.config.IGNORE

UNITS = {"AT": 2, "US": 2, "SS": 2, "OW": 2, "UL": 4, "SL": 4, "FL": 4, "OF": 4, "OL": 4,
         "FD": 8, "OD": 8, "OV": 8, "SV": 8, "UV": 8}
UNDEFINED = 0xFFFFFFFF
NUMBERS = {"US": "H", "SS": "h", "UL": "I", "SL": "i", "FL": "f", "FD": "d"}
LIST = "--list" in sys.argv
explained = collections.Counter()


def swap(value, unit):
    whole = len(value) - len(value) % unit
    swapped = bytearray(value)
    for i in range(unit):
        swapped[i:whole:unit] = value[unit - 1 - i:whole:unit]
    return bytes(swapped)


def plain_bytes(element):
    """The stored bytes of a short text that pydicom has converted already."""
    if element.value is None or element.is_empty:
        return b""
    if isinstance(element.value, bytes):
        return element.value
    single = isinstance(element.value, str) or not hasattr(element.value, "__iter__")
    values = [element.value] if single else element.value
    if element.VR in NUMBERS:
        return struct.pack(f"<{len(values)}{NUMBERS[element.VR]}", *values)
    text = "\\".join(str(v) for v in values).encode("latin-1")
    return text + (b"\0" if element.VR == "UI" else b" ") * (len(text) % 2)


class Reference:
    """The elements of a pydicom data set, in the form of list_elements."""

    def __init__(self, path):
        self.lines = []
        ds = pydicom.dcmread(path, force=True)
        self.encoding = (ds.is_little_endian, ds.is_implicit_VR)
        early = [tag for tag in ds.keys() if tag.group < 2]
        for tag in early:
            self.element(ds, tag, 0)
        self.walk(ds.file_meta, 0)
        for tag in sorted(set(ds.keys()) - set(early)):
            self.element(ds, tag, 0)

    def walk(self, ds, depth):
        for tag in sorted(ds.keys()):
            self.element(ds, tag, depth)

    def element(self, ds, tag, depth):
        if tag.element == 0 or tag == 0xFFFCFFFC:
            return
        raw = ds.get_item(tag)
        is_raw = isinstance(raw, RawDataElement)
        value, little, length = (raw.value or b"", raw.is_little_endian, raw.length) if is_raw \
            else (None, True, UNDEFINED)
        try:
            element = ds[tag]
            vr = element.VR
        except Exception:
            element, vr = None, raw.VR or "UN"
        if vr == "SQ" and element is not None:
            self.lines.append((depth, int(tag), "SQ", UNDEFINED, None))
            for item in element.value:
                self.lines.append((depth + 1, 0xFFFEE000, "OB", UNDEFINED, None))
                self.walk(item, depth + 2)
            return
        if value is None:
            value = plain_bytes(raw)
            length = len(value)
        if tag == 0x7FE00010 and (
                length == UNDEFINED or getattr(raw, "is_undefined_length", False)):
            self.fragments(depth, value)
            return
        if not little:
            value = swap(value, UNITS.get((raw.VR or vr)[:2], 1))
        self.lines.append((depth, int(tag), vr, length, value))

    def fragments(self, depth, value):
        self.lines.append((depth, 0x7FE00010, "OB", UNDEFINED, None))
        place = 0
        while place + 8 <= len(value):
            length = int.from_bytes(value[place + 4:place + 8], "little")
            fragment = value[place + 8:place + 8 + length]
            self.lines.append((depth + 1, 0xFFFEE000, "OB", length, fragment))
            place += 8 + length


def same_vr(ours, theirs):
    return ours == theirs or ours in theirs.split(" or ")


def explain(ours, theirs, reference):
    """The rule that explains a difference, None if there is no difference, '' if unexplained."""
    depth, tag, vr, length, crc = ours
    t_depth, t_tag, t_vr, t_length, t_value = theirs
    if (depth, tag) != (t_depth, t_tag):
        return ""
    if t_value is not None and len(t_value) < t_length != UNDEFINED:
        return "value cut off by the end of the file" if crc.startswith("!") else ""
    if not same_vr(vr, t_vr):
        if tag == 0x7FE00010 and {vr, t_vr} <= {"OB", "OW"}:
            return "Pixel Data without compression has VR OW"
        if t_vr == "UN" or vr == "UN":
            return "tag known to one dictionary only"
        row = AMBIGUOUS.get(tag)
        if row is not None and {vr, t_vr} <= row:
            return "VR that depends on other attributes"
        if same_length_and_value(length, crc, t_length, t_value):
            return f"dictionaries of different years: ({tag >> 16:04X},{tag & 0xFFFF:04X}) " \
                   f"{vr}, {t_vr}"
        return ""
    if same_length_and_value(length, crc, t_length, t_value):
        return None
    if t_length % 2 and length == t_length + 1:
        return "odd length, padded by the load"
    return ""


AMBIGUOUS = collections.defaultdict(lambda: None)
for element in (0x0106, 0x0107, 0x0108, 0x0109, 0x0110, 0x0111, 0x0120, 0x0121, 0x1101, 0x1102,
                0x1103, 0x3002, 0x3006, 0x1201, 0x1202, 0x1203):
    AMBIGUOUS[0x00280000 | element] = {"US", "SS", "OW"}
for group in range(0x6000, 0x6020, 2):
    AMBIGUOUS[group << 16 | 0x3000] = {"OB", "OW"}
for element in (0x0110, 0x0112, 0x100A, 0x1010):
    AMBIGUOUS[0x54000000 | element] = {"OB", "OW"}


def same_length_and_value(length, crc, t_length, t_value):
    if t_value is None:
        return length == UNDEFINED
    return length == t_length and crc == f"{zlib.crc32(t_value):08X}"


def parse(lines):
    for line in lines:
        depth, tag, vr, length, crc = line.split(" ")
        yield int(depth), int(tag, 16), vr, int(length, 16), crc


# pydicom does not return Pixel Data whose sequence has no end.
WITHOUT_PIXELS = ("emri_small_jpeg_2k_lossless_too_short.dcm",)


def compare(path, lines):
    if path.endswith(WITHOUT_PIXELS):
        explained["Pixel Data without an end, which pydicom leaves out"] += 1
        lines = lines[:next(i for i, line in enumerate(lines) if " 7FE00010 " in line)]
    reference = Reference(path)
    ours = list(parse(lines))
    unexplained = 0
    i = j = 0
    while i < len(ours) or j < len(reference.lines):
        a = ours[i] if i < len(ours) else None
        b = reference.lines[j] if j < len(reference.lines) else None
        rule = explain(a, b, reference) if a and b else ""
        if rule == "":
            unexplained += 1
            shown = None if b is None else b[:4] + (b[4][:16] if b[4] else b[4],)
            print(f"  {path}: {show(a)} against {shown and show(shown)}")
            if unexplained >= 5:
                break
        elif rule:
            explained[rule] += 1
            if LIST:
                print(f"  {path}: {show(a)} against {show(b[:4] + ('',))}: {rule}")
        i += 1
        j += 1
    return unexplained


def show(line):
    return line and f"{line[0]} ({line[1]:08X}) {line[2]} {line[3]:X} {line[4]}"


def files_below(paths):
    skipped = ("README", ".py", ".pyc", ".json", ".dump", ".txt", ".gz", ".pem", ".tsv", ".md")
    for path in paths:
        if os.path.isfile(path):
            yield path
        for folder, _, names in sorted(os.walk(path)):
            for name in sorted(names):
                if not name.endswith(skipped):
                    yield os.path.join(folder, name)


def main():
    arguments = [argument for argument in sys.argv[1:] if argument != "--list"]
    program, paths = arguments[0], list(files_below(arguments[1:]))
    output = subprocess.run([program, *paths], stdout=subprocess.PIPE, check=True).stdout
    blocks = output.decode("latin-1").split("file ")[1:]
    unexplained = elements = loaded = 0
    refused = []
    for block in blocks:
        lines = block.splitlines()
        status, _, path = lines[0].split(" ", 2)
        if status != "0":
            refused.append((status, path))
            continue
        loaded += 1
        elements += len(lines) - 1
        unexplained += compare(path, lines[1:])
    print(f"{loaded} files and {elements} elements compared, {len(refused)} files not loaded")
    for status, path in refused:
        print(f"  status {status}: {path}")
    for rule, count in sorted(explained.items()):
        print(f"  {count:6} {rule}")
    print(f"{unexplained} differences without an explanation")
    return 1 if unexplained else 0


if __name__ == "__main__":
    sys.exit(main())
