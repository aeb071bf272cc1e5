"""What the comparisons with independent programs share.

Usage of each: SCRIPT [--list] PROGRAM FILE_OR_FOLDER...
PROGRAM is the one of this folder that the script names. A line is printed per difference that
nothing explains, with --list per explained one, too; then counts. A script exits with 1 if anything
is unexplained, with 77 if a program or module that it needs is not there.
"""

import collections
import os
import shutil
import subprocess
import sys
import warnings

LIST = "--list" in sys.argv
PROGRAM, *PLACES = [argument for argument in sys.argv[1:] if argument != "--list"]


def skip(what):
    print(f"not there: {what}")
    sys.exit(77)


try:
    import numpy
    import pydicom
    import pydicom.data
except ImportError as error:
    skip(error.name)

warnings.simplefilter("ignore")
pydicom.config.settings.reading_validation_mode = pydicom.config.IGNORE

PREFIX = "1.2.840.10008.1.2"
NATIVE = (PREFIX, PREFIX + ".1", PREFIX + ".2")
RLE = PREFIX + ".5"
J2K = (PREFIX + ".4.90", PREFIX + ".4.91")
OTHERS = ("README", ".py", ".pyc", ".json", ".dump", ".txt", ".gz", ".pem", ".tsv", ".md")


def need(*programs):
    missing = [program for program in programs if not shutil.which(program)]
    if missing:
        skip(", ".join(missing))


def files():
    for place in PLACES:
        if os.path.isfile(place):
            yield place
        for folder, _, names in sorted(os.walk(place)):
            yield from (os.path.join(folder, name) for name in sorted(names)
                        if not name.endswith(OTHERS))


def run(program, path, target, *options):
    """True if a program makes a file of another one."""
    result = subprocess.run([*program, path, target, *options], stdout=subprocess.DEVNULL,
                            stderr=subprocess.DEVNULL, check=False)
    return result.returncode == 0 and os.path.exists(target)


def shown(what, paths):
    """The files as the program show tells of them: status, path, and words and bytes of lines."""
    file = None
    with subprocess.Popen([PROGRAM, what, *paths], stdout=subprocess.PIPE) as process:
        while line := process.stdout.readline():
            size, *words = line.decode("latin-1").rstrip("\n").split(" ")
            if words[0] != "file":
                file[2].append((words, process.stdout.read(int(size))))
                continue
            if file:
                yield file
            file = int(words[1]), " ".join(words[2:]), []
    if file:
        yield file
    if process.returncode:
        sys.exit(f"{PROGRAM} ends with {process.returncode}")


def syntax_of(ds):
    return str(ds.file_meta.get("TransferSyntaxUID", NATIVE[0]))


def read(path):
    """The data set of a file, with a transfer syntax if it names none."""
    ds = pydicom.dcmread(path, force=True)
    if "TransferSyntaxUID" not in ds.get("file_meta", ()):
        ds.file_meta = pydicom.dataset.FileMetaDataset()
        ds.file_meta.TransferSyntaxUID = NATIVE[0] if ds.is_implicit_VR else NATIVE[1]
    return ds


class Report:
    """Counts what there was to compare, and tells of differences."""

    def __init__(self, explained=None):
        """The explanations: by a name of a file, maybe with a transfer syntax, how each difference
        may begin and why."""
        self.explained, self.unexplained = explained or {}, 0
        self.counts = collections.Counter()
        self.lines = []

    def tell(self, path, found, syntax=""):
        if not found:
            return
        name, line = os.path.basename(path), f"  {path}{syntax and ' as ' + syntax}"
        line += f": {'; '.join(found[:3])}"
        beginnings, reason = self.explained.get((name, syntax)) or self.explained.get(
            name, ((), ""))
        if not all(text.startswith(beginnings) for text in found):
            self.unexplained += 1
            self.lines.append(line)
            return
        self.counts["with explained differences"] += 1
        if LIST:
            self.lines.append(f"{line}: {reason}")

    def add(self, other):
        self.counts.update(other.counts)
        self.unexplained += other.unexplained
        self.lines += other.lines

    def show(self, title="compared"):
        """Prints what there is since the last time."""
        lines = [*self.lines, f"{title}:"]
        lines += [f"  {number:6} {what}" for what, number in sorted(self.counts.items())]
        print("\n".join(lines), flush=True)
        self.lines.clear()
        self.counts.clear()

    def end(self, *needed):
        """Status of the script; each of these things has to have been counted."""
        empty = [what for what in needed if not self.counts[what]]
        self.show()
        print(f"{self.unexplained} differences without an explanation", *empty)
        return 1 if self.unexplained or empty else 0
