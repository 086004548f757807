import os
import pathlib

import pytest

EXAMPLES = pathlib.Path(
    os.environ.get("MUSEDATA_EXAMPLES", pathlib.Path(__file__).resolve().parents[2] / "examples")
)
MINUET = EXAMPLES / "minuet"


@pytest.fixture
def minuet_parts():
    return sorted(MINUET.iterdir())


@pytest.fixture
def minuet_set(tmp_path, minuet_parts):
    """The minuet as one set file: each part followed by "/eof", the set by "//"."""
    text = "".join(part.read_text(encoding="utf-8") + "/eof\n" for part in minuet_parts) + "//\n"
    path = tmp_path / "minuet.msd"
    path.write_text(text, encoding="utf-8")
    return path
