"""kvcli against kvsim: tables and JSON, pump and delivery commands, errors, watch."""
import json
import os
import re
import signal
import subprocess
import sys
import time
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "python"))
import kvclient  # noqa: E402
from conftest import wait_for  # noqa: E402

KVCLI = os.path.abspath(os.environ["KVCLI"])
COMMANDS = ["pumps", "status", "authorise", "stop", "resume", "deliveries", "lock", "clear", "grades", "prices",
            "tanks", "set-price", "clients", "version", "watch"]


def command(kvsim, *args):
    return [KVCLI, "--call-port", str(kvsim.call), "--events-port", str(kvsim.events), *args]


def kvcli(kvsim, *args, check=True):
    r = subprocess.run(command(kvsim, *args), capture_output=True, text=True, timeout=30)
    if check:
        assert r.returncode == 0, r.stderr
    return r


def as_json(kvsim, *args):
    return json.loads(kvcli(kvsim, "--json", *args).stdout)


def test_pumps_table_matches_json(kvsim):
    rows = as_json(kvsim, "pumps")
    assert [p["number"] for p in rows] == list(range(1, 9))
    assert all({"number", "id", "state", "hose", "volume", "money", "reservation"} <= p.keys() for p in rows)
    assert {p["state"] for p in rows} <= {"Idle", "Calling", "Authorised", "Delivering", "Finished"}

    lines = kvcli(kvsim, "pumps").stdout.splitlines()
    assert lines[0].split()[:4] == ["NUMBER", "ID", "NAME", "STATE"] and len(lines) == 9
    # Aligned: every column starts where its heading does.
    state_col = lines[0].index("STATE")
    for line, pump in zip(lines[1:], rows):
        assert line[state_col:].startswith(pump["state"]), line
        assert re.match(rf"\s*{pump['number']}\s+{pump['id']}\s", line), line


def test_sale_by_commands(kvsim):
    out = kvcli(kvsim, "authorise", "2", "--volume", "100").stdout  # 5 s at kvsim's pace here
    assert "pump 2 authorised for 100.00 l" in out
    assert as_json(kvsim, "status", "2")["state"] == "Authorised"
    kvsim.control("lift 2 1")
    kvcli(kvsim, "stop", "2")
    assert as_json(kvsim, "status", "2")["state"] == "Stopped"
    kvcli(kvsim, "resume", "2")

    def completed():
        rows = as_json(kvsim, "deliveries", "--pump", "2")
        return [d for d in rows if d["state"] == "completed"]
    (d,) = wait_for(completed)
    assert (d["pump"], d["volume"], d["locked_by"]) == (2, 100.0, None)
    kvsim.control("hang 2")

    assert f"delivery {d['id']} locked by client 90" in kvcli(kvsim, "lock", str(d["id"])).stdout
    # The lock ends with kvcli's session: kvsim releases a session's locks at its logoff.
    assert [r["locked_by"] for r in as_json(kvsim, "deliveries") if r["id"] == d["id"]] == [None]
    kvcli(kvsim, "clear", str(d["id"]), "--type", "1")
    assert d["id"] not in [r["id"] for r in as_json(kvsim, "deliveries")]


@pytest.mark.parametrize("args, code, text", [
    (["status", "99"], 2, "pump 99"),
    (["lock", "424242"], -7, "delivery 424242"),
    (["set-price", "77", "1", "1.5"], 2, "grade 77"),
])
def test_errors_name_the_result(kvsim, args, code, text):
    r = kvcli(kvsim, *args, check=False)
    name = kvclient.result_name(code)
    assert r.returncode == 1 and text in r.stderr and f"result {code}, {name}" in r.stderr, r.stderr


def test_reserved_pump_names_the_holder(kvsim):
    with kvclient.Session("127.0.0.1", kvsim.call, kvsim.events, client_id=3, client_type=1) as s:
        s._call("PrepayReserveMT", s.pump(5).id)
        r = kvcli(kvsim, "authorise", "5", check=False)
    assert r.returncode == 1 and "prepay by client 3" in r.stderr and "RESERVED" in r.stderr, r.stderr


def test_not_connected(kvsim):
    r = subprocess.run([KVCLI, "--call-port", "1", "--events-port", "1", "pumps"],
                       capture_output=True, text=True, timeout=30)
    assert r.returncode == 1 and "NOT_OPEN" in r.stderr, r.stderr


def test_settings_from_kvclient_ini(kvsim, tmp_path):
    (tmp_path / "KVClient.ini").write_text(
        f"[Server]\r\nname=127.0.0.1\r\nCallPort={kvsim.call}\r\nEventsPort={kvsim.events}\r\n"
        "CallTimeout=3000\r\n")
    r = subprocess.run([KVCLI, "--json", "version"], cwd=tmp_path, capture_output=True,
                       text=True, timeout=30)
    assert r.returncode == 0 and json.loads(r.stdout)["server"].endswith("2,5,6,0"), r.stderr


def test_set_price_and_grades(kvsim):
    kvcli(kvsim, "set-price", "3", "2", "1.299")
    (grade,) = [g for g in as_json(kvsim, "prices") if g["number"] == 3]
    assert grade["price2"] == 1.299
    assert kvcli(kvsim, "set-price", "3", "3", "1.0", check=False).returncode == 2


def test_tanks_clients_version(kvsim):
    tanks = as_json(kvsim, "tanks")
    assert len(tanks) == 4 and all(t["volume"] > 0 and t["capacity"] >= t["volume"] for t in tanks)
    assert as_json(kvsim, "clients")["clients"] >= 1
    v = as_json(kvsim, "version")
    assert v["library"] == "Client Version 2,5,6,0" and v["server"].endswith("2,5,6,0")


@pytest.mark.parametrize("command", COMMANDS)
def test_help_of_every_command(command):
    r = subprocess.run([KVCLI, command, "--help"], capture_output=True, text=True, timeout=10)
    assert r.returncode == 0 and f"{command} [OPTIONS]" in r.stdout, r.stdout + r.stderr


def test_watch_follows_events_and_leaves_on_ctrl_c(kvsim):
    w = subprocess.Popen(command(kvsim, "--json", "watch"), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wait_for(lambda: re.search(r"^client 91 ", kvsim.sessions(), re.M))
    kvsim.control("lift 7 1")   # pump 7 authorises itself
    time.sleep(1.5)
    kvsim.control("hang 7")
    kvsim.control("tag 3 4711")
    time.sleep(1.0)
    w.send_signal(signal.SIGINT)
    out, err = w.communicate(timeout=10)
    assert w.returncode == 0, err
    events = [json.loads(line) for line in out.splitlines()]
    kinds = {e["event"] for e in events}
    assert {"pump", "delivery", "card", "tank"} <= kinds, kinds
    assert any(e["event"] == "pump" and e["number"] == 7 and e["state"] == "Delivering" for e in events)
    assert not re.search(r"^client 91 ", kvsim.sessions(), re.M), "watch left its session behind"
