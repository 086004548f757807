"""The music21 sub-converter as a music21 user meets it, and music21's own
MuseData reader on the MuseData we export.

music21 comes from the build folder (unpacked there from ../shared/vendor by
the configure step) or from the machine. Where it is not importable these
tests skip, except where MUSEDATA_REQUIRE_MUSIC21 is set (CI), where that is
a failure.
"""

import os
import pathlib
import re
import shutil
import subprocess
import warnings
import zipfile

import pytest

import musedata

SOURCE = pathlib.Path(__file__).resolve().parents[2]
TEST_DATA = pathlib.Path(os.environ.get("MUSEDATA_TEST_DATA", SOURCE / "tests" / "data"))
TOOL = os.environ.get("MUSEDATA_TOOL", "build/musedata")


@pytest.fixture(scope="module")
def converter(tmp_path_factory):
    """music21's converter with our sub-converter registered, its scratch
    folder (where it keeps parsed scores) in a temporary folder."""
    try:
        from music21 import converter, environment
    except ImportError as error:
        message = f"music21 is not importable here ({error}); its tests need it"
        if os.environ.get("MUSEDATA_REQUIRE_MUSIC21"):
            pytest.fail(message + ", and CI must run them")
        pytest.skip(message)
    environment.Environment()["directoryScratch"] = str(tmp_path_factory.mktemp("music21"))
    from musedata.music21 import MuseDataConverter

    converter.registerSubConverter(MuseDataConverter)
    yield converter
    converter.unregisterSubConverter(MuseDataConverter)


def contents(score):
    """Per part: the measures, and the notes as (pitch, offset in the part,
    length), chord tones one by one."""
    parts = []
    for part in score.parts:
        notes = [(str(pitch), float(note.getOffsetInHierarchy(part)), float(note.quarterLength))
                 for note in part.recurse().notes for pitch in note.pitches]
        parts.append((len(part.getElementsByClass("Measure")), notes))
    return parts


def test_parse_gives_what_musicxml_gives_for_every_form_of_a_movement(converter, tmp_path):
    minuet = SOURCE / "examples" / "minuet"
    parts = sorted(minuet.iterdir())
    set_file = tmp_path / "minuet.msd"
    set_file.write_text("".join(p.read_text(encoding="utf-8") + "/eof\n" for p in parts) + "//\n",
                        encoding="utf-8")
    archive = tmp_path / "minuet.zip"
    with zipfile.ZipFile(archive, "w") as zipped:
        for part in parts:
            zipped.write(part, part.name)
    odd_name = tmp_path / "minuet.txt"
    shutil.copy(set_file, odd_name)
    expected = contents(converter.parseData(musedata.to_musicxml(parts), format="musicxml"))
    assert len(expected) == 3 and all(notes for _, notes in expected)
    for label, parse in [
        ("a set file", lambda: converter.parse(str(set_file))),
        ("a folder of part files", lambda: converter.parse(str(minuet))),
        ("a .zip of part files", lambda: converter.parse(str(archive))),
        ("any name, with format", lambda: converter.parse(odd_name, format="musedata")),
        ("text in memory", lambda: converter.parse(set_file.read_text(encoding="utf-8"),
                                                   format="musedata")),
    ]:
        assert contents(parse()) == expected, label


def test_the_readme_example_runs_as_written(converter, tmp_path, monkeypatch):
    readme = (SOURCE / "README.md").read_text(encoding="utf-8")
    example = re.search(r"```python\n(from music21 import converter\n.*?)```", readme, re.S)
    assert example, "no music21 example in the README"
    shutil.copy(TEST_DATA / "sets" / "quartet.msd", tmp_path / "op4n05-04.msd")
    monkeypatch.chdir(tmp_path)
    code = example.group(1)
    # The example's comment names the call that follows the registration.
    call = re.search(r"# then (converter\.parse\(.*\))", code).group(1)
    namespace = {}
    exec(code + "\nscore = " + call + "\n", namespace)
    assert len(namespace["score"].parts) == 4


def test_errors_and_warnings_name_file_part_and_line(converter, tmp_path):
    from music21.converter import ConverterException

    with pytest.raises(ConverterException) as caught:
        converter.parse(str(TEST_DATA / "sets" / "lost-end.msd"), forceSource=True)
    assert isinstance(caught.value, musedata.ConverterError)
    assert "lost-end.msd part 2 (Violino II), line 25" in str(caught.value)

    with warnings.catch_warnings(record=True) as caught_warnings:
        warnings.simplefilter("always")
        score = converter.parse(str(TEST_DATA / "sets" / "trio.msd"), forceSource=True)
    ours = [w.message for w in caught_warnings if isinstance(w.message, musedata.ConverterWarning)]
    skipped = [w for w in ours if "not in group" in str(w)]
    assert skipped and skipped[0].file.endswith("trio.msd") and skipped[0].part == 3, ours
    assert len(score.parts) == 3


def test_show_text(converter, capsys):
    score = converter.parse(str(SOURCE / "examples" / "minuet"))
    score.show("text")
    shown = capsys.readouterr().out
    assert "{0.0} <music21.stream.Part" in shown and "<music21.note.Note" in shown


def test_music21s_own_reader_reads_every_part_we_export(converter, tmp_path):
    """music21's MuseData reader (not ours) on each part `musedata export`
    writes: it loads, with the pitched notes our import reads from it.

    That reader takes every line that begins with "m" for a bar line, the
    twelve header records too, and the source record of our test data begins
    "musedata ...". A part it refuses for that alone is read again with
    those header lines capitalised; any other refusal fails the test."""
    from music21.converter import subConverters
    from music21.musedata import MuseDataException

    def read(part):
        reader = subConverters.ConverterMuseData()
        reader.parseFile(part)
        return sum(len(n.pitches) for n in reader.stream.recurse().notes
                   if not n.duration.isGrace)

    def header_records(lines):
        """Indices of the twelve header records: comment lines ("@") and
        comment blocks (between "&" lines) are not records."""
        records, in_block = [], False
        for i, line in enumerate(lines):
            if line.startswith("&"):
                in_block = not in_block
            elif not in_block and not line.startswith("@"):
                records.append(i)
            if len(records) == 12:
                break
        return records

    scores = sorted((TEST_DATA / "export").glob("*.musicxml"))
    for source in [TEST_DATA / "sets" / "quartet.msd", TEST_DATA / "sets" / "trio.msd",
                   TEST_DATA / "movement", SOURCE / "examples" / "minuet"]:
        score = tmp_path / (source.name + ".musicxml")
        subprocess.run([TOOL, "import", source, "-o", score], check=True, capture_output=True)
        scores.append(score)
    refused = []
    checked = as_written = 0
    for number, score in enumerate(scores):
        folder = tmp_path / f"parts{number}"
        subprocess.run([TOOL, "export", "--all", "-o", folder, score], check=True,
                       capture_output=True)
        for part in sorted(folder.glob("*.md")):
            name = f"{score.name}: {part.name}"
            lines = part.read_text(encoding="utf-8").split("\n")
            bar_like = [i for i in header_records(lines) if lines[i].startswith("m")]
            try:
                theirs = read(part)
                as_written += 1
            except Exception as error:
                if not bar_like or not isinstance(error, MuseDataException):
                    refused.append(f"{name}: {type(error).__name__}: {error}")
                    continue
                for i in bar_like:
                    lines[i] = "M" + lines[i][1:]
                mended = tmp_path / f"mended{number}-{part.name}"
                mended.write_text("\n".join(lines), encoding="utf-8")
                try:
                    theirs = read(mended)
                except Exception as error:
                    refused.append(f"{name} (header mended): {type(error).__name__}: {error}")
                    continue
            back = musedata.to_musicxml([part])
            ours = len(re.findall(r"<note[ >](?:(?!</note>).)*?<pitch>", back, re.S))
            cues_and_graces = len(re.findall(r"<note[^>]*>\s*<(?:cue|grace)", back))
            assert ours - cues_and_graces <= theirs <= ours, name
            checked += 1
    assert not refused, refused
    assert checked >= 15, checked
    # The parts exported from MusicXML of our own making load as written.
    assert as_written >= 4, as_written
