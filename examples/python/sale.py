#!/usr/bin/env python3
"""A sale at the forecourt: preset a pump, follow the delivery, lock it, clear it.

usage: sale.py HOST CALL_PORT EVENTS_PORT [PUMP] [AMOUNT]

The customer lifts the nozzle at the pump (with kvsim: ``lift PUMP 1`` on its control port).
"""
import sys
from decimal import Decimal

import kvclient


def sale(session: kvclient.Session, number: int, amount: Decimal, timeout: float = 60) -> kvclient.Delivery:
    pump = session.pump(number)
    pump.preset(money=amount)
    print(f"pump {pump.number} authorised for {amount}; waiting for the customer")
    for event in session.events(timeout=timeout):
        if isinstance(event, kvclient.PumpEvent) and event.pump_id == pump.id:
            print(f"  pump {event.number} {event.state_text:<11} {event.volume:>8.2f} l {event.money:>8.2f}")
        elif (isinstance(event, kvclient.DeliveryEvent) and event.pump_id == pump.id
              and event.state == 2):  # completed
            delivery = session.delivery(event.delivery_id)
            delivery.lock()
            p = delivery.properties()
            delivery.clear(type=1)  # cash
            print(f"delivery {delivery.id}: {p.volume} l at {p.price} = {p.money}, paid cash")
            return delivery
    raise TimeoutError("the sale did not complete in time")


def main() -> int:
    host, call_port, events_port = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
    number = int(sys.argv[4]) if len(sys.argv) > 4 else 1
    amount = Decimal(sys.argv[5]) if len(sys.argv) > 5 else Decimal("20.00")
    with kvclient.Session(host, call_port, events_port, client_id=7, client_type=kvclient.CALLS | kvclient.EVENTS) as s:
        try:
            sale(s, number, amount)
        except kvclient.KvError as e:
            print(f"sale refused: {e}", file=sys.stderr)
            return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
