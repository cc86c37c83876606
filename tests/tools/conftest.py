"""kvsim on free loopback ports for the kvcli and Python package tests."""
import os
import socket
import subprocess
import time
from pathlib import Path

import pytest

SOURCE = Path(__file__).resolve().parents[2]


class Kvsim:
    def __init__(self, proc, ports):
        self.proc = proc
        self.call, self.events, self.control_port = ports

    def control(self, command: str) -> str:
        """One control command; the whole reply."""
        with socket.create_connection(("127.0.0.1", self.control_port), timeout=5) as s:
            s.sendall(command.encode() + b"\n")
            s.shutdown(socket.SHUT_WR)
            reply = b""
            while chunk := s.recv(4096):
                reply += chunk
        text = reply.decode()
        assert text.startswith("ok"), f"{command}: {text}"
        return text

    def sessions(self) -> str:
        return self.control("clients")


@pytest.fixture(scope="module")
def kvsim(tmp_path_factory):
    # Output to a file: a pipe nobody reads would stall kvsim once full.
    log = tmp_path_factory.mktemp("kvsim") / "kvsim.out"
    with open(log, "w") as out:
        proc = subprocess.Popen([os.environ["KVSIM"], "--no-stdin", "--flow", "5", "--speed", "4"],
                                stdout=out, stderr=subprocess.STDOUT)
    deadline = time.monotonic() + 10
    ports = None
    while ports is None and time.monotonic() < deadline and proc.poll() is None:
        for line in log.read_text().splitlines():
            if line.startswith("KVSIM READY"):
                f = dict(kv.split("=") for kv in line.split()[2:])
                ports = int(f["call"]), int(f["events"]), int(f["control"])
        time.sleep(0.05)
    assert ports, "kvsim did not start: " + log.read_text()
    yield Kvsim(proc, ports)
    proc.terminate()
    proc.wait(10)


def wait_for(predicate, timeout=15.0, interval=0.1):
    """Polls until predicate() is truthy; returns its value."""
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        value = predicate()
        if value:
            return value
        time.sleep(interval)
    raise AssertionError("condition not met in time")
