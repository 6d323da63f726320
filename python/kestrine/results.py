"""The named tuples that calls return and events bring: results.GetUnitsResult of GetUnits(), results.ReflectorsData of
the event of that name, and so on. Each is made when it is first asked for."""

from collections import namedtuple

from ._tables import EVENTS, RESULTS

__all__ = [*RESULTS, *EVENTS]


def __getattr__(name: str) -> type:
    values = RESULTS.get(name, EVENTS.get(name))
    if values is None:
        raise AttributeError(f"module {__name__} has no attribute {name}")
    made = namedtuple(name, values, module=__name__)
    globals()[name] = made
    return made


def __dir__() -> list[str]:
    return sorted(__all__)
