"""A music21 sub-converter that reads MuseData with this library.

    from music21 import converter
    from musedata.music21 import MuseDataConverter
    converter.registerSubConverter(MuseDataConverter)
    score = converter.parse("op4n05-04.msd")

Registered, it reads every MuseData file music21 is given: part files and set
files (.md, .msd, .mds, .md2), folders and .zip archives of part files, and
any file parsed with ``format="musedata"``. The MuseData is converted into
MusicXML here, then read by music21's own MusicXML reader, so every part and
every attribute change of a movement arrives. The converter's warnings arrive
as Python warnings (``musedata.ConverterWarning``, with file, part, line and
measure); a conversion that fails raises ``MuseDataConverterException``, which
is both music21's ``ConverterException`` and ``musedata.ConverterError``.
``converter.unregisterSubConverter(MuseDataConverter)`` gives music21's own
MuseData reader back. music21 itself is imported only with this module.
"""

try:
    from music21.converter import ConverterException, subConverters
except ImportError as error:  # pragma: no cover - depends on the machine
    raise ImportError(
        "musedata.music21 needs music21, which is not importable here: " + str(error)
    ) from error

import re

import musedata

# music21's MusicXML reader fails ("'NoneType' object has no attribute
# 'editorial'") on `notations` that hold an editorial level or footnote
# together with an accidental-mark, which it reads as no ornament of its own:
# MuseData's editorial trills with an accidental make such notations. For it,
# those notations lose their level and footnote.
_NOTATIONS = re.compile(r"<notations>(?:(?!</notations>).)*?</notations>", re.S)
_EDITORIAL = re.compile(r"\s*<(level|footnote)\b[^>]*>.*?</\1>", re.S)


def _readable_by_music21(text):
    if "<accidental-mark" not in text:
        return text

    def mend(match):
        block = match.group(0)
        if "<accidental-mark" not in block:
            return block
        return _EDITORIAL.sub("", block)

    return _NOTATIONS.sub(mend, text)


class MuseDataConverterException(ConverterException, musedata.ConverterError):
    """A MuseData file that could not be converted: its ``number``,
    ``source`` and ``description`` are the converter's, and the description
    names the file and the line."""

    def __init__(self, number, source, description):
        musedata.ConverterError.__init__(self, number, source, description)

    __str__ = musedata.ConverterError.__str__


class MuseDataConverter(subConverters.SubConverter):
    """Reads MuseData part files and set files (one file, a folder of part
    files or a .zip of them) into a music21 Score through MusicXML."""

    registerFormats = ("musedata",)
    registerInputExtensions = ("md", "msd", "mds", "md2", "musedata", "zip")

    # Only parts of this group are read; "" reads every part of a set.
    group = "score"

    def _readMusicXml(self, convert):
        try:
            text = convert()
        except musedata.ConverterError as error:
            raise MuseDataConverterException(
                error.number, error.source, error.description) from error
        reader = subConverters.ConverterMusicXML()
        reader.parseData(_readable_by_music21(text))
        self.stream = reader.stream
        return self.stream

    def parseData(self, dataString, number=None):
        """Reads MuseData text (one part or a whole set file)."""
        if isinstance(dataString, str):
            dataString = dataString.encode("utf-8")
        return self._readMusicXml(lambda: musedata._musicxml_from_memory(
            [("MuseData text", dataString)], group=self.group))

    def parseFile(self, filePath, number=None, **keywords):
        """Reads a MuseData file, a set file, or a folder or .zip of part files."""
        return self._readMusicXml(lambda: musedata.to_musicxml([filePath], group=self.group))
