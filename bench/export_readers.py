#!/usr/bin/env python3
"""What other programs make of the MuseData we export.

For every MusicXML file (.xml, .musicxml, .mxl) under the folders given, the
tool exports every part (`musedata export --all`), and each exported part is
then read back by our own import, by verovio's MuseData reader and, where
music21 is importable, by music21's own MuseData reader. Printed: the share of
the notes (pitched and unpitched, chord tones, grace and cue notes; not rests)
of the MusicXML that come back from MuseData, counting the parts that did not
export or import as lost whole; the parts that import back; the parts each
reader loads. With --list, one line per part that lost notes or that a reader
refused.

    bench/export_readers.py TOOL READERS_NODE_MODULES FOLDER... [--music21 PATH] [--list]

`make bench-export` runs it on the MusicXML files music21's source carries
(LilyPond's test suite among them), unpacked from ../shared/vendor.
"""

import argparse
import json
import os
import pathlib
import subprocess
import sys
import tempfile
import xml.etree.ElementTree as ElementTree
import zipfile

READ_JS = pathlib.Path(__file__).resolve().parent.parent / "tests" / "readers" / "read.mjs"


def musicxml_of(path):
    """The root file's text of a MusicXML file or .mxl container."""
    if path.suffix != ".mxl":
        return path.read_bytes()
    with zipfile.ZipFile(path) as archive:
        container = ElementTree.fromstring(archive.read("META-INF/container.xml"))
        rootfile = next(element for element in container.iter() if element.tag.endswith("rootfile"))
        return archive.read(rootfile.get("full-path"))


def notes_per_part(text):
    """The notes (not rests) of each part of a score-partwise, in order."""
    root = ElementTree.fromstring(text)
    return [
        sum(1 for note in part.iter("note") if note.find("rest") is None)
        for part in root.findall("part")
    ]


def run(command, **options):
    return subprocess.run(command, capture_output=True, text=True, **options)


def load_with_verovio(readers, files):
    if not files:
        return {}
    environment = dict(os.environ, MUSEDATA_READERS=readers)
    result = run(["node", str(READ_JS), "verovio", "musedata", *map(str, files)], env=environment)
    if result.returncode != 0:
        sys.exit(f"verovio could not be run: {result.stderr[-1000:]}")
    loaded = {}
    for line in result.stdout.splitlines():
        if line.startswith("{"):
            entry = json.loads(line)
            loaded[entry["file"]] = bool(entry["ok"])
    return loaded


def load_with_music21(music21_path, files):
    if not files or music21_path is None:
        return {}
    script = (
        "import sys, json, warnings\n"
        "warnings.simplefilter('ignore')\n"
        "from music21 import converter\n"
        "for f in sys.argv[1:]:\n"
        "    try:\n"
        "        s = converter.parse(f, format='musedata', forceSource=True)\n"
        "        print(json.dumps([f, len(s.parts) > 0]))\n"
        "    except Exception as e:\n"
        "        print(json.dumps([f, False]))\n"
    )
    environment = dict(os.environ, PYTHONPATH=music21_path)
    # Debian's interpreter, whose numpy and friends music21 needs, where there is one.
    python = "/usr/bin/python3" if os.path.exists("/usr/bin/python3") else sys.executable
    result = run([python, "-c", script, *map(str, files)], env=environment)
    return {entry[0]: entry[1] for entry in map(json.loads, result.stdout.splitlines())}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("tool")
    parser.add_argument("readers", help="the node_modules folder holding verovio")
    parser.add_argument("folders", nargs="+")
    parser.add_argument("--music21", help="a folder holding the music21 package")
    parser.add_argument("--list", action="store_true")
    arguments = parser.parse_args()

    scores = sorted(
        path
        for folder in arguments.folders
        for path in pathlib.Path(folder).rglob("*")
        if path.suffix in (".xml", ".musicxml", ".mxl")
    )
    totals = dict(notes=0, kept=0, parts=0, imported=0, verovio=0, music21=0)
    problems = []
    with tempfile.TemporaryDirectory() as scratch:
        exported = []  # (score, part number, notes in the MusicXML, MuseData file or None)
        for number, score in enumerate(scores):
            try:
                counts = notes_per_part(musicxml_of(score))
            except (ElementTree.ParseError, KeyError, StopIteration, zipfile.BadZipFile):
                continue  # not a score-partwise: not counted
            if not counts:
                continue
            folder = pathlib.Path(scratch) / str(number)
            result = run([arguments.tool, "export", "--all", "-o", str(folder), str(score)])
            for part, notes in enumerate(counts, 1):
                file = folder / f"{part:02d}.md"
                exported.append((score, part, notes, file if file.exists() else None))
                if not file.exists():
                    problems.append(f"{score} part {part}: not exported: {result.stderr.strip()}")
        files = [entry[3] for entry in exported if entry[3] is not None]
        verovio = load_with_verovio(arguments.readers, files)
        music21 = load_with_music21(arguments.music21, files)
        for score, part, notes, file in exported:
            totals["parts"] += 1
            totals["notes"] += notes
            if file is None:
                continue
            back = run([arguments.tool, "import", "--literal", str(file), "-o", str(file) + ".xml"])
            kept = 0
            if back.returncode == 0:
                totals["imported"] += 1
                kept = min(notes, sum(notes_per_part(pathlib.Path(str(file) + ".xml").read_bytes())))
            else:
                problems.append(f"{score} part {part}: does not import back: {back.stderr.strip()}")
            totals["kept"] += kept
            if kept < notes and back.returncode == 0:
                problems.append(f"{score} part {part}: {kept} of {notes} notes come back")
            for name, loaded in (("verovio", verovio), ("music21", music21)):
                if loaded.get(str(file)):
                    totals[name] += 1
                elif loaded:
                    problems.append(f"{score} part {part}: {name} does not load it")

    parts = max(totals["parts"], 1)
    print(f"scores: {len(scores)}, parts: {totals['parts']}")
    print(f"notes that come back: {100 * totals['kept'] / max(totals['notes'], 1):.2f}% "
          f"({totals['kept']} of {totals['notes']})")
    print(f"parts that import back: {100 * totals['imported'] / parts:.2f}%")
    print(f"parts verovio loads: {100 * totals['verovio'] / parts:.2f}%")
    if arguments.music21:
        print(f"parts music21 loads: {100 * totals['music21'] / parts:.2f}%")
    if arguments.list:
        print("\n".join(problems))


if __name__ == "__main__":
    main()
