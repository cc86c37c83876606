"""Records that the server's calls return."""
from __future__ import annotations

from dataclasses import dataclass
from datetime import datetime
from decimal import Decimal
from typing import Optional


@dataclass(frozen=True)
class PumpStatus:
    """What a pump is doing now."""
    state: int
    hose: int
    delivery_id: int
    reserved_by: int
    reservation: int
    attendant_id: int
    state_text: str
    error_text: str
    price_level: int
    volume: Decimal
    money: Decimal
    price: Decimal
    error: int


@dataclass(frozen=True)
class Sale:
    """What was sold at a pump: the figures every delivery record begins with."""
    pump_id: int
    hose: int
    preset_kind: int
    preset_value: Decimal
    price_level: int
    volume: Decimal
    money: Decimal
    price: Decimal


@dataclass(frozen=True)
class DeliveryProperties(Sale):
    """A delivery's base record."""
    finished: Optional[datetime]
    state: int
    type: int
    locked_by: int
    attendant_id: int


@dataclass(frozen=True)
class Reading:
    """A tank gauge's figures."""
    level: Decimal
    water_level: Decimal
    temperature: Decimal
    volume: Decimal
    water_volume: Decimal
    ullage: Decimal
    net_volume: Decimal


@dataclass(frozen=True)
class TankStatus(Reading):
    """A tank's last reading."""
    gauge_state: int
    alarms: int
    responding: int
