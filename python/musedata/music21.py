"""A music21 sub-converter that reads MuseData with this library.

    from music21 import converter
    from musedata.music21 import MuseDataConverter
    converter.registerSubconverter(MuseDataConverter)
    score = converter.parse("op4n05-04.msd")

The MuseData is converted into MusicXML here, then read by music21's own
MusicXML reader, so every part and every attribute change of a movement
arrives. music21 itself is imported only with this module.
"""

try:
    from music21.converter import subConverters
except ImportError as error:  # pragma: no cover - depends on the machine
    raise ImportError(
        "musedata.music21 needs music21, which is not importable here: " + str(error)
    ) from error

import musedata


class MuseDataConverter(subConverters.SubConverter):
    """Reads MuseData part files and set files (one file, or a folder of part
    files) into a music21 Score through MusicXML."""

    registerFormats = ("musedata",)
    registerInputExtensions = ("md", "msd", "mds", "md2", "musedata")

    # Only parts of this group are read; "" reads every part of a set.
    group = "score"

    def _readMusicXml(self, text):
        reader = subConverters.ConverterMusicXML()
        reader.parseData(text)
        self.stream = reader.stream
        return self.stream

    def parseData(self, dataString, number=None):
        """Reads MuseData text (one part or a whole set file)."""
        if isinstance(dataString, str):
            dataString = dataString.encode("utf-8")
        text = musedata._musicxml_from_memory([("MuseData text", dataString)], group=self.group)
        return self._readMusicXml(text)

    def parseFile(self, filePath, number=None, **keywords):
        """Reads a MuseData file, a set file, or a folder of part files."""
        return self._readMusicXml(musedata.to_musicxml([filePath], group=self.group))
