"""The settings: those of a connection, and how long operations wait for their answer."""

from dataclasses import dataclass

from ..errors import Where, require, require_known
from ..source import Source
from .names import Scope

NO_WAIT = "none"
_MEASURE_TIME = "measure time + "


@dataclass(frozen=True)
class WaitClass:
    name: str
    key: str  # in the settings
    ordinary: int  # milliseconds
    increased: int  # 0: never read again


@dataclass(frozen=True)
class Setting:
    key: str
    default: int
    unit: str
    doc: str


def load_settings(source: Source) -> list[Setting]:
    keys, settings = Scope("the setting"), []
    for row in source.rows("settings", (str, int, str, str)):
        keys.claim_name(row[0], row.where)
        settings.append(Setting(*row))
    return settings


def load_waits(source: Source) -> list[WaitClass]:
    names, keys, waits = Scope("the wait class"), Scope("the setting"), []
    for row in source.rows("waits", (str, str, int), (str, str, int, int)):
        names.claim(row[0], row.where)
        keys.claim_name(row[1], row.where)
        require(min(row[2:]) > 0, row.where, "a time is a positive number of milliseconds")
        wait = WaitClass(*row[:3], row[3] if len(row) > 3 else 0)
        require(not waits or waits[-1].increased > 0 or wait.increased == 0, row.where,
                "the classes that have increased times come first")
        waits.append(wait)
    return waits


def parse_wait(text: str, waits: list[WaitClass], where: Where) -> tuple[str, bool]:
    """The class, and whether the stationary measure time is added to it."""
    name = text.removeprefix(_MEASURE_TIME)
    require_known(name, [NO_WAIT, *(wait.name for wait in waits)], where, "wait class")
    return name, name != text
