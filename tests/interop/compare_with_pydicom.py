#!/usr/bin/env python3
"""Compares the elements of files with what pydicom reads of them. Its program is show; see
peers.py. Differences that a rule below explains are counted by rule."""

import itertools
import struct
import sys

import peers
from peers import pydicom
from pydicom.dataelem import RawDataElement

UNITS = {"AT": 2, "US": 2, "SS": 2, "OW": 2, "UL": 4, "SL": 4, "FL": 4, "OF": 4, "OL": 4,
         "FD": 8, "OD": 8, "OV": 8, "SV": 8, "UV": 8}
UNDEFINED = 0xFFFFFFFF
NUMBERS = {"US": "H", "SS": "h", "UL": "I", "SL": "i", "FL": "f", "FD": "d"}


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
    """The elements of a pydicom data set, in the form of show."""

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


AMBIGUOUS = {0x00280000 | element: {"US", "SS", "OW"} for element in (
    0x0106, 0x0107, 0x0108, 0x0109, 0x0110, 0x0111, 0x0120, 0x0121, 0x1101, 0x1102, 0x1103, 0x3002,
    0x3006, 0x1201, 0x1202, 0x1203)}
AMBIGUOUS.update((group << 16 | 0x3000, {"OB", "OW"}) for group in range(0x6000, 0x6020, 2))
AMBIGUOUS.update((0x54000000 | element, {"OB", "OW"})
                 for element in (0x0110, 0x0112, 0x100A, 0x1010))
# pydicom does not return Pixel Data whose sequence has no end.
WITHOUT_PIXELS = ("emri_small_jpeg_2k_lossless_too_short.dcm",)
report = peers.Report()


def explain(ours, theirs):
    """The rule that explains a difference, None if there is no difference, '' if unexplained."""
    depth, tag, vr, length, value = ours
    t_depth, t_tag, t_vr, t_length, t_value = theirs
    if (depth, tag) != (t_depth, t_tag):
        return ""
    if t_value is not None and len(t_value) < t_length != UNDEFINED:
        return "value cut off by the end of the file" if len(value) < length else ""
    is_same = length == t_length and (t_value is None or value == t_value)
    if vr not in t_vr.split(" or "):
        if tag == 0x7FE00010 and {vr, t_vr} <= {"OB", "OW"}:
            return "Pixel Data without compression has VR OW"
        if "UN" in (vr, t_vr):
            return "tag known to one dictionary only"
        if {vr, t_vr} <= AMBIGUOUS.get(tag, set()):
            return "VR that depends on other attributes"
        return is_same and (
            f"dictionaries of different years: ({tag >> 16:04X},{tag & 0xFFFF:04X}) {vr}, {t_vr}")
    if is_same:
        return None
    return "odd length, padded by the load" if t_length % 2 and length == t_length + 1 else ""


def show(line):
    return line and f"{line[0]} ({line[1]:08X}) {line[2]} {line[3]:X} {line[4] and line[4][:16]}"


def compare(path, lines):
    """Differences that no rule explains, up to the fifth."""
    ours = [(int(depth), int(tag, 16), vr, int(length, 16), value)
            for (depth, tag, vr, length), value in lines]
    report.counts["elements"] += len(ours)
    if path.endswith(WITHOUT_PIXELS):
        report.counts["Pixel Data without an end, which pydicom leaves out"] += 1
        ours = ours[:[line[1] for line in ours].index(0x7FE00010)]
    found = []
    for a, b in itertools.zip_longest(ours, Reference(path).lines):
        rule = explain(a, b) if a and b else ""
        if rule is None:
            continue
        text = f"{show(a)} against {show(b)}"
        if rule:
            report.counts[rule] += 1
            report.lines += [f"  {path}: {text}: {rule}"] if peers.LIST else []
            continue
        found.append(text)
        if len(found) == 5:
            break
    return found


def main():
    for status, path, lines in peers.shown("elements", list(peers.files())):
        if status:
            report.counts[f"files not loaded, with status {status}"] += 1
            continue
        report.counts["files"] += 1
        report.tell(path, compare(path, lines))
    return report.end("files", "elements")


if __name__ == "__main__":
    sys.exit(main())
