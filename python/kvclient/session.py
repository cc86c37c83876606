"""Sessions with the server and the forecourt's objects."""
from __future__ import annotations

import ctypes
import threading
import time
from decimal import Decimal
from typing import Any, Callable, Iterator, Optional, Union

from . import _lib
from .events import EVENT_TYPES, Event, OtherEvent
from .records import DeliveryProperties, PumpStatus, TankStatus

Number = Union[Decimal, int, float, str]

# Preset kinds and price levels as the server takes them.
PRESET_MONEY = 1
PRESET_VOLUME = 2

# Client type bits.
CALLS, EVENTS, DB_EVENTS = 1, 2, 4

# The session-taking functions leave exclusion to their callers: one call at a time in the
# process, whichever session it is for.
_calls = threading.Lock()


class _Object:
    """An object of the forecourt, known by its ID within a session."""

    def __init__(self, session: "Session", id: int) -> None:
        self.session = session
        self.id = id

    def _call(self, name: str, *args: Any, what: str = "") -> tuple:
        return self.session._call(name, self.id, *args, what=what or f"{type(self).__name__} {self.id}")

    def __eq__(self, other: object) -> bool:
        return type(other) is type(self) and other.id == self.id and other.session is self.session

    def __hash__(self) -> int:
        return hash((type(self), self.id))

    def __repr__(self) -> str:
        return f"<{type(self).__name__} id={self.id}>"


class Pump(_Object):
    """A pump: ``number`` and ``name`` are read once, ``status()`` every time it is called."""

    def __init__(self, session: "Session", id: int) -> None:
        super().__init__(session, id)
        out = self._call("GetPumpPropertiesMT")
        self.number: int = out[0]
        self.name: str = out[1]

    def status(self) -> PumpStatus:
        return PumpStatus(*self._call("GetPumpStatusMT"))

    def authorise(self) -> None:
        """Authorises the pump for any amount."""
        self._call("AuthoriseMT")

    def preset(self, money: Optional[Number] = None, volume: Optional[Number] = None,
               price_level: int = 0, hose: int = 0) -> None:
        """Authorises the pump up to an amount of money or a volume (exactly one of them)."""
        if (money is None) == (volume is None):
            raise ValueError("preset: give money or volume")
        kind, value = (PRESET_MONEY, money) if money is not None else (PRESET_VOLUME, volume)
        self._call("LoadPresetMT", kind, Decimal(str(value)), price_level, hose)

    def cancel(self) -> None:
        """Cancels the pump's authorisation."""
        self._call("CancelAuthoriseMT")

    def stop(self) -> None:
        """Stops the pump for the moment; ``resume()`` lets it go on."""
        self._call("TempStopMT")

    def resume(self) -> None:
        self._call("ReAuthoriseMT")

    def terminate(self) -> None:
        """Ends the pump's current delivery."""
        self._call("TerminateDeliveryMT")

    def prepay(self, money: Number, price_level: int = 0, hose: int = 0) -> None:
        """Reserves the pump for this client and authorises a prepaid amount."""
        self._call("PrepayReserveMT")
        try:
            self._call("PrepayAuthoriseMT", PRESET_MONEY, Decimal(str(money)), price_level, hose)
        except Exception:
            self._call("PrepayCancelMT")
            raise

    def __repr__(self) -> str:
        return f"<Pump {self.number} id={self.id}>"


class Delivery(_Object):
    """A delivery (one fuelling), known by its ID."""

    def properties(self) -> DeliveryProperties:
        return DeliveryProperties(*self._call("GetDeliveryPropertiesMT"))

    def lock(self) -> None:
        """Locks the delivery for this client while it is being paid."""
        self._call("LockDeliveryMT")

    def unlock(self) -> None:
        self._call("UnlockDeliveryMT")

    def clear(self, type: int = 1) -> None:
        """Clears (settles) the delivery; ``type`` is the kind of payment."""
        self._call("ClearDeliveryMT", type)

    def ack_db_log(self) -> None:
        """Tells the server that the delivery is stored in the back office's database."""
        self._call("AckDeliveryDBLogMT")


class Grade(_Object):
    """A grade of fuel with its prices at price levels 1 and 2."""

    def __init__(self, session: "Session", id: int) -> None:
        super().__init__(session, id)
        self.number, self.name, self.short_name, self.product_id, price1, price2 = \
            self._call("GetGradePropertiesMT")

    def price(self, level: int = 1) -> Decimal:
        return self._call("GetGradePriceMT", level)[0]

    def set_price(self, level: int, price: Number) -> None:
        self._call("SetGradePriceMT", level, Decimal(str(price)))

    def __repr__(self) -> str:
        return f"<Grade {self.number} {self.name!r} id={self.id}>"


class Tank(_Object):
    """A tank; ``status()`` gives its last reading."""

    def __init__(self, session: "Session", id: int) -> None:
        super().__init__(session, id)
        self.number, self.name, self.grade_id, self.capacity, self.gauge_capacity, *_ = \
            self._call("GetTankPropertiesMT")

    def status(self) -> TankStatus:
        return TankStatus(*self._call("GetTankStatusMT"))

    def __repr__(self) -> str:
        return f"<Tank {self.number} {self.name!r} id={self.id}>"


class Session:
    """A session with the server, logged on at construction and off by ``close()``.

    Use it as a context manager::

        with kvclient.Session("127.0.0.1", 5150, 5151, client_id=7) as s:
            for pump in s.pumps():
                print(pump.number, pump.status().state_text)

    Without ``host`` the library reads the server and ports from KVClient.ini. Each session
    is independent (the library's session-taking functions underneath), and calls are
    serialised, so sessions may be used from several threads.
    """

    def __init__(self, host: Optional[str] = None, call_port: int = 0, events_port: int = 0, *,
                 client_id: int = 7, client_type: int = CALLS | EVENTS | DB_EVENTS,
                 timeout_ms: int = 3000) -> None:
        self.client_id = client_id
        self.client_type = client_type
        self._handle = ctypes.c_void_p()
        where = f"logging on to {host}:{call_port}" if host else "logging on (KVClient.ini)"
        with _calls:
            if host:
                _lib.call("ClientLogonExMT", ctypes.byref(self._handle), client_id, client_type, host,
                          call_port, events_port, timeout_ms, None, None, 0, what=where)
            else:
                _lib.call("ClientLogonMT", ctypes.byref(self._handle), client_id, client_type, None, None,
                          0, what=where)

    # ---- life ----------------------------------------------------------------------------------

    def close(self) -> None:
        """Logs off; a second call does nothing."""
        with _calls:
            if self._handle:
                _lib.lib().ClientLogoffMT(ctypes.byref(self._handle))
                self._handle = ctypes.c_void_p()

    def __enter__(self) -> "Session":
        return self

    def __exit__(self, *exc: Any) -> None:
        self.close()

    def __del__(self) -> None:
        try:
            self.close()
        except Exception:
            pass

    def _call(self, name: str, *args: Any, what: str = "") -> tuple:
        with _calls:
            return _lib.call(name, self._handle, *args, what=what)

    # ---- look-ups ------------------------------------------------------------------------------

    def _all(self, family: str, make: Callable[[int], Any]) -> list:
        (count,) = self._call(f"Get{family}sCountMT")
        return [make(self._call(f"Get{family}ByOrdinalMT", i)[0]) for i in range(1, count + 1)]

    def _by_number(self, family: str, number: int, make: Callable[[int], Any]) -> Any:
        return make(self._call(f"Get{family}ByNumberMT", number, what=f"{family.lower()} {number}")[0])

    def pumps(self) -> list[Pump]:
        return self._all("Pump", lambda id: Pump(self, id))

    def pump(self, number: int) -> Pump:
        """The pump with this number; ``NoSuchObjectError`` if there is none."""
        return self._by_number("Pump", number, lambda id: Pump(self, id))

    def grades(self) -> list[Grade]:
        return self._all("Grade", lambda id: Grade(self, id))

    def grade(self, number: int) -> Grade:
        return self._by_number("Grade", number, lambda id: Grade(self, id))

    def tanks(self) -> list[Tank]:
        return self._all("Tank", lambda id: Tank(self, id))

    def delivery(self, id: int) -> Delivery:
        return Delivery(self, id)

    def deliveries(self, not_logged: bool = False) -> list[Delivery]:
        """Deliveries not cleared; with ``not_logged``, those not yet acknowledged by
        ``Delivery.ack_db_log()``."""
        count_fn, by_fn = (("GetDeliveriesCountNotLoggedMT", "GetDeliveryIDByOrdinalNotLoggedMT")
                           if not_logged else ("GetDeliveriesCountMT", "GetDeliveryByOrdinalMT"))
        (count,) = self._call(count_fn)
        return [Delivery(self, self._call(by_fn, i)[0]) for i in range(1, count + 1)]

    def clients_count(self) -> int:
        """Number of clients logged on to the server."""
        return self._call("GetClientsCountMT")[0]

    def server_version(self) -> str:
        return self._call("ServerVersionMT")[0]

    # ---- events --------------------------------------------------------------------------------

    def _take(self) -> Optional[Event]:
        """The event at the head of the queue, taken; None when the queue is empty."""
        (code,) = self._call("GetNextEventTypeMT")
        if code == 0:
            return None
        cls = EVENT_TYPES.get(code)
        if cls is None:
            self._call("DiscardNextEventMT")
            return OtherEvent(code)
        return cls.from_outputs(self._call(cls._pop[0]))

    def poll_events(self) -> list[Event]:
        """Reads what the server has sent and takes every queued event."""
        self._call("ProcessEventsMT", what="reading events")
        return list(iter(self._take, None))

    def events(self, timeout: Optional[float] = None, interval: float = 0.05) -> Iterator[Event]:
        """Yields events as they come, for ``timeout`` seconds (for ever when None).

        Events are taken from the queue one at a time, so those not yet yielded when the
        caller stops iterating stay queued for the next call.
        """
        end = None if timeout is None else time.monotonic() + timeout
        while end is None or time.monotonic() < end:
            self._call("ProcessEventsMT", what="reading events")
            yield from iter(self._take, None)
            time.sleep(interval if end is None else max(0.0, min(interval, end - time.monotonic())))


def library_version() -> str:
    """The library's version text."""
    return _lib.call("DllVersion")[0]


