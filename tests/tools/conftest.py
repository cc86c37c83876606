"""kvsim on free loopback ports for the kvcli and Python package tests."""
import sys
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "common"))
from kvsim_run import Kvsim, wait_for  # noqa: E402,F401


@pytest.fixture(scope="module")
def kvsim():
    sim = Kvsim("--flow", "5", "--speed", "4")
    sim.sessions = lambda: sim.control("clients")
    yield sim
    sim.stop()
