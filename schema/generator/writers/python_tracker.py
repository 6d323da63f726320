"""_tracker_calls.py: the operations of kestrine.Tracker."""

from ..model.methods import Method
from ..model.schema import Schema
from .python_values import declared, docstring, inputs_of, returned, series_event, waiting_doc

_HEAD = '''"""The operations of a tracker, in the order of their identifiers, and its events."""

from __future__ import annotations

from collections.abc import Callable
from typing import Any, Literal, overload

from . import records, results
from ._events import Subscription
from ._tracker import TrackerCore
from .enumerations import *


class Tracker(TrackerCore):
    """A tracker as a value: it connects, its operations wait and return, failures are raised as com_error.

        with kestrine.Tracker("192.168.0.1") as tracker:
            tracker.Initialize()
            point = tracker.MeasureStationaryPoint()
            print(point.val1, point.val2, point.val3)

    Several outputs are a named tuple, a series is a list. on() hears events. It belongs to the thread that made it.
    """

    __slots__ = ()
    __module__ = "kestrine"

'''

_ON = '''def on(self, event: str, handler: Callable[[Any], object]) -> Subscription:
    """Calls the handler with the values of every event of that name, a named tuple, until close() of what it returns,
    or the end of a with block of that.

    Events are delivered in calls that wait, and by PumpEvents() and its kin. What a handler raises is reported and
    ends nothing.
    """
    return self._subscribe(handler, event)

'''


def write(schema: Schema) -> str:
    members = [_call(schema, each) if each.kind == "method" else _property(schema, each)
               for each in schema.sync_methods]
    heard = [f'@overload\ndef on(self, event: Literal["{name}"], handler: Callable[[results.{name}], object]) '
             "-> Subscription: ..." for name in schema.sync_events]
    rows = "\n".join(heard) + "\n" + _ON + "\n\n".join(members)
    return _HEAD + "\n".join(f"    {row}".rstrip() for row in rows.splitlines()) + "\n"


def _call(schema: Schema, method: Method) -> str:
    inputs = inputs_of(method)
    item = series_event(schema, method)
    result = f"list[results.{item.name}]" if item else returned(schema, method)
    given = "".join(f", {each.name}" for each in inputs)
    return (f"def {method.name}(self{declared(schema, inputs)}) -> {result}:\n" +
            docstring(waiting_doc(schema, method, lists=True), "    ") +
            f'\n    return self.{"_list" if item else "_call"}("{method.name}"{given})')


def _property(schema: Schema, method: Method) -> str:
    kind = declared(schema, method.parameters).rpartition(": ")[2]
    return (f"@property\ndef {method.name}(self) -> {kind}:\n" + docstring(f"{method.doc} Can only be set.", "    ") +
            f'\n    raise AttributeError("{method.name} can only be set")\n\n'
            f"@{method.name}.setter\ndef {method.name}(self, value: {kind}) -> None:\n"
            f'    self._call("{method.name}", value)')
