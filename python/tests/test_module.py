import os
import pathlib
import subprocess
import sys
import threading
import warnings
import xml.etree.ElementTree as ET
import zipfile

import pytest

import musedata
from conftest import MINUET

FILE_NOT_FOUND = 0x800417BE  # the converter's "File ... not found"


def parts_of(text):
    return ET.fromstring(text.encode("utf-8")).findall("part")


def test_inputs_as_the_tool_takes_them(minuet_parts, minuet_set):
    # A folder, its files listed one by one, and a set file of the same parts
    # make the same three-part score.
    from_folder = musedata.to_musicxml([minuet_parts[0].parent])
    assert from_folder.startswith("<?xml")
    assert len(parts_of(from_folder)) == 3
    assert musedata.to_musicxml([str(p) for p in minuet_parts]) == from_folder
    assert musedata.to_musicxml(minuet_parts[0].parent) == from_folder
    from_set = musedata.to_musicxml([minuet_set])
    assert len(parts_of(from_set)) == 3
    # The music21 sub-converter's path: the same set held in memory.
    in_memory = [(minuet_set.name, minuet_set.read_bytes())]
    assert musedata._musicxml_from_memory(in_memory) == from_set
    notes = lambda text: [ET.tostring(n) for n in ET.fromstring(text.encode()).iter("pitch")]
    assert notes(from_set) == notes(from_folder)


def test_folder_order_is_natural(tmp_path, minuet_parts):
    # part2 is read before part10; hidden files are passed over.
    for name, source in (("part10", minuet_parts[0]), ("part2", minuet_parts[2])):
        (tmp_path / name).write_bytes(source.read_bytes())
    (tmp_path / ".hidden").write_text("not MuseData")
    read = []
    musedata.to_musicxml(tmp_path, progress=lambda file, *_: read.append(file))
    assert list(dict.fromkeys(read)) == ["part2", "part10"]


@pytest.mark.parametrize("name", ["score.musicxml", "score.xml", "score.mxl"])
def test_import_files_writes_text_or_container(tmp_path, minuet_parts, name):
    out = tmp_path / name
    musedata.import_files(minuet_parts, out)
    expected = musedata.to_musicxml(minuet_parts)
    if name.endswith(".mxl"):
        with zipfile.ZipFile(out) as container:
            assert container.namelist()[0] == "mimetype"
            assert container.read("mimetype") == b"application/vnd.recordare.musicxml"
            root = ET.fromstring(container.read("META-INF/container.xml"))
            path = root.find("rootfiles/rootfile").get("full-path")
            assert container.read(path).decode("utf-8") == expected
    else:
        assert out.read_text(encoding="utf-8") == expected


def test_failed_import_raises_and_keeps_the_old_file(tmp_path, minuet_parts):
    out = tmp_path / "score.musicxml"
    out.write_text("a good file")
    missing = tmp_path / "nope.md"
    with pytest.raises(musedata.ConverterError) as raised:
        musedata.import_files([minuet_parts[0], missing], out)
    error = raised.value
    assert error.number & 0xFFFFFFFF == FILE_NOT_FOUND
    assert error.source and "nope.md" in error.description
    assert "0x800417BE" in str(error)
    assert out.read_text() == "a good file"
    assert sorted(p.name for p in tmp_path.iterdir()) == ["score.musicxml"]


def test_stopped_and_empty_inputs(tmp_path, minuet_parts):
    # An empty line in the musical data ends the part early: no score, and the
    # message names the file and the line.
    lines = minuet_parts[0].read_text(encoding="utf-8").splitlines()
    lines.insert(20, "")
    broken = tmp_path / "broken.md"
    broken.write_text("\n".join(lines) + "\n", encoding="utf-8")
    with pytest.raises(musedata.ConversionStopped) as raised:
        musedata.to_musicxml([broken])
    assert raised.value.number == 0
    assert "broken.md, line 21" in raised.value.description
    with pytest.raises(ValueError):
        musedata.to_musicxml([], encoding="auto")
    with pytest.raises(ValueError):
        musedata.to_musicxml(minuet_parts, encoding="ebcdic")


def test_warnings_say_where(tmp_path, minuet_parts):
    # A part of another group is skipped with a warning naming its file.
    other = tmp_path / "sound.md"
    text = minuet_parts[1].read_text(encoding="utf-8")
    other.write_text(text.replace("Group memberships: score", "Group memberships: sound")
                     .replace("score: part 2 of 3", "sound: part 1 of 1"), encoding="utf-8")
    with warnings.catch_warnings(record=True) as caught:
        warnings.simplefilter("always")
        text = musedata.to_musicxml([minuet_parts[0], other])
    assert len(parts_of(text)) == 1
    [warning] = [w.message for w in caught if isinstance(w.message, musedata.ConverterWarning)]
    assert "sound.md" in str(warning) and "skipped" in str(warning)
    assert warning.file == "sound.md" and warning.part == 2
    with warnings.catch_warnings():
        warnings.simplefilter("error", musedata.ConverterWarning)
        with pytest.raises(musedata.ConverterWarning):
            musedata.to_musicxml([minuet_parts[0], other])


def test_progress_reports_and_cancels(minuet_parts):
    seen = []

    def record(file, current, size):
        seen.append((file, current, size))

    musedata.to_musicxml(minuet_parts, progress=record)
    assert {file for file, _, _ in seen} == {p.name for p in minuet_parts}
    first = [(c, s) for f, c, s in seen if f == minuet_parts[0].name]
    assert first == sorted(first) and len(first) > 10

    with pytest.raises(musedata.Cancelled) as raised:
        musedata.to_musicxml(minuet_parts, progress=lambda *_: False)
    assert raised.value.number == musedata._musedata.CANCELLED
    assert isinstance(raised.value, musedata.ConverterError)

    class Stop(Exception):
        pass

    def fail(*_):
        raise Stop("from the callback")

    with pytest.raises(Stop):
        musedata.to_musicxml(minuet_parts, progress=fail)


def test_conversions_run_side_by_side(minuet_parts):
    # The GIL is released while converting: threads convert at once, and each
    # gets the whole score.
    expected = musedata.to_musicxml(minuet_parts)
    results = []
    threads = [threading.Thread(target=lambda: results.append(musedata.to_musicxml(minuet_parts)))
               for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(60)
    assert results == [expected] * 4


def test_musicxml_to_musedata(tmp_path, minuet_parts):
    with pytest.raises(musedata.ConverterError) as raised:
        musedata.to_musedata("<score-partwise><part>")
    assert "line" in raised.value.description
    score = musedata.to_musicxml(minuet_parts)
    text = musedata.to_musedata(score, part=2)
    assert "/END" in text
    out = tmp_path / "02.md"
    musedata.import_files(minuet_parts, tmp_path / "score.mxl")
    musedata.export_part(tmp_path / "score.mxl", out, part=2)
    assert out.read_text(encoding="utf-8") == text


@pytest.mark.skipif("MUSEDATA_TOOL" not in os.environ, reason="needs the built tool")
@pytest.mark.parametrize("options,flags", [
    ({}, []),
    ({"literal": True}, ["--literal"]),
    ({"keep_divisions": True, "positions": True}, ["--keep-divisions", "--positions"]),
])
def test_to_musedata_gives_what_the_tool_writes(tmp_path, options, flags):
    score = pathlib.Path(os.environ["MUSEDATA_TEST_DATA"]) / "export" / "finishing.musicxml"
    for part in (1, 2):
        tool = subprocess.run([os.environ["MUSEDATA_TOOL"], "export", "-p", str(part), *flags,
                               str(score)], capture_output=True, text=True)
        if tool.returncode != 0:
            # The literal export of a voice that is no number fails alike.
            with pytest.raises(musedata.ConverterError) as raised:
                musedata.to_musedata(score, part=part, **options)
            assert tool.stderr == "musedata: " + str(raised.value) + "\n"
            continue
        with warnings.catch_warnings(record=True) as caught:
            warnings.simplefilter("always")
            text = musedata.to_musedata(score, part=part, **options)
        assert text == tool.stdout
        told = [line.removeprefix("musedata: warning: ")
                for line in tool.stderr.splitlines()]
        assert [str(w.message) for w in caught] == told
        out = tmp_path / f"{part}.md"
        with warnings.catch_warnings():
            warnings.simplefilter("ignore")
            musedata.export_part(score, out, part=part, **options)
        assert out.read_text(encoding="utf-8") == text


def test_a_bare_python_in_the_checkout_imports_the_built_package(tmp_path):
    # No PYTHONPATH: the interpreter finds the package through the stand-in at
    # the top of the checkout, which hands over to the build folder.
    checkout = pathlib.Path(__file__).resolve().parents[2]
    built = pathlib.Path(musedata.__file__).resolve().parent
    environment = {k: v for k, v in os.environ.items() if k != "PYTHONPATH"}
    environment["MUSEDATA_BUILD"] = str(built.parent.parent)
    script = (
        "import musedata, sys\n"
        "print(musedata.__file__)\n"
        "print(musedata.to_musicxml([sys.argv[1]])[:36])\n"
        "try:\n"
        "    musedata.to_musicxml([sys.argv[2]])\n"
        "except musedata.ConverterError as error:\n"
        "    print(hex(error.number & 0xFFFFFFFF))\n"
    )
    run = subprocess.run(
        [sys.executable, "-B", "-c", script, str(MINUET), str(tmp_path / "nope.md")],
        cwd=checkout, env=environment, capture_output=True, text=True, check=True)
    lines = run.stdout.splitlines()
    assert lines == [str(built / "__init__.py"), '<?xml version="1.0" encoding="UTF-8"',
                     hex(FILE_NOT_FOUND).lower()]

    environment["MUSEDATA_BUILD"] = str(tmp_path / "unbuilt")
    unbuilt = subprocess.run([sys.executable, "-B", "-c", "import musedata"], cwd=checkout,
                             env=environment, capture_output=True, text=True)
    assert unbuilt.returncode != 0 and "run `make` first" in unbuilt.stderr


def mxl(path, root, entries):
    """An .mxl whose container names `root`, holding `entries` (name, bytes or
    a count of zero bytes, written without holding them)."""
    with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as container:
        container.writestr("mimetype", "application/vnd.recordare.musicxml",
                           compress_type=zipfile.ZIP_STORED)
        container.writestr("META-INF/container.xml",
                           '<container><rootfiles><rootfile full-path="%s"/></rootfiles>'
                           "</container>" % root)
        for name, data in entries:
            info = zipfile.ZipInfo(name)
            info.compress_type = zipfile.ZIP_DEFLATED
            with container.open(info, "w", force_zip64=True) as entry:
                if isinstance(data, int):
                    for _ in range(data >> 20):
                        entry.write(bytes(1 << 20))
                else:
                    entry.write(data)
    return path


@pytest.mark.skipif("MUSEDATA_TOOL" not in os.environ, reason="needs the built tool")
def test_hostile_containers_are_refused_by_the_module_and_the_tool(tmp_path):
    score = musedata.to_musicxml(MINUET).encode("utf-8")
    rows = [
        (mxl(tmp_path / "zeros.mxl", "score.xml", [("score.xml", 150 << 20)]),
         "score.xml inflates to more than 200 times its compressed size"),
        (mxl(tmp_path / "outside.mxl", "../score.xml", [("score.xml", score)]),
         "names the score ../score.xml, a path outside the container"),
        (mxl(tmp_path / "missing.mxl", "other.xml", [("score.xml", score)]),
         "names the score other.xml, which the container does not hold"),
    ]
    for path, says in rows:
        with pytest.raises(musedata.ConverterError) as raised:
            musedata.to_musedata(path)
        assert path.name in str(raised.value) and says in str(raised.value)
        tool = subprocess.run([os.environ["MUSEDATA_TOOL"], "export", str(path)],
                              capture_output=True, text=True)
        assert tool.returncode == 2 and says in tool.stderr, tool.stderr
    # A score beside a bomb it never names is read: the bomb is not inflated.
    beside = mxl(tmp_path / "beside.mxl", "score.xml",
                 [("score.xml", score), ("extra/zeros.bin", 150 << 20)])
    assert "/END" in musedata.to_musedata(beside)


def test_memory_limit_stops_an_import_before_it_starts(tmp_path, minuet_parts):
    # Some 12 KB of MuseData would make a score of about 1.1 MB.
    big = tmp_path / "big.md"
    text = minuet_parts[0].read_text(encoding="utf-8")
    big.write_text(text.replace("/END", "@" + "x" * 12000 + "\n/END"), encoding="utf-8")
    with pytest.raises(musedata.ConverterError) as raised:
        musedata.to_musicxml([big], memory_limit=1)
    assert raised.value.number == 7 and "Out of memory: big.md" in raised.value.description
    assert len(parts_of(musedata.to_musicxml([big], memory_limit=0))) == 1
