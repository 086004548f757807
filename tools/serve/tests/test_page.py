"""The preview page in headless Chromium, driven through the DevTools
protocol over a pipe (no network port of the browser's own)."""

import base64
import fcntl
import json
import os
import pathlib
import shutil
import subprocess
import time

import pytest

CHROMIUM = os.environ.get("MUSEDATA_CHROMIUM") or shutil.which("chromium")
SCREENSHOTS = pathlib.Path(os.environ.get("MUSEDATA_SCREENSHOTS", "."))

pytestmark = pytest.mark.skipif(not CHROMIUM, reason="chromium is not installed")


class Browser:
    """Chromium speaking the DevTools protocol on file descriptors 3 and 4."""

    def __init__(self, profile):
        to_browser_read, self.to_browser = os.pipe()
        self.from_browser, from_browser_write = os.pipe()

        def wire():
            # Moved out of the way first, in case a pipe already holds 3 or 4.
            reading = fcntl.fcntl(to_browser_read, fcntl.F_DUPFD, 10)
            writing = fcntl.fcntl(from_browser_write, fcntl.F_DUPFD, 10)
            os.dup2(reading, 3)
            os.dup2(writing, 4)

        self.process = subprocess.Popen(
            [CHROMIUM, "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic",
             "--no-first-run", "--disable-background-networking", "--disable-component-update",
             "--disable-sync", "--user-data-dir=" + str(profile), "--remote-debugging-pipe",
             "--window-size=1400,1800", "--js-flags=--liftoff-only", "about:blank"],
            pass_fds=(3, 4, to_browser_read, from_browser_write), preexec_fn=wire,
            stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser_read)
        os.close(from_browser_write)
        self.buffer = b""
        self.next_id = 0
        self.session = None

    def send(self, method, **params):
        self.next_id += 1
        message = {"id": self.next_id, "method": method, "params": params}
        if self.session and not method.startswith("Target."):
            message["sessionId"] = self.session
        os.write(self.to_browser, json.dumps(message).encode() + b"\0")
        while True:
            while b"\0" not in self.buffer:
                chunk = os.read(self.from_browser, 1 << 20)
                assert chunk, "chromium closed the pipe"
                self.buffer += chunk
            raw, self.buffer = self.buffer.split(b"\0", 1)
            answer = json.loads(raw)
            if answer.get("id") == self.next_id:
                assert "error" not in answer, answer
                return answer["result"]

    def open(self, url):
        target = self.send("Target.createTarget", url=url)["targetId"]
        self.session = self.send("Target.attachToTarget", targetId=target,
                                 flatten=True)["sessionId"]

    def evaluate(self, expression):
        result = self.send("Runtime.evaluate", expression=expression, awaitPromise=True,
                           returnByValue=True)
        return result["result"].get("value")

    def wait_for(self, expression, seconds=120):
        deadline = time.monotonic() + seconds
        while time.monotonic() < deadline:
            value = self.evaluate(expression)
            if value:
                return value
            time.sleep(0.25)
        raise AssertionError("timed out waiting for " + expression)

    def screenshot(self, path):
        data = self.send("Page.captureScreenshot", format="png", captureBeyondViewport=True)
        path.write_bytes(base64.b64decode(data["data"]))

    def close(self):
        self.process.kill()
        self.process.wait(10)
        os.close(self.to_browser)
        os.close(self.from_browser)


@pytest.fixture(scope="module")
def browser(tmp_path_factory):
    running = Browser(tmp_path_factory.mktemp("chromium") / "profile")
    yield running
    running.close()


def test_minuet_renders(server, browser):
    browser.open(server.url + "?sample=minuet")
    state = browser.wait_for(
        "['rendered', 'error'].includes(document.body.dataset.state) && document.body.dataset.state")
    assert state == "rendered", browser.evaluate("document.getElementById('status').textContent")
    counts = browser.evaluate("""({
        pages: document.querySelectorAll('#score > svg').length,
        measures: document.querySelectorAll('#score svg g.measure').length,
        staves: document.querySelector('#score svg g.measure').querySelectorAll('g.staff').length,
        notes: document.querySelectorAll('#score svg g.note').length,
        parts: document.querySelectorAll('#download-parts button').length,
    })""")
    SCREENSHOTS.mkdir(parents=True, exist_ok=True)
    browser.screenshot(SCREENSHOTS / "minuet.png")
    expected_measures, expected_notes = minuet_counts(server)
    assert counts == {"pages": 1, "measures": expected_measures, "staves": 3,
                      "notes": expected_notes, "parts": 3}


def upload(browser, name, text):
    """Hands the page one file, as a drop would."""
    browser.evaluate("convert([new File([%s], %s)])" % (json.dumps(text), json.dumps(name)))
    return browser.wait_for(
        "['rendered', 'error'].includes(document.body.dataset.state) && document.body.dataset.state")


def test_warning_links_to_its_measure(server, browser):
    # An unknown attribute code in measure 2 of the violin part.
    from test_http import MINUET

    lines = MINUET[0].read_text(encoding="utf-8").splitlines(keepends=True)
    lines.insert(17, "$  Y:1\n")
    assert upload(browser, "violino.md", "".join(lines)) == "rendered"
    link = browser.evaluate("document.querySelector('#message-list li.warning a').textContent")
    assert "Unrecognized attribute code Y" in link and "measure 2" in link
    browser.evaluate("document.querySelector('#message-list li.warning a').click()")
    found = browser.evaluate("Array.from(document.querySelectorAll('#score .found'), "
                             "e => e.getAttribute('class'))")
    assert found == ["measure found"]
    # The found measure is the second of the score.
    assert browser.evaluate("document.querySelectorAll('#score g.measure')[1]"
                            ".classList.contains('found')")


def test_garbage_shows_an_error(server, browser):
    assert upload(browser, "garbage.md", "\u0000 garbage, not MuseData") == "error"
    status = browser.evaluate("document.getElementById('status').textContent")
    assert status.startswith("Not converted: error 0x")
    assert browser.evaluate("document.querySelectorAll('#message-list li.error').length") == 1
    assert browser.evaluate("document.querySelectorAll('#score > svg').length") == 0


def minuet_counts(server):
    """Measures of the score and notes of all its parts, from the server's own
    MusicXML of the minuet."""
    import xml.etree.ElementTree as ET

    from test_http import MINUET, convert

    _, answer = convert(server, [(p.name, p.read_bytes()) for p in MINUET])
    score = ET.fromstring(answer["musicxml"].encode())
    notes = [n for n in score.iter("note") if n.find("rest") is None]
    return len(score.find("part").findall("measure")), len(notes)
