"""Loading libkvclient and calling its exported functions through ctypes.

Every function used is declared once in ``SIGNATURES`` by a string of argument kinds; ``call``
builds the output holders from it, checks the result and converts the outputs.
"""
from __future__ import annotations

import ctypes
import ctypes.util
import os
import struct
from datetime import datetime, timezone
from decimal import Decimal
from pathlib import Path
from typing import Any, Optional

from .errors import raise_for

# Argument kinds. Inputs: p session, P the address of a session pointer, l long, h short,
# u unsigned short, i unsigned int, q long long, d fixed-point as double, s string, t date.
# Outputs through a pointer: L, H, Q, D, T as their inputs, S a string buffer.
_IN = {"p": ctypes.c_void_p, "P": ctypes.POINTER(ctypes.c_void_p), "l": ctypes.c_long,
       "h": ctypes.c_short, "u": ctypes.c_ushort, "i": ctypes.c_uint, "q": ctypes.c_longlong,
       "d": ctypes.c_double, "s": ctypes.c_char_p, "t": ctypes.c_long}
_OUT = {"L": ctypes.c_long, "H": ctypes.c_short, "Q": ctypes.c_longlong, "D": ctypes.c_double,
        "T": ctypes.c_long}

# The long form of the empty date: what a date output holds when the server has none.
EMPTY_DATE = -921101622

STRING_WIDTH = 255

SIGNATURES = {
    "ClientLogonMT": "Plhppi",
    "ClientLogonExMT": "Plhsuulppi",
    "ClientLogoffMT": "P",
    "DllVersion": "S",
    "ServerVersionMT": "pS",
    "GetClientsCountMT": "pL",
    "ClientStatusMT": "pHH",
    "ProcessEventsMT": "p",
    "TestConnectionMT": "p",
    "GetPumpsCountMT": "pL",
    "GetPumpByOrdinalMT": "plL",
    "GetPumpByNumberMT": "plL",
    "GetPumpPropertiesMT": "plLS" + "H" * 9 + "LL" + "H" * 4,
    "GetPumpStatusMT": "plHHLLHLSSHDDDH",
    "AuthoriseMT": "pl",
    "CancelAuthoriseMT": "pl",
    "TempStopMT": "pl",
    "ReAuthoriseMT": "pl",
    "TerminateDeliveryMT": "pl",
    "LoadPresetMT": "plhdhh",
    "PrepayReserveMT": "pl",
    "PrepayCancelMT": "pl",
    "PrepayAuthoriseMT": "plhdhh",
    "GetDeliveriesCountMT": "pL",
    "GetDeliveryByOrdinalMT": "plL",
    "GetDeliveriesCountNotLoggedMT": "pL",
    "GetDeliveryIDByOrdinalNotLoggedMT": "plL",
    "GetDeliveryPropertiesMT": "plLHHDHDDDTLLLL",
    "LockDeliveryMT": "pl",
    "UnlockDeliveryMT": "pl",
    "ClearDeliveryMT": "plh",
    "AckDeliveryDBLogMT": "pl",
    "GetGradesCountMT": "pL",
    "GetGradeByOrdinalMT": "plL",
    "GetGradeByNumberMT": "plL",
    "GetGradePropertiesMT": "plLSSLDD",
    "GetGradePriceMT": "plhD",
    "SetGradePriceMT": "plhd",
    "GetTanksCountMT": "pL",
    "GetTankByOrdinalMT": "plL",
    "GetTankPropertiesMT": "plLSLDDLL",
    "GetTankStatusMT": "plDDDDDDDHHH",
    "GetEventsCountMT": "pL",
    "GetNextEventTypeMT": "pH",
    "DiscardNextEventMT": "p",
}


def _candidates() -> list[str]:
    env = os.environ.get("KVCLIENT_LIB")
    if env:
        return [env]
    arch = "i386" if struct.calcsize("P") == 4 else "x86_64"
    found = []
    # A checkout: python/kvclient/ next to build/<arch>/lib/.
    for parent in Path(__file__).resolve().parents:
        lib = parent / "build" / arch / "lib" / "libkvclient.so"
        if lib.exists():
            found.append(str(lib))
            break
    found.append(ctypes.util.find_library("kvclient") or "libkvclient.so.2")
    return found


def load() -> ctypes.CDLL:
    """The shared library: ``$KVCLIENT_LIB``, else the build tree, else the system's."""
    errors = []
    for path in _candidates():
        try:
            lib = ctypes.CDLL(path)
            break
        except OSError as e:
            errors.append(f"{path}: {e}")
    else:
        raise OSError("libkvclient not found (set KVCLIENT_LIB): " + "; ".join(errors))
    for name, kinds in SIGNATURES.items():
        f = getattr(lib, name)
        f.restype = ctypes.c_long
        f.argtypes = [_IN[k] if k in _IN else (ctypes.c_char_p if k == "S" else ctypes.POINTER(_OUT[k]))
                          for k in kinds]
    return lib


_lib: Optional[ctypes.CDLL] = None


def lib() -> ctypes.CDLL:
    global _lib
    if _lib is None:
        _lib = load()
    return _lib


def to_decimal(x: float) -> Decimal:
    """A fixed-point value of four decimals, exactly as the server holds it."""
    return Decimal(f"{x:.4f}")


def to_datetime(seconds: int) -> Optional[datetime]:
    """Seconds since 1970 as an aware UTC datetime; None for no date."""
    if seconds <= 0 or seconds == EMPTY_DATE:
        return None
    return datetime.fromtimestamp(seconds, timezone.utc)


def _arg(kind: str, value: Any) -> Any:
    if kind == "s":
        return None if value is None else str(value).encode()
    if kind == "d":
        return float(value)
    if kind == "t":
        return int(value.timestamp()) if isinstance(value, datetime) else int(value or 0)
    return value


def call(name: str, *inputs: Any, what: str = "") -> tuple:
    """Calls ``name`` with the inputs; returns its outputs, converted, in order.

    Raises the ``KvError`` subclass of a non-zero result.
    """
    kinds = SIGNATURES[name]
    args, outs, it = [], [], iter(inputs)
    for k in kinds:
        if k in _IN:
            args.append(_arg(k, next(it)))
        elif k == "S":
            buf = ctypes.create_string_buffer(b" " * STRING_WIDTH, STRING_WIDTH + 1)
            args.append(buf)
            outs.append((k, buf))
        else:
            holder = _OUT[k]()
            args.append(ctypes.byref(holder))
            outs.append((k, holder))
    r = getattr(lib(), name)(*args)
    if r != 0:
        raise_for(r, what or name)
    return tuple(convert(k, h) for k, h in outs)


def convert(kind: str, holder: Any) -> Any:
    if kind == "S":
        return holder.value.decode(errors="replace").rstrip(" ")
    if kind == "D":
        return to_decimal(holder.value)
    if kind == "T":
        return to_datetime(holder.value)
    return holder.value
