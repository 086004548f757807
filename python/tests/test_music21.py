import pytest

import musedata

music21 = pytest.importorskip(
    "music21", reason="music21 is not importable here; the sub-converter's tests need it")


def notes(score):
    return [(str(n.pitch), float(n.quarterLength)) for n in score.recurse().notes
            for n in (n.notes if n.isChord else [n])]


def test_sub_converter_reads_the_whole_movement(minuet_set, minuet_parts):
    from music21 import converter

    from musedata.music21 import MuseDataConverter

    converter.registerSubconverter(MuseDataConverter)
    try:
        through_sub_converter = converter.parse(str(minuet_set))
        from_data = MuseDataConverter()
        from_data.parseData(minuet_set.read_text(encoding="utf-8"))
    finally:
        converter.unregisterSubconverter(MuseDataConverter)
    direct = converter.parseData(musedata.to_musicxml(minuet_parts), format="musicxml")
    assert len(through_sub_converter.parts) == 3
    assert notes(through_sub_converter) == notes(direct)
    assert notes(from_data.stream) == notes(direct)
