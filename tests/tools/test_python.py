"""The Python package against kvsim: declarations, values, errors, sessions, events, examples."""
import os
import re
import sqlite3
import subprocess
import sys
from datetime import datetime, timezone
from decimal import Decimal

import pytest

from conftest import SOURCE, wait_for

sys.path.insert(0, str(SOURCE / "python"))
sys.path.insert(0, str(SOURCE / "examples" / "python"))
import kvclient  # noqa: E402
from kvclient import _lib  # noqa: E402

import backoffice_logger  # noqa: E402

C_KINDS = {"long": "l", "short": "h", "long long": "q", "double": "d", "const char*": "s",
           "unsigned short": "u", "unsigned int": "i", "void*": "p", "CKVCLProcess*": "p",
           "CKVCLProcess**": "P", "char*": "S", "long*": "L", "short*": "H", "long long*": "Q",
           "double*": "D"}


def test_every_declaration_matches_the_header():
    """A wrong argument list would corrupt memory instead of failing."""
    header = (SOURCE / "include" / "kvclient.h").read_text()
    for name, kinds in _lib.SIGNATURES.items():
        m = re.search(rf"KV_API long {name}\((.*?)\);", header, re.S)
        assert m, name
        args = [re.sub(r"\s+\w+$", "", a.strip()).replace(" *", "*") for a in m.group(1).split(",")]
        declared = "".join(C_KINDS[a] for a in args if a != "void")
        assert declared == kinds.replace("T", "L").replace("t", "l"), name


@pytest.fixture
def session(kvsim):
    with kvclient.Session("127.0.0.1", kvsim.call, kvsim.events, client_id=30) as s:
        yield s


def test_objects_and_values(session):
    pumps = session.pumps()
    assert [p.number for p in pumps] == list(range(1, 9)) and pumps[0] == session.pump(1)
    status = pumps[3].status()
    assert isinstance(status.money, Decimal) and status.state_text
    grade = session.grade(4)
    grade.set_price(1, Decimal("1.2345"))
    assert grade.price(1) == Decimal("1.2345") and session.grades()[3].price(1) == Decimal("1.2345")
    tank = session.tanks()[1]
    reading = tank.status()
    assert isinstance(reading.volume, Decimal) and 0 < reading.volume <= tank.capacity
    assert session.clients_count() >= 1 and session.server_version().endswith("2,5,6,0")
    assert kvclient.library_version() == "Client Version 2,5,6,0"


def test_errors(kvsim, session):
    with pytest.raises(kvclient.NoSuchObjectError) as e:
        session.pump(99)
    assert (e.value.code, e.value.name) == (2, "NOT_FOUND") and "pump 99" in str(e.value)
    with pytest.raises(kvclient.NoSuchObjectError) as e:
        session.delivery(-1).lock()
    assert (e.value.code, e.value.name) == (-7, "NO_OBJECT")
    with pytest.raises(kvclient.NotConnectedError) as e:
        kvclient.Session("127.0.0.1", 1, 1)
    assert e.value.name == "NOT_OPEN"
    with pytest.raises(ValueError):
        session.pump(1).preset(money=1, volume=1)


def test_sessions_log_off_also_on_exceptions(kvsim):
    def logged_on(client):
        return re.search(rf"^client {client} ", kvsim.sessions(), re.M)
    with pytest.raises(RuntimeError):
        with kvclient.Session("127.0.0.1", kvsim.call, kvsim.events, client_id=41) as a, \
                kvclient.Session("127.0.0.1", kvsim.call, kvsim.events, client_id=42) as b:
            assert logged_on(41) and logged_on(42)
            assert a.pump(1) != b.pump(1) and a.pump(1).id == b.pump(1).id
            raise RuntimeError
    assert not logged_on(41) and not logged_on(42)
    with pytest.raises(kvclient.NotConnectedError) as e:
        a.pumps()
    assert e.value.code == 8


def test_sale_with_typed_events_and_a_lock_held_by_another_client(kvsim, session):
    pump = session.pump(3)
    session.poll_events()
    pump.preset(volume=Decimal("1.5"))
    kvsim.control("lift 3 1")
    seen = []
    for event in session.events(timeout=20):
        seen.append(event)
        if isinstance(event, kvclient.DeliveryEvent) and event.pump_id == pump.id and event.state == 2:
            break
    kvsim.control("hang 3")
    done = seen[-1]
    assert isinstance(done, kvclient.DeliveryEvent) and done.volume == Decimal("1.5000")
    assert done.money == (Decimal("1.5") * done.price).quantize(Decimal("0.01"))
    assert isinstance(done.finished, datetime) and done.finished.tzinfo == timezone.utc
    progress = [e for e in seen if isinstance(e, kvclient.PumpEvent) and e.state_text == "Delivering"]
    assert progress and all((e.pump_id, e.number) == (pump.id, 3) and isinstance(e.volume, Decimal)
                            for e in progress)
    assert (done.pump_number, done.hose, done.state) == (3, 1, 2)

    # The database events of the delivery: its log record and its tank's new reading.
    later = []
    def have(kind):
        return [e for e in later if isinstance(e, kind)]
    wait_for(lambda: later.extend(session.poll_events()) or (have(kvclient.LogDeliveryEvent)
                                                             and have(kvclient.TankStatusEvent)))
    (logged,) = have(kvclient.LogDeliveryEvent)
    assert (logged.delivery_id, logged.pump_id, logged.volume, logged.money) == \
        (done.delivery_id, pump.id, done.volume, done.money)
    tank = [t for t in session.tanks() if t.id == done.tank_id][0]
    reading = [e for e in have(kvclient.TankStatusEvent) if e.tank_id == tank.id][-1]
    assert (reading.name, reading.volume) == (tank.name, tank.status().volume)

    delivery = session.delivery(done.delivery_id)
    with kvclient.Session("127.0.0.1", kvsim.call, kvsim.events, client_id=8, client_type=1) as other:
        other.delivery(delivery.id).lock()
        with pytest.raises(kvclient.BusyError) as e:
            delivery.clear()
        assert e.value.name == "LOCKED"
        other.delivery(delivery.id).unlock()
    delivery.lock()
    delivery.clear()
    assert delivery.properties().state == 4 and delivery not in session.deliveries()


def test_examples_sale_and_backoffice_logger(kvsim, session, tmp_path):
    env = dict(os.environ, PYTHONPATH=str(SOURCE / "python"))
    ports = ["127.0.0.1", str(kvsim.call), str(kvsim.events)]
    db_path = tmp_path / "backoffice.db"
    logger = subprocess.Popen([sys.executable, SOURCE / "examples/python/backoffice_logger.py", *ports,
                               str(db_path), "15"], env=env, stdout=subprocess.PIPE, text=True)
    sale = subprocess.Popen([sys.executable, SOURCE / "examples/python/sale.py", *ports, "4", "4.00"],
                            env=env, stdout=subprocess.PIPE, text=True)
    wait_for(lambda: session.pump(4).status().state_text == "Authorised")
    kvsim.control("lift 4 1")
    out, _ = sale.communicate(timeout=30)
    kvsim.control("hang 4")
    assert sale.returncode == 0 and "paid cash" in out, out
    delivery_id = int(re.search(r"^delivery (\d+):", out, re.M).group(1))

    def stored():
        with sqlite3.connect(db_path) as db:
            return db.execute("SELECT money FROM deliveries WHERE id = ?", (delivery_id,)).fetchall()
    assert wait_for(stored) == [("4.0000",)]
    logger.terminate()
    logger.communicate(timeout=10)
    assert session.delivery(delivery_id) not in session.deliveries(not_logged=True)


def test_logger_acknowledges_only_after_the_commit(kvsim, session):
    kvsim.control("lift 7 1")  # pump 7 authorises itself
    wait_for(lambda: session.pump(7).status().state_text == "Delivering")
    kvsim.control("hang 7")
    pending = wait_for(lambda: session.deliveries(not_logged=True))
    broken = sqlite3.connect(":memory:")  # no table: the insert fails
    with pytest.raises(sqlite3.OperationalError):
        backoffice_logger.store(broken, pending[-1])
    assert pending[-1] in session.deliveries(not_logged=True)
    good = sqlite3.connect(":memory:")
    good.execute(backoffice_logger.SCHEMA)
    backoffice_logger.store(good, pending[-1])
    assert pending[-1] not in session.deliveries(not_logged=True)
