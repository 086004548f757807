"""Our output as other programs read it: the MuseData we export in verovio's
MuseData reader, the MusicXML we write in verovio and in MuseScore, and a
MuseData movement that a MuseScore user opens, saves and exports again.

The readers are npm packages installed into the build folder (MUSEDATA_READERS);
where npm could not install them the tests skip, except where
MUSEDATA_REQUIRE_READERS is set (CI), where a skip is a failure.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess

import pytest

TOOL = os.environ.get("MUSEDATA_TOOL", "build/musedata")
SOURCE = pathlib.Path(__file__).resolve().parents[2]
READERS = os.environ.get("MUSEDATA_READERS", "")
READ_JS = pathlib.Path(__file__).resolve().parent / "read.mjs"

# The scores with every feature the export finishes: our own MusicXML in the
# shapes other programs write (tests/data/export), and the MuseData of the
# test sets and the example, imported first.
EXPORT_SCORES = sorted((SOURCE / "tests/data/export").glob("*.musicxml"))
MUSEDATA_SOURCES = [
    SOURCE / "tests/data/sets/quartet.msd",
    SOURCE / "tests/data/sets/trio.msd",
    SOURCE / "tests/data/sets/solo.md",
    SOURCE / "tests/data/movement",
    SOURCE / "examples/minuet",
]


@pytest.fixture(scope="module")
def readers():
    installed = READERS and (pathlib.Path(READERS) / "verovio").is_dir() and (
        pathlib.Path(READERS) / "webmscore").is_dir()
    if not installed or not shutil.which("node"):
        message = f"Node.js, verovio or webmscore is missing (MUSEDATA_READERS={READERS!r})"
        if os.environ.get("MUSEDATA_REQUIRE_READERS"):
            pytest.fail(message + "; CI needs them")
        pytest.skip(message)
    return READERS


def tool(*arguments, cwd=None):
    return subprocess.run([TOOL, *map(str, arguments)], capture_output=True, text=True, cwd=cwd)


def node(readers, *arguments):
    result = subprocess.run(["node", str(READ_JS), *map(str, arguments)], capture_output=True,
                            text=True, env=dict(os.environ, MUSEDATA_READERS=readers), timeout=300)
    assert result.returncode == 0, result.stderr[-2000:]
    return result.stdout


def verovio(readers, form, files):
    """verovio's verdict on each file: {file: (loaded, notes)}."""
    lines = node(readers, "verovio", form, *files).splitlines()
    entries = [json.loads(line) for line in lines if line.startswith("{")]
    return {entry["file"]: (bool(entry["ok"]), entry["notes"]) for entry in entries}


def pitched_notes(musicxml_text):
    """Notes that are no rest, counted per part in the order of the parts."""
    return [len(re.findall(r"<note[ >](?:(?!</note>).)*?<(?:pitch|unpitched)>", part, re.S))
            for part in re.findall(r"<part id=.*?</part>", musicxml_text, re.S)]


def imported(source, folder):
    output = folder / (source.name + ".musicxml")
    result = tool("import", source, "-o", output)
    assert result.returncode == 0, result.stderr
    return output


def export_all(score, folder):
    result = tool("export", "--all", "-o", folder, score)
    assert result.returncode == 0, result.stderr
    parts = sorted(folder.glob("*.md"))
    assert parts, f"no part of {score} exported"
    return parts


def test_verovio_reads_every_part_we_export(readers, tmp_path):
    scores = list(EXPORT_SCORES) + [imported(source, tmp_path) for source in MUSEDATA_SOURCES]
    parts = []
    for number, score in enumerate(scores):
        parts += export_all(score, tmp_path / f"parts{number}")
    verdicts = verovio(readers, "musedata", parts)
    refused = [str(part) for part in parts if not verdicts.get(str(part), (False, 0))[0]]
    assert not refused, f"verovio refuses {refused}"
    # A reader that loads a part but finds no note in it has not read it.
    for part in parts:
        back = tool("import", "--literal", part)
        assert back.returncode == 0, back.stderr
        if sum(pitched_notes(back.stdout)):
            assert verdicts[str(part)][1] > 0, f"verovio reads no note of {part}"


def test_verovio_and_musescore_read_every_score_we_import(readers, tmp_path):
    outputs = [imported(source, tmp_path) for source in MUSEDATA_SOURCES]
    verdicts = verovio(readers, "musicxml", outputs)
    for output in outputs:
        loaded, notes = verdicts[str(output)]
        assert loaded and notes > 0, f"verovio does not read {output}"
        saved = tmp_path / (output.stem + ".musescore.musicxml")
        node(readers, "musescore", output, saved)
        assert pitched_notes(saved.read_text()) == pitched_notes(output.read_text()), output


def test_a_movement_saved_by_musescore_exports_without_its_layout(readers, tmp_path):
    for number, source in enumerate(MUSEDATA_SOURCES):
        ours = imported(source, tmp_path)
        saved = tmp_path / f"musescore{number}.musicxml"
        node(readers, "musescore", ours, saved)
        assert "default-x" in saved.read_text(), "MuseScore wrote no layout: nothing is tested"
        direct = export_all(ours, tmp_path / f"direct{number}")
        through = export_all(saved, tmp_path / f"through{number}")
        assert len(through) == len(direct), source
        for before, after in zip(direct, through):
            # MuseScore's positions and slur sides are no suggestion of
            # anyone's: no more "P" lines come back than the movement had
            # (MuseScore keeps some of the editor's and drops others), and
            # none with a position.
            suggestions = [line for line in after.read_text().splitlines() if line.startswith("P")]
            editors = [line for line in before.read_text().splitlines() if line.startswith("P")]
            assert len(suggestions) <= len(editors), f"{after}: {suggestions}"
            assert not [line for line in suggestions if re.search(r"[XY]-?[0-9]", line)], after
            notes_before = sum(pitched_notes(tool("import", "--literal", before).stdout))
            notes_after = sum(pitched_notes(tool("import", "--literal", after).stdout))
            assert notes_after == notes_before, f"{after}: {notes_after} of {notes_before} notes"
