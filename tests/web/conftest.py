"""kvsim with its web console on free loopback ports, and a POS session through the library."""
import ctypes
import http.client
import json
import os
import re
import subprocess
import threading
import time

import pytest

KVSIM = os.environ.get("KVSIM", "build/x86_64/sim/kvsim")
KVCLIENT_LIB = os.environ.get("KVCLIENT_LIB", "build/x86_64/lib/libkvclient.so")


class Kvsim:
    def __init__(self, *args):
        self.proc = subprocess.Popen([KVSIM, "--no-stdin", "--http", "0", *args], stdout=subprocess.PIPE,
                                     stderr=subprocess.STDOUT, text=True)
        deadline = time.time() + 10
        self.ports = None
        while time.time() < deadline and self.ports is None:
            line = self.proc.stdout.readline()
            if not line:
                break
            if line.startswith("KVSIM READY"):
                self.ports = {k: int(v) for k, v in re.findall(r"(\w+)=(\d+)", line)}
        assert self.ports and "http" in self.ports, "kvsim did not announce its http port"
        self.output = []
        threading.Thread(target=lambda: self.output.extend(self.proc.stdout), daemon=True).start()
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

    def stop(self):
        """Stops kvsim as SIGTERM does, which must end it cleanly."""
        self.proc.terminate()
        try:
            self.proc.wait(10)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()
        assert self.proc.returncode == 0, "".join(self.output[-40:])


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
            pass

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


class Pos:
    """A POS client through the shared library's C API."""

    def __init__(self, kvsim, client_id, client_type=1):
        self.lib = ctypes.CDLL(KVCLIENT_LIB)
        self.lib.ClientLogonEx.argtypes = [ctypes.c_long, ctypes.c_short, ctypes.c_char_p, ctypes.c_ushort,
                                           ctypes.c_ushort, ctypes.c_long, ctypes.c_void_p, ctypes.c_void_p,
                                           ctypes.c_uint]
        self.lib.LoadPreset.argtypes = [ctypes.c_long, ctypes.c_short, ctypes.c_double, ctypes.c_short,
                                        ctypes.c_short]
        r = self.lib.ClientLogonEx(client_id, client_type, b"127.0.0.1", kvsim.ports["call"],
                                   kvsim.ports["events"], 3000, None, None, 0)
        assert r == 0, "ClientLogonEx: %d" % r

    def pump_id(self, number):
        pid = ctypes.c_long(-1)
        assert self.lib.GetPumpByNumber(number, ctypes.byref(pid)) == 0
        return pid.value

    def preset_money(self, pump, amount):
        assert self.lib.LoadPreset(self.pump_id(pump), 1, amount, 0, 0) == 0

    def logoff(self):
        self.lib.ClientLogoff()


@pytest.fixture
def kvsim(request, tmp_path, monkeypatch):
    monkeypatch.chdir(tmp_path)   # the library writes its logs below the working directory
    marker = request.node.get_closest_marker("kvsim_args")
    sim = Kvsim(*(marker.args if marker else ()))
    yield sim
    sim.stop()


def pytest_configure(config):
    config.addinivalue_line("markers", "kvsim_args(*args): extra kvsim options")
