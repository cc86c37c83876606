"""The console's JSON API and event stream against a running kvsim."""
import json
import socket
import subprocess
import time

import pytest

from conftest import KVSIM, Stream, pos


def test_state_schema_and_commands_change_it(kvsim):
    s = kvsim.state()
    assert [p["number"] for p in s["pumps"]] == list(range(1, 9))
    for p in s["pumps"]:
        assert p["id"] == 100 + p["number"] and p["state"] == 1 and p["stateText"] == "Idle"
        assert p["hoses"] and all(h["tank"] > 0 and h["grade"] > 0 for h in p["hoses"])
    assert len(s["tanks"]) == 4 and len(s["grades"]) == 4 and s["clients"] == []
    assert s["tanks"][0]["capacity"] == 40000 and s["tanks"][0]["volume"] == 28500

    # Each command's effect is in the next state, as the control port would make it.
    for line, check in [
        ("price 2 2 1.999", lambda s: s["grades"][1]["price2"] == 1.999),
        ("flow 3 2.5", lambda s: s["pumps"][2]["flow"] == 2.5),
        ("tank 4 100", lambda s: s["tanks"][3]["volume"] == 100 and s["tanks"][3]["ullage"] == 19900),
        ("lift 1 2", lambda s: s["pumps"][0]["state"] == 2 and s["pumps"][0]["hose"] == 2),
        ("alarm 1 3 1 high water", lambda s: s["tanks"][0]["alarms"] == 8),
        ("auto on", lambda s: s["auto"] is True),
        ("speed 2", lambda s: s["speed"] == 2),
    ]:
        status, reply = kvsim.command(line)
        assert status == 200 and reply["ok"] and reply["reply"].startswith("ok"), (line, reply)
        assert check(kvsim.state()), line


def test_a_sale_streams_in_order(kvsim):
    client = pos(kvsim, 9)   # calls and events: it is told of the sale
    stream = Stream(kvsim.ports["http"])
    first = stream.wait_for(lambda k, d: k == "state")[1]
    assert [p["number"] for p in first["pumps"]] == list(range(1, 9))
    assert kvsim.command("event 42 quote \" backslash \\ tab\tend")[0] == 200
    assert kvsim.command("lift 7")[0] == 200   # pump 7 authorises itself
    stream.wait_for(lambda k, d: k == "log" and d.get("progress") and d["volume"] >= 0.5)
    assert kvsim.command("hang 7")[0] == 200
    stream.wait_for(lambda k, d: k == "log" and d["call"] == "PumpEvent" and d["state"] == 1)
    stream.wait_for(lambda k, d: k == "state" and d["pumps"][6]["state"] == 1)

    logs = stream.logs()
    assert [e["seq"] for e in logs] == list(range(logs[0]["seq"], logs[0]["seq"] + len(logs)))
    text = next(e for e in logs if e["call"] == "ServerEvent" and e["a"] == 42)
    assert text["text"] == "quote \" backslash \\ tab\tend" and text["to"] == [9]
    sale = [e for e in logs if e.get("pump") == 7]
    steps = [(e["call"], e["state"]) for e in sale if not e.get("progress")]
    order = [("DeliveryEvent", 1), ("PumpEvent", 4), ("DeliveryEvent", 2), ("PumpEvent", 1)]
    assert [s for s in steps if s in order] == order, steps
    assert ("LogDelivery", 2) in steps[steps.index(("PumpEvent", 4)):]
    volumes = [e["volume"] for e in sale if e.get("progress")]
    assert volumes == sorted(volumes) and len(volumes) >= 2
    done = next(e for e in sale if e["call"] == "DeliveryEvent" and e["state"] == 2)
    assert done["volume"] >= volumes[-1] and done["money"] > 0
    assert all(e["to"] == [9] for e in sale if e["call"] in ("PumpEvent", "DeliveryEvent"))
    d = kvsim.state()["pumps"][6]["deliveries"][0]
    assert (d["id"], d["volume"], d["money"], d["state"]) == (done["delivery"], done["volume"], done["money"], 2)
    stream.close()
    client.close()


def test_a_late_reader_resumes_or_is_told_what_it_missed(kvsim):
    # 2100 events in one pass of the control port: more than the ring keeps.
    with socket.create_connection(("127.0.0.1", kvsim.ports["control"])) as control:
        control.sendall(b"event 7 burst\n" * 2100)
        replies = b""
        while replies.count(b"\n") < 2100:
            replies += control.recv(65536)
    assert kvsim.command("event 8 last")[0] == 200
    last = 2101   # nothing else happens on this forecourt
    for since, first in [(1800, None), (1, "gap")]:
        stream = Stream(kvsim.ports["http"], last_id=since)
        stream.wait_for(lambda k, d: k == "log" and d["seq"] == last)
        events = stream.log_events()
        if first == "gap":
            assert events[0][0] == "gap" and events[1][1]["seq"] == since + events[0][1]["skipped"] + 1
            events = events[1:]
        assert [d["seq"] for _, d in events] == list(range(events[0][1]["seq"], last + 1))
        assert events[0][1]["seq"] == (since + 1 if first is None else last - 1999)
        stream.close()


BAD = [
    ("POST", "/api/command", "", 400),
    ("POST", "/api/command", "   \n", 400),
    ("POST", "/api/command", "lift 1\nhang 1", 400),
    ("POST", "/api/command", "# a comment", 400),
    ("POST", "/api/command", "event 1 " + "x" * 2000, 413),
    ("POST", "/api/command", "x" * 200000, 413),
    ("POST", "/api/command", "bogus 1", 422),
    ("POST", "/api/command", "lift 99", 422),
    ("GET", "/api/command", None, 405),
    ("POST", "/api/state", "", 405),
    ("GET", "/api/nothing", None, 404),
    ("GET", "/../../etc/passwd", None, 404),
]


@pytest.mark.parametrize("method,path,body,status", BAD, ids=range(len(BAD)))
def test_bad_requests_get_a_4xx_with_a_message(kvsim, method, path, body, status):
    got, kind, text = kvsim.request(method, path, body)
    assert got == status, text
    assert kind == "application/json"
    message = json.loads(text)
    assert (message.get("error") or message.get("reply", "").startswith("error ")), message
    assert kvsim.state()["pumps"][0]["state"] == 1   # nothing happened, and kvsim still serves


@pytest.mark.kvsim_args("--speed", "20", "--auto", "--flow", "5")
def test_stalled_readers_never_hold_the_simulation(kvsim):
    # Readers that never read, with tiny buffers: they fill up and are dropped, while the
    # simulation (timed through the control port, which its own thread serves), the
    # commands and a reader that keeps up go on.
    control = socket.create_connection(("127.0.0.1", kvsim.ports["control"]))
    before = kvsim.command("deliveries")[1]["reply"]
    stalled = []
    for _ in range(12):
        s = socket.socket()
        s.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 2048)
        s.connect(("127.0.0.1", kvsim.ports["http"]))
        s.sendall(b"GET /api/stream HTTP/1.1\r\nHost: x\r\n\r\n")
        stalled.append(s)
    start = time.time()
    slowest = 0
    while time.time() - start < 8:
        t = time.time()
        control.sendall(b"busy 0\n")
        reply = b""
        while not reply.endswith(b"\n"):
            reply += control.recv(100)
        slowest = max(slowest, time.time() - t)
        assert reply == b"ok busy 0\n"
        if start + 0.3 < t < start + 0.4:
            assert kvsim.request("GET", "/api/stream")[0] == 503   # as many streams as allowed
            assert kvsim.command("status")[1]["reply"].startswith("ok 8 pumps")
        time.sleep(0.02)
    assert slowest < 1.0, slowest   # a stalled write would hold it for the 3 s write timeout
    # The customers kept buying fuel all along.
    assert int(kvsim.command("deliveries")[1]["reply"].split()[1]) >= int(before.split()[1]) + 2
    until = time.time() + 15   # the stalled ones are dropped
    while kvsim.request("GET", "/api/state")[0] == 200 and time.time() < until:
        try:
            stream = Stream(kvsim.ports["http"])
            break
        except AssertionError:
            time.sleep(0.5)
    stream.wait_for(lambda k, d: k == "log" and d.get("progress"))
    stream.close()
    for s in stalled + [control]:
        s.close()


def test_quit_is_answered_and_ends_kvsim(kvsim):
    stream = Stream(kvsim.ports["http"])
    assert kvsim.command("quit") == (200, {"ok": True, "reply": "ok bye\n"})
    assert kvsim.proc.wait(10) == 0
    stream.close()


@pytest.mark.parametrize("args,rc,message", [
    (["--http", "-1"], 2, "--http needs a port"),
    (["--http", "70000"], 2, "port 70000 out of range"),
    (["--http", "0", "--http-bind", "300.1.1.1"], 1, "cannot listen for HTTP on 300.1.1.1"),
])
def test_a_console_that_cannot_start_stops_kvsim_unannounced(args, rc, message, tmp_path):
    r = subprocess.run([KVSIM, "--no-stdin", "--workdir", str(tmp_path), *args], capture_output=True, text=True,
                       timeout=10)
    assert (r.returncode, "KVSIM READY" in r.stdout) == (rc, False) and message in r.stderr, r
