#!/usr/bin/env python3
"""music21's parse of whole movements: through our sub-converter against
music21's own MuseData reader, on the same files.

music21's reader takes a folder of part files (not set files), so each
movement of CORPUS (set files) is first written as one: imported by the tool
and exported part by part, which both readers take. Each reader then parses
every movement RUNS times (music21's pickle cache bypassed with forceSource);
printed are the least total time of each, the parts and notes each read, and
the ratio.

    bench/music21_parse.py TOOL CORPUS_FOLDER MOVEMENTS RUNS

with PYTHONPATH holding the musedata module and music21.
"""

import pathlib
import subprocess
import sys
import tempfile
import time
import warnings

from music21 import converter

from musedata.music21 import MuseDataConverter


def prepare(tool, corpus, count, scratch):
    folders = []
    for number, movement in enumerate(sorted(pathlib.Path(corpus).glob("*.msd"))[:count]):
        score = scratch / f"{number}.musicxml"
        folder = scratch / f"movement-{number:03d}"
        subprocess.run([tool, "import", movement, "-o", score], check=True, capture_output=True)
        subprocess.run([tool, "export", "--all", "-o", folder, score], check=True,
                       capture_output=True)
        folders.append(folder)
    return folders


def parse_all(folders):
    """(seconds, parts, notes, failures) of parsing every folder."""
    parts = notes = failures = 0
    start = time.perf_counter()
    for folder in folders:
        try:
            score = converter.parse(str(folder), format="musedata", forceSource=True,
                                    storePickle=False)
        except Exception:  # a reader that refuses a movement is counted, not timed apart
            failures += 1
            continue
        parts += len(score.parts)
        notes += sum(len(note.pitches) for note in score.recurse().notes)
    return time.perf_counter() - start, parts, notes, failures


def main():
    tool, corpus, count, runs = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
    warnings.simplefilter("ignore")
    with tempfile.TemporaryDirectory() as scratch:
        folders = prepare(tool, corpus, count, pathlib.Path(scratch))
        results = {}
        for name in ("music21's own reader", "our sub-converter"):
            if name == "our sub-converter":
                converter.registerSubConverter(MuseDataConverter)
            best = None
            for _ in range(runs):
                outcome = parse_all(folders)
                if best is None or outcome[0] < best[0]:
                    best = outcome
            results[name] = best
        converter.unregisterSubConverter(MuseDataConverter)
    print(f"{len(folders)} movements, least of {runs} runs")
    print(f"{'reader':24} {'seconds':>8} {'parts':>6} {'notes':>8} {'refused':>8}")
    for name, (seconds, parts, notes, failures) in results.items():
        print(f"{name:24} {seconds:8.2f} {parts:6d} {notes:8d} {failures:8d}")
    own, ours = results["music21's own reader"][0], results["our sub-converter"][0]
    print(f"ours / music21's own: {ours / own:.2f}")


if __name__ == "__main__":
    main()
