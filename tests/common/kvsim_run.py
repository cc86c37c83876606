"""kvsim on free loopback ports for the Python tests of the tools and the web console."""
import os
import re
import socket
import subprocess
import threading
import time

KVSIM = os.environ.get("KVSIM", "build/x86_64/sim/kvsim")


class Kvsim:
    """kvsim with extra options; its ports as it announced them, its output kept."""

    def __init__(self, *args):
        self.proc = subprocess.Popen([KVSIM, "--no-stdin", *args], stdout=subprocess.PIPE,
                                     stderr=subprocess.STDOUT, text=True)
        self.ports = None
        while self.ports is None:
            line = self.proc.stdout.readline()
            if not line:
                break
            if line.startswith("KVSIM READY"):
                self.ports = {k: int(v) for k, v in re.findall(r"(\w+)=(\d+)", line)}
        assert self.ports, "kvsim did not start"
        self.call, self.events = self.ports["call"], self.ports["events"]
        # Drained all along: a full pipe would stall kvsim.
        self.output = []
        threading.Thread(target=lambda: self.output.extend(self.proc.stdout), daemon=True).start()

    def control(self, command: str) -> str:
        """One control command; the whole reply."""
        with socket.create_connection(("127.0.0.1", self.ports["control"]), timeout=5) as s:
            s.sendall(command.encode() + b"\n")
            s.shutdown(socket.SHUT_WR)
            reply = b""
            while chunk := s.recv(4096):
                reply += chunk
        text = reply.decode()
        assert text.startswith("ok"), f"{command}: {text}"
        return text

    def stop(self):
        """Stops kvsim as SIGTERM does, which must end it cleanly."""
        self.proc.terminate()
        try:
            self.proc.wait(10)
        except subprocess.TimeoutExpired:
            self.proc.kill()
            self.proc.wait()
        assert self.proc.returncode == 0, "".join(self.output[-40:])


def wait_for(predicate, timeout=15.0, interval=0.1, what="condition"):
    """Polls until predicate() is truthy; returns its value."""
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        value = predicate()
        if value:
            return value
        time.sleep(interval)
    raise AssertionError(what + " not met in time")
