"""Every score we import is valid MusicXML by the W3C XML schema that music21's
source carries (MusicXML 2.0's strict schema), read from the music21 archive
beside the project. Its imports of the xml and xlink namespaces are stood in
for by small schemas of our own (the machine fetches nothing), and its beta's
one slip, a figure that must end with an extend, is read as the DTD and every
later schema have it: the extend is optional.
"""

import os
import pathlib
import re
import subprocess
import tarfile

import pytest

TOOL = os.environ.get("MUSEDATA_TOOL", "build/musedata")
SOURCE = pathlib.Path(__file__).resolve().parents[2]
ARCHIVE = pathlib.Path(os.environ.get("MUSEDATA_MUSIC21_ARCHIVE") or
                       SOURCE.parent / "shared" / "vendor" / "music21-10.5.0.tar.xz")

XML_NAMESPACE = """<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"
           targetNamespace="http://www.w3.org/XML/1998/namespace">
  <xs:attribute name="lang" type="xs:language"/>
  <xs:attribute name="space" type="xs:NCName"/>
</xs:schema>
"""
XLINK_NAMESPACE = """<?xml version="1.0"?>
<xs:schema xmlns:xs="http://www.w3.org/2001/XMLSchema"
           targetNamespace="http://www.w3.org/1999/xlink">
  <xs:attribute name="href" type="xs:anyURI"/>
  <xs:attribute name="type" type="xs:token"/>
  <xs:attribute name="role" type="xs:string"/>
  <xs:attribute name="title" type="xs:string"/>
  <xs:attribute name="show" type="xs:token"/>
  <xs:attribute name="actuate" type="xs:token"/>
</xs:schema>
"""

# (arguments, input): every score of our test data as a user imports it.
IMPORTS = [
    ([], "tests/data/sets/quartet.msd"),
    ([], "tests/data/sets/trio.msd"),
    (["-g", ""], "tests/data/sets/trio.msd"),
    ([], "tests/data/sets/solo.md"),
    ([], "tests/data/sets/toggle.msd"),
    (["-g", ""], "tests/data/sets/midi-table.msd"),
    ([], "tests/data/movement"),
    ([], "examples/minuet"),
]


@pytest.fixture(scope="module")
def schema(tmp_path_factory):
    if not ARCHIVE.exists():
        message = f"no {ARCHIVE}: the MusicXML schema comes from there"
        if os.environ.get("MUSEDATA_REQUIRE_MUSIC21"):
            pytest.fail(message + ", and CI has it")
        pytest.skip(message)
    folder = tmp_path_factory.mktemp("schema")
    with tarfile.open(ARCHIVE) as archive:
        member = next(m for m in archive if m.name.endswith("musicxml/musicxml.xsd"))
        text = archive.extractfile(member).read().decode("utf-8")
    text = text.replace("http://www.musicxml.org/xsd/xml.xsd", "xml.xsd")
    text = text.replace("http://www.musicxml.org/xsd/xlink.xsd", "xlink.xsd")
    figure = re.search(r'<xs:complexType name="figure">.*?</xs:complexType>', text, re.S)
    assert figure and '<xs:element name="extend" type="extend"/>' in figure.group(0), \
        "the schema is not the one these tests know"
    text = text.replace(figure.group(0), figure.group(0).replace(
        '<xs:element name="extend" type="extend"/>',
        '<xs:element name="extend" type="extend" minOccurs="0"/>'))
    (folder / "musicxml.xsd").write_text(text, encoding="utf-8")
    (folder / "xml.xsd").write_text(XML_NAMESPACE, encoding="utf-8")
    (folder / "xlink.xsd").write_text(XLINK_NAMESPACE, encoding="utf-8")
    return folder / "musicxml.xsd"


@pytest.mark.parametrize("arguments,source", IMPORTS)
def test_every_score_we_import_is_valid(schema, tmp_path, arguments, source):
    output = tmp_path / "score.musicxml"
    imported = subprocess.run([TOOL, "import", *arguments, SOURCE / source, "-o", output],
                              capture_output=True, text=True)
    assert imported.returncode == 0, imported.stderr
    checked = subprocess.run(["xmllint", "--noout", "--nonet", "--schema", schema, output],
                             capture_output=True, text=True)
    assert checked.returncode == 0, checked.stderr[-3000:]
