#!/usr/bin/env python3
"""A back-office logger: stores every finished delivery in SQLite, then acknowledges it.

usage: backoffice_logger.py HOST CALL_PORT EVENTS_PORT DATABASE [SECONDS]

The server keeps a delivery on its not-logged list until it is acknowledged, so the
acknowledgement is sent only after the row is committed: a crash in between stores the
delivery again at the next start (the delivery ID is the key), and none is ever lost.
"""
import sqlite3
import sys
from typing import Optional

import kvclient

SCHEMA = """CREATE TABLE IF NOT EXISTS deliveries (
    id INTEGER PRIMARY KEY, pump_id INTEGER, hose INTEGER, volume TEXT, money TEXT, price TEXT,
    price_level INTEGER, type INTEGER, finished TEXT)"""


def store(db: sqlite3.Connection, delivery: kvclient.Delivery) -> None:
    p = delivery.properties()
    with db:  # commits, or rolls back on an exception
        db.execute("INSERT OR REPLACE INTO deliveries VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
                   (delivery.id, p.pump_id, p.hose, str(p.volume), str(p.money), str(p.price),
                    p.price_level, p.type, p.finished.isoformat() if p.finished else None))
    delivery.ack_db_log()
    print(f"logged delivery {delivery.id}: {p.volume} l, {p.money}")


def run(session: kvclient.Session, db: sqlite3.Connection, seconds: Optional[float]) -> None:
    db.execute(SCHEMA)
    # What finished while the logger was away.
    for delivery in session.deliveries(not_logged=True):
        store(db, delivery)
    for event in session.events(timeout=seconds):
        if isinstance(event, kvclient.LogDeliveryEvent):
            store(db, session.delivery(event.delivery_id))


def main() -> int:
    host, call_port, events_port, path = sys.argv[1], int(sys.argv[2]), int(sys.argv[3]), sys.argv[4]
    seconds = float(sys.argv[5]) if len(sys.argv) > 5 else None
    db = sqlite3.connect(path)
    with kvclient.Session(host, call_port, events_port, client_id=20,
                          client_type=kvclient.CALLS | kvclient.EVENTS | kvclient.DB_EVENTS) as s:
        try:
            run(s, db, seconds)
        except KeyboardInterrupt:
            pass
    db.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
