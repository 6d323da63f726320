"""What a value is: its type and its unit, in words; and the range that the simulator takes it in."""

import re
from html import escape
from pathlib import Path

from generator.model.quantities import QUANTITIES

from .html import Names

_TYPES = {"long": "32-bit integer", "int32": "32-bit integer", "double": "double", "bool": "flag", "bool32": "flag",
          "text": "text", "text32": "text, 32 units", "text128": "text, 128 units", "byte": "byte",
          "variant": "bytes", "bytes": "bytes", "unknown": "object"}
_UNITS = {"length": "length unit", "squared length": "(length unit)²", "angle": "angle unit",
          "squared angle": "(angle unit)²", "position": "coordinate", "deviation": "that of its coordinate",
          "covariance": "those of its coordinates", "temperature": "temperature unit", "pressure": "pressure unit",
          "humidity": "%"}
_BASE = {"kLength": "m", "kTemperature": "°C", "kPressure": "mbar", "kNone": ""}


def type_name(names: Names, kind: str) -> str:
    return names.code(kind.removesuffix("[]"), kind) if kind not in _TYPES else _TYPES[kind]


def unit_name(quantity: str) -> str:
    return escape(_UNITS.get(quantity) or (QUANTITIES[quantity].unit if quantity else ""))


class Ranges:
    """The simulator's own limits, from where it has them. A tracker's server has limits of its own."""

    def __init__(self, simulator: Path):
        text = (simulator / "commands/limits.cpp").read_text(encoding="utf-8")
        constants = text + (simulator / "tracker/world.h").read_text(encoding="utf-8")
        self._values = {found[1]: found[2] for found in
                        re.finditer(r"constexpr double (k\w+) = ([\d.e-]+);", constants)}
        self._limits = {(found[1], found[2]): (found[3], found[4].split(", ")) for found in
                        re.finditer(r'Limit\{VL_C_(\w+), "(\w+)", Quantity::(\w+), ([^}]*)\}', text)}

    def of(self, command: str, parameter: str) -> str:
        found = self._limits.get((command, re.sub(r"\d+$", "", parameter)))
        if not found:
            return ""
        unit, limits = _BASE[found[0]], found[1]
        usual = f"; warns outside {self._between(*limits[2:4], unit)}" if len(limits) == 4 else ""
        return escape(self._between(*limits[:2], unit) + usual)

    def _between(self, low: str, high: str, unit: str) -> str:
        low, high = self._values.get(low, low), self._values.get(high, high)
        return f"{low} or more {unit}".strip() if high == "kNoLimit" else f"{low} to {high} {unit}".strip()
