"""kvclient: the forecourt controller's client library for Python.

A ctypes binding of libkvclient (found through ``$KVCLIENT_LIB``, a build tree next to this
package, or the system's library path): sessions, pumps, deliveries, grades and tanks as
objects, money and volumes as ``Decimal``, dates as ``datetime``, refusals as ``KvError``,
and the server's events as dataclasses.
"""
from .errors import BusyError, KvError, NoSuchObjectError, NotConnectedError, result_name
from .events import (CardReadEvent, ClearDeliveryEvent, ClientEvent, DeliveryEvent, Event,
                     LogDeliveryEvent, OtherEvent, PumpEvent, ServerEvent, TankStatusEvent,
                     ZeroDeliveryEvent)
from .session import (CALLS, DB_EVENTS, EVENTS, Delivery, DeliveryProperties, Grade, Pump,
                      PumpStatus, Session, Tank, TankStatus, library_version)

__all__ = [
    "Session", "Pump", "Delivery", "Grade", "Tank", "PumpStatus", "DeliveryProperties",
    "TankStatus", "library_version", "CALLS", "EVENTS", "DB_EVENTS",
    "KvError", "NotConnectedError", "NoSuchObjectError", "BusyError", "result_name",
    "Event", "PumpEvent", "DeliveryEvent", "ServerEvent", "ClientEvent", "ZeroDeliveryEvent",
    "CardReadEvent", "LogDeliveryEvent", "ClearDeliveryEvent", "TankStatusEvent", "OtherEvent",
]
