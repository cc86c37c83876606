"""kvsim with its web console on free loopback ports, and a POS session through the library."""
import http.client
import json
import sys
import threading
import time
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "python"))
sys.path.insert(0, str(Path(__file__).resolve().parents[1] / "common"))
import kvclient  # noqa: E402
import kvsim_run  # noqa: E402
from kvsim_run import KVSIM, wait_for  # noqa: E402,F401


class Kvsim(kvsim_run.Kvsim):
    """kvsim with its console on a free port."""

    def __init__(self, *args):
        super().__init__("--http", "0", *args)
        assert "http" in self.ports, "kvsim did not announce its http port"
        self.url = "http://127.0.0.1:%d" % self.ports["http"]

    def request(self, method, path, body=None, timeout=5):
        conn = http.client.HTTPConnection("127.0.0.1", self.ports["http"], timeout=timeout)
        try:
            conn.request(method, path, body=body)
            r = conn.getresponse()
            return r.status, r.getheader("Content-Type"), r.read().decode()
        finally:
            conn.close()

    def state(self):
        status, _, body = self.request("GET", "/api/state")
        assert status == 200, body
        return json.loads(body)

    def command(self, line):
        status, _, body = self.request("POST", "/api/command", line)
        return status, json.loads(body)


class Stream:
    """Reads /api/stream on a thread of its own, keeping the events in order."""

    def __init__(self, port, last_id=None):
        self.conn = http.client.HTTPConnection("127.0.0.1", port, timeout=30)
        self.conn.request("GET", "/api/stream", headers={"Last-Event-ID": str(last_id)} if last_id else {})
        self.response = self.conn.getresponse()
        assert self.response.status == 200
        assert self.response.getheader("Content-Type").startswith("text/event-stream")
        self.events = []
        self.cond = threading.Condition()
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        kind, data = None, []
        try:
            for raw in self.response:
                line = raw.decode().rstrip("\n")
                if line.startswith("event: "):
                    kind = line[7:]
                elif line.startswith("data: "):
                    data.append(line[6:])
                elif line == "" and kind:
                    with self.cond:
                        self.events.append((kind, json.loads("\n".join(data))))
                        self.cond.notify_all()
                    kind, data = None, []
        except (OSError, AttributeError):
            pass   # closed under the reader

    def wait_for(self, match, timeout=20):
        """The first event (kind, data) for which match is true, waiting up to timeout."""
        deadline = time.time() + timeout
        with self.cond:
            while True:
                for e in self.events:
                    if match(*e):
                        return e
                left = deadline - time.time()
                assert left > 0, "no such event in the stream"
                self.cond.wait(left)

    def log_events(self):
        with self.cond:
            return [(k, d) for k, d in self.events if k != "state"]

    def logs(self):
        with self.cond:
            return [d for k, d in self.events if k == "log"]

    def close(self):
        self.conn.close()


def pos(kvsim, client_id, client_type=3):
    """A POS client through the Python package (calls and events by default)."""
    return kvclient.Session("127.0.0.1", kvsim.ports["call"], kvsim.ports["events"], client_id=client_id,
                            client_type=client_type)


@pytest.fixture
def kvsim(request, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)   # the library writes its logs below the working directory
    marker = request.node.get_closest_marker("kvsim_args")
    sim = Kvsim(*(marker.args if marker else ()))
    yield sim
    sim.stop()


def pytest_configure(config):
    config.addinivalue_line("markers", "kvsim_args(*args): extra kvsim options")
