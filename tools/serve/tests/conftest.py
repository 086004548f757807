import os
import pathlib
import re
import subprocess
import urllib.error
import urllib.request

import pytest

TOOL = os.environ.get("MUSEDATA_TOOL", "build/musedata")
EXAMPLES = pathlib.Path(
    os.environ.get("MUSEDATA_EXAMPLES", pathlib.Path(__file__).resolve().parents[3] / "examples")
)


class Server:
    """`musedata serve` on a free port of 127.0.0.1, stopping by itself after
    ten minutes at the latest."""

    def __init__(self, *options):
        self.process = subprocess.Popen(
            [TOOL, "serve", "--port", "0", "--stop-after", "600", *options],
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        line = self.process.stdout.readline()
        match = re.search(r"http://127\.0\.0\.1:(\d+)/", line)
        assert match, "no URL printed: %r %r" % (line, self.process.stderr.read())
        self.url = match.group(0)

    def request(self, path, data=None, headers=None, method=None):
        """(status, content type, body bytes) of one request."""
        request = urllib.request.Request(self.url + path.lstrip("/"), data=data,
                                         headers=headers or {}, method=method)
        try:
            with urllib.request.urlopen(request, timeout=60) as response:
                return response.status, response.headers.get("Content-Type", ""), response.read()
        except urllib.error.HTTPError as error:
            return error.code, error.headers.get("Content-Type", ""), error.read()

    def stop(self):
        self.process.terminate()
        try:
            self.process.wait(10)
        finally:
            self.process.stdout.close()
            self.process.stderr.close()


@pytest.fixture(scope="module")
def server():
    running = Server()
    yield running
    running.stop()
    assert running.process.returncode == 0
