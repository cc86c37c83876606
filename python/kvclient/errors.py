"""Result codes as exceptions."""
from __future__ import annotations

from pathlib import Path
from typing import NoReturn


def _read_results() -> dict[int, tuple[str, str]]:
    table = {}
    for line in (Path(__file__).with_name("results.txt")).read_text().splitlines():
        if line and not line.startswith("#"):
            code, name, meaning = line.split("\t")
            table[int(code)] = (name, meaning)
    return table


RESULTS: dict[int, tuple[str, str]] = _read_results()


def result_name(code: int) -> str:
    """The name of a result code, e.g. ``NO_OBJECT`` for -7 (``RESULT_<code>`` if unknown)."""
    return RESULTS.get(code, (f"RESULT_{code}", ""))[0]


class KvError(Exception):
    """A call that the library or the server refused.

    ``code`` is the result code, ``name`` its name and ``meaning`` what it means.
    """

    def __init__(self, code: int, what: str = "") -> None:
        self.code = code
        self.name, self.meaning = RESULTS.get(code, (f"RESULT_{code}", f"result {code}"))
        self.what = what
        super().__init__(f"{what + ': ' if what else ''}{self.meaning} (result {code}, {self.name})")


class NotConnectedError(KvError):
    """No session, no connection, or the connection could not be opened."""


class NoSuchObjectError(KvError):
    """No object with that ID, number or position."""


class BusyError(KvError):
    """The server, or the object, is busy: reserved or locked by another client, or in use."""


_CLASSES = {8: NotConnectedError, -14: NotConnectedError, -19: NotConnectedError,
            -7: NoSuchObjectError, 2: NoSuchObjectError,
            11: BusyError, 16: BusyError, 54: BusyError, 55: BusyError, 60: BusyError}


def error_for(code: int, what: str = "") -> KvError:
    """The exception of a result code."""
    return _CLASSES.get(code, KvError)(code, what)


def raise_for(code: int, what: str = "") -> NoReturn:
    raise error_for(code, what)
