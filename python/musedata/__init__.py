"""MuseData <-> MusicXML conversion for Python.

    >>> import musedata
    >>> text = musedata.to_musicxml(["examples/minuet"])
    >>> musedata.import_files("op4n05-04.msd", "op4n05-04.mxl")

Warnings that do not stop a conversion go to Python's ``warnings`` module as
``musedata.ConverterWarning``; every error of the converter is raised as
``musedata.ConverterError``. The conversions release the GIL.
"""

import os
import re
import warnings

from . import _musedata

__all__ = [
    "ConverterError",
    "ConversionStopped",
    "Cancelled",
    "ConverterWarning",
    "to_musicxml",
    "import_files",
    "to_musedata",
    "export_part",
]


class ConverterError(Exception):
    """An error of the converter: its number (0x80040000 + n for the
    converter's own errors, so negative as the signed 32-bit value the library
    uses, or a classic run-time number such as 53 "File not found"), the source
    that raised it and its description."""

    def __init__(self, number, source, description):
        super().__init__(number, source, description)
        self.number = number
        self.source = source
        self.description = description

    def __str__(self):
        return "error 0x%08X (%s): %s" % (self.number & 0xFFFFFFFF, self.source, self.description)


class ConversionStopped(ConverterError):
    """A conversion that ended before its end without an error of its own,
    such as a part whose musical data an empty line ends; the description
    names the file and the line. Its number is 0."""


class Cancelled(ConverterError):
    """A conversion that the progress callback cancelled by returning False."""


class ConverterWarning(UserWarning):
    """A problem that did not stop the conversion. ``file``, ``part``, ``line``
    and ``measure`` say where the import stood when it was raised."""

    def __init__(self, text, file="", part=0, line=0, measure=""):
        super().__init__(text)
        self.file = file
        self.part = part
        self.line = line
        self.measure = measure


def _natural_key(name):
    # "part2" before "part10"; runs of digits compare by value.
    return [(0, int(run), "") if run.isdigit() else (1, 0, run) for run in re.split(r"(\d+)", name)]


def _expand(paths):
    """Part files, set files and folders, as the command-line tool takes
    them: a folder stands for its regular, non-hidden files in natural name
    order."""
    if isinstance(paths, (str, bytes, os.PathLike)):
        paths = [paths]
    files = []
    for path in paths:
        path = os.fsdecode(os.fspath(path))
        if not os.path.isdir(path):
            files.append(path)
            continue
        names = [
            name
            for name in os.listdir(path)
            if not name.startswith(".") and os.path.isfile(os.path.join(path, name))
        ]
        files.extend(os.path.join(path, name) for name in sorted(names, key=_natural_key))
    return files


def _finish(outcome):
    """Issues the warnings of a conversion, then raises how it ended when it
    did not end well; returns its text otherwise."""
    for text, file, part, line, measure in outcome["warnings"]:
        warnings.warn(ConverterWarning(text, file, part, line, measure), stacklevel=3)
    if outcome["callback_error"] is not None:
        raise outcome["callback_error"]
    if outcome["cancelled"]:
        where = outcome["stopped_at"] or "the conversion"
        raise Cancelled(_musedata.CANCELLED, "musedata", "Cancelled: " + where)
    if outcome["error"] is not None:
        raise ConverterError(*outcome["error"])
    if outcome["stopped_at"]:
        raise ConversionStopped(0, "musedata", "Conversion stopped: " + outcome["stopped_at"])
    return outcome["text"]


def to_musicxml(paths, group="score", encoding="auto", progress=None, memory_limit=1024):
    """The MusicXML score (indented UTF-8 text) made from the MuseData
    ``paths``: part files, set files and folders of them, loaded in order as
    the parts of one score. Only parts of ``group`` are loaded ("" loads
    every part). ``encoding`` is one of auto, utf-8, cp437, cp1252, latin1.
    ``progress(file, current, size)`` is called as the files are read; it
    cancels the conversion by returning False. ``memory_limit`` is the
    megabytes the score may take, judged from the MuseData before it is
    loaded (some ninety bytes for each byte: 1024 takes about 11 MB of
    MuseData); past it a ``ConverterError`` "Out of memory" is raised; 0
    sets no limit."""
    files = _expand(paths)
    if not files:
        raise ValueError("no MuseData files in %r" % (paths,))
    return _finish(_musedata.import_paths(files, group, encoding, progress, None, memory_limit))


def import_files(paths, out, group="score", encoding="auto", progress=None, memory_limit=1024):
    """Converts the MuseData ``paths`` as ``to_musicxml`` does and writes the
    score to ``out``: compressed MusicXML when it ends in ".mxl", MusicXML
    text otherwise. ``out`` is replaced only when the conversion succeeded."""
    files = _expand(paths)
    if not files:
        raise ValueError("no MuseData files in %r" % (paths,))
    _finish(_musedata.import_paths(files, group, encoding, progress, os.fspath(out),
                                   memory_limit))


def _musicxml_bytes(musicxml_path_or_text):
    """The bytes of a MusicXML score and the name messages use for it: the
    text itself (str or bytes starting with "<", or .mxl bytes), or the file
    at that path."""
    source = musicxml_path_or_text
    if isinstance(source, (bytes, bytearray)):
        return bytes(source), "MusicXML text"
    if isinstance(source, str) and source.lstrip().startswith("<"):
        return source.encode("utf-8"), "MusicXML text"
    path = os.fspath(source)
    with open(path, "rb") as stream:
        return stream.read(), os.fsdecode(path)


def to_musedata(musicxml_path_or_text, part=1, progress=None, literal=False,
                keep_divisions=False, positions=False):
    """Part ``part`` (from 1) of a MusicXML score as MuseData text, exactly as
    ``musedata export`` writes it with the same options. The score is a path
    to a .musicxml, .xml or .mxl file, or the MusicXML text. ``literal``
    skips the finishing step that makes MuseData other readers take,
    ``keep_divisions`` keeps durations too wide for MuseData's three columns
    (they are clamped), ``positions`` keeps the layout positions of notes as
    "P" lines."""
    data, name = _musicxml_bytes(musicxml_path_or_text)
    return _finish(_musedata.export_bytes(data, name, part, progress, None,
                                          literal, keep_divisions, positions))


def export_part(musicxml_path_or_text, out, part=1, progress=None, literal=False,
                keep_divisions=False, positions=False):
    """Writes part ``part`` of a MusicXML score as the MuseData file ``out``,
    which is replaced only when the whole part was written; the options are
    those of ``to_musedata``."""
    data, name = _musicxml_bytes(musicxml_path_or_text)
    _finish(_musedata.export_bytes(data, name, part, progress, os.fspath(out),
                                   literal, keep_divisions, positions))


def _musicxml_from_memory(files, group="score", encoding="auto", progress=None,
                          memory_limit=1024):
    """The MusicXML score made from MuseData held in memory: ``files`` is a
    list of (name, bytes) pairs, each a part file or a set file."""
    return _finish(_musedata.import_memory(list(files), group, encoding, progress, memory_limit))
