import io
import json
import uuid
import xml.etree.ElementTree as ET
import zipfile

import pytest

from conftest import EXAMPLES

MINUET = sorted((EXAMPLES / "minuet").iterdir())


def multipart(files, field="file"):
    """A multipart/form-data body with `files` as (name, bytes) pairs."""
    boundary = uuid.uuid4().hex
    body = io.BytesIO()
    for name, data in files:
        body.write(("--%s\r\nContent-Disposition: form-data; name=\"%s\"; filename=\"%s\"\r\n"
                    "Content-Type: application/octet-stream\r\n\r\n" % (boundary, field, name))
                   .encode("latin-1"))
        body.write(data + b"\r\n")
    body.write(("--%s--\r\n" % boundary).encode())
    return body.getvalue(), {"Content-Type": "multipart/form-data; boundary=" + boundary}


def convert(server, files, field="file"):
    status, kind, body = server.request("/api/convert", *multipart(files, field))
    assert kind.startswith("application/json")
    return status, json.loads(body)


def test_page_and_its_files(server):
    status, kind, body = server.request("/")
    assert status == 200 and kind.startswith("text/html") and b"app.js" in body
    status, kind, _ = server.request("/app.js")
    assert status == 200 and kind.startswith("text/javascript")
    status, _, body = server.request("/samples/samples.json")
    assert json.loads(body)["minuet"] == [p.name for p in MINUET]
    for path in ("/nothing.html", "/../CMakeCache.txt"):
        status, kind, body = server.request(path)
        assert status in (400, 404), path


def test_converts_parts_in_name_order(server):
    # Sent in reverse, the parts still come in natural name order.
    status, answer = convert(server, [(p.name, p.read_bytes()) for p in reversed(MINUET)])
    assert status == 200 and answer["ok"], answer
    score = ET.fromstring(answer["musicxml"].encode())
    assert [p.get("id") for p in score.findall("part")] == ["P1", "P2", "P3"]
    assert answer["kind"] == "musedata" and answer["messages"] == []

    # The score given back as MusicXML is read as it is.
    status, again = convert(server, [("minuet.musicxml", answer["musicxml"].encode())])
    assert again["ok"] and again["kind"] == "musicxml"
    assert again["musicxml"] == answer["musicxml"]


@pytest.mark.parametrize("name, data, says", [
    ("garbage.md", b"\x00\x01 not music at all", "error"),
    ("caf\xe9.md", b"\xff\xfe", "error"),  # a name that is not UTF-8
    ("broken.musicxml", b"<score-partwise><part id=\"P1\">", "line"),
])
def test_bad_files_get_their_error(server, name, data, says):
    status, answer = convert(server, [(name, data)])
    assert status == 200 and not answer["ok"]
    errors = [m for m in answer["messages"] if m["level"] == "error"]
    assert errors and says in errors[0]["text"]


def test_stopped_part_says_where(server):
    # An empty line inside the musical data ends the part before its "/END".
    lines = MINUET[0].read_bytes().splitlines()
    lines.insert(20, b"")
    _, answer = convert(server, [("violino.md", b"\n".join(lines) + b"\n")])
    [error] = answer["messages"]
    assert error["level"] == "error" and "stopped" in error["text"]
    assert error["file"] == "violino.md" and error["line"] == 21 and error["part"] == 1
    assert error["measure"] == "2"


XML = {"Content-Type": "application/xml"}


def test_bad_requests(server):
    status, _, body = server.request("/api/convert", b"just text",
                                     {"Content-Type": "text/plain"})
    assert status == 400 and "multipart" in json.loads(body)["messages"][0]["text"]
    status, answer = convert(server, [("a.md", MINUET[0].read_bytes())], field="other")
    assert status == 400 and not answer["ok"]
    status, _, body = server.request("/api/musedata?part=x", b"<a/>", XML)
    assert status == 400
    status, _, body = server.request("/api/mxl", b"not xml", XML)
    assert status == 422 and json.loads(body)["messages"][0]["level"] == "error"


def test_size_limit(server):
    body, headers = multipart([("huge.md", b"x" * (50 * 1024 * 1024 + 1))])
    status, _, _ = server.request("/api/convert", body, headers)
    assert status == 413
    # The server is still there for the next upload.
    status, answer = convert(server, [(p.name, p.read_bytes()) for p in MINUET])
    assert status == 200 and answer["ok"]


def test_downloads(server):
    _, answer = convert(server, [(p.name, p.read_bytes()) for p in MINUET])
    score = answer["musicxml"].encode()
    status, kind, body = server.request("/api/mxl", score, XML)
    assert status == 200 and kind == "application/vnd.recordare.musicxml"
    with zipfile.ZipFile(io.BytesIO(body)) as container:
        assert container.read("score.xml") == score
    status, kind, body = server.request("/api/musedata?part=1", score, XML)
    assert status == 200 and b"/END" in body
