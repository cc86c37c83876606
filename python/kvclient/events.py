"""Event records as dataclasses.

Each class names the library function that takes its record from the queue and the kinds
of that function's outputs (see ``_lib``); its fields are those outputs, in order.
"""
from __future__ import annotations

from dataclasses import dataclass, fields
from datetime import datetime
from decimal import Decimal
from typing import ClassVar, Optional

from ._lib import SIGNATURES
from .records import DeliveryProperties, PumpStatus, Reading, Sale


@dataclass(frozen=True)
class Event:
    """Base of every event."""

    # (function that takes the record, kinds of its outputs, output index of each field)
    _pop: ClassVar[tuple] = ()

    @classmethod
    def from_outputs(cls, outputs: tuple) -> "Event":
        order = cls._pop[2] if len(cls._pop) > 2 else range(len(outputs))
        return cls(*(outputs[i] for i in order))


@dataclass(frozen=True)
class PumpEvent(PumpStatus, Event):
    """A pump changed state, or reports the progress of its delivery: its status, and which
    pump it is."""
    _pop = ("GetNextPumpEventMT", "LLHHLLHLSSHDDDH", (*range(2, 15), 0, 1))
    pump_id: int
    number: int


@dataclass(frozen=True)
class DeliveryEvent(DeliveryProperties, Event):
    """A delivery started, completed, or was locked, cleared, stacked or changed: its base
    record, and where it was made."""
    _pop = ("GetNextDeliveryEventMT", "LLLLLLSHHDHDDDTLLLL", (1, *range(7, 19), 0, 2, 3, 4, 5, 6))
    delivery_id: int
    pump_number: int
    hose_id: int
    grade_id: int
    tank_id: int
    pump_name: str


@dataclass(frozen=True)
class ServerEvent(Event):
    """A message of the server to every client."""
    _pop = ("GetNextServerEventMT", "LS")
    event_id: int
    text: str


@dataclass(frozen=True)
class ClientEvent(Event):
    """A client event fired by a client (this one included)."""
    _pop = ("GetNextClientEventMT", "LLS")
    client_id: int
    event_id: int
    text: str


@dataclass(frozen=True)
class ZeroDeliveryEvent(Event):
    """A nozzle was hung up with nothing delivered."""
    _pop = ("GetNextZeroDeliveryEventExMT", "LLLLHHD")
    pump_id: int
    pump_number: int
    hose_id: int
    delivery_id: int
    hose: int
    type: int
    authorised: Decimal


@dataclass(frozen=True)
class CardReadEvent(Event):
    """A card or tag read at a pump."""
    _pop = ("GetNextCardReadEventMT", "LLSLHLQT")
    read_id: int
    pump_id: int
    card: str
    card_client_id: int
    reader: int
    pump_number: int
    tag: int
    time: Optional[datetime]


@dataclass(frozen=True)
class LogDeliveryEvent(Sale, Event):
    """A finished delivery to be logged to the back office's database."""
    _pop = ("GetNextDBLogDeliveryEventMT", "LLHHDHDDDLLT", (*range(1, 9), 0, 9, 10, 11))
    delivery_id: int
    grade_id: int
    type: int
    finished: Optional[datetime]


@dataclass(frozen=True)
class ClearDeliveryEvent(Event):
    """A delivery was cleared (paid)."""
    _pop = ("GetNextDBClearDeliveryEventMT", "LHLTL")
    delivery_id: int
    clear_type: int
    cleared_by: int
    time: Optional[datetime]
    pump_id: int


@dataclass(frozen=True)
class TankStatusEvent(Reading, Event):
    """A tank's new reading."""
    _pop = ("GetNextDBTankStatusEventExMT", "LDDDDDDDLSLSHDDLH", (*range(1, 8), 0, *range(8, 17)))
    tank_id: int
    grade_id: int
    grade_name: str
    number: int
    name: str
    gauge_state: int
    capacity: Decimal
    gauge_capacity: Decimal
    gauge_number: int
    alarms: int


@dataclass(frozen=True)
class OtherEvent(Event):
    """An event of a kind this package does not read; it has been discarded."""
    type: int


# Event type codes of the queue.
EVENT_TYPES: dict[int, type] = {1: PumpEvent, 2: DeliveryEvent, 3: ServerEvent, 4: ClientEvent,
                                6: LogDeliveryEvent, 7: ClearDeliveryEvent, 13: TankStatusEvent,
                                17: ZeroDeliveryEvent, 22: CardReadEvent}

for _cls in EVENT_TYPES.values():
    assert len(_cls._pop[1]) == len(fields(_cls)), _cls
    assert sorted(_cls._pop[2]) == list(range(len(_cls._pop[1]))) if len(_cls._pop) > 2 else True, _cls
    SIGNATURES[_cls._pop[0]] = "p" + _cls._pop[1]
