"""Every test session gets its own home and settings store, so that the unit style read is the
built-in one and nothing of the user's is touched."""

import os
import pathlib
import tempfile

_home = tempfile.mkdtemp(prefix="zevcore-pytest-")
os.environ["HOME"] = _home
os.environ["XDG_CONFIG_HOME"] = os.path.join(_home, "config")
os.environ["XDG_DATA_HOME"] = os.path.join(_home, "data")
os.environ["ZEV_REGISTRY"] = os.path.join(_home, "registry.db")

import pytest  # noqa: E402

ROOT = pathlib.Path(__file__).resolve().parents[2]


@pytest.fixture
def plate_dxf() -> pathlib.Path:
    """A plate with a hole and an interior point, drawn as other programs draw it."""
    return ROOT / "tests" / "tools" / "data" / "dxf" / "plate.dxf"


@pytest.fixture
def samples() -> pathlib.Path:
    return ROOT / "tools" / "zevcore" / "samples"
