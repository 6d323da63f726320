"""Handlers of events: methods OnStatusChangeEvent(self, ...) and so on, in any case of letters; and functions that take
the values of one event."""

import re
import weakref
from collections.abc import Callable, Iterable
from typing import Any

from . import results
from ._errors import similar
from ._kestrine import EventConnection
from ._object import Object, create, interface_class
from ._tables import EVENTS
from ._types import CONVERTERS

_OF_ALL_OBJECTS = {"on" + name.lower() for name in EVENTS}
_MEANT_AS_HANDLER = re.compile("[Oo]n[A-Z]")


def connect(source: Object, handler: object) -> EventConnection:
    """Connects the methods of `handler`, which is not kept alive by it."""
    methods = {name.lower(): name for name in dir(handler) if name[:2].lower() == "on"}
    found = {}
    for event in _events_of(source):
        name = methods.get("on" + event.lower())
        if name is not None:
            method = getattr(handler, name)
            found[event] = weakref.WeakMethod(method), weakref.ref(method.__func__)
    _require_events(handler, methods.values())
    return EventConnection(source._com, found, CONVERTERS)


def connect_functions(source: Object, handler: object, functions: dict[str, Callable[..., None]]) -> EventConnection:
    """Connects methods of the class of `handler`, which is not kept alive by it, by the names of events."""
    target = weakref.ref(handler)
    return EventConnection(source._com, {name: (target, weakref.ref(each)) for name, each in functions.items()},
                           CONVERTERS)


_known: dict[str, list[str]] = {}


def _events_of(source: Object) -> list[str]:
    """The names of its events; to ask for them takes its time."""
    kind = source._com.type_name
    if kind not in _known:
        _known[kind] = [event.name for event in source._com.events(CONVERTERS)]
    return _known[kind]


def _require_events(handler: object, names: Iterable[str]) -> None:
    """What handles an event of another object may be meant for that one, too; what handles none at all is misspelt."""
    for name in names:
        if _MEANT_AS_HANDLER.match(name) and name.lower() not in _OF_ALL_OBJECTS and callable(getattr(handler, name)):
            hint = similar(name, ["On" + event for event in EVENTS])
            raise TypeError(f"{type(handler).__name__}.{name} is the handler of no event{hint}")


class Subscription:
    """Calls a handler with the values of events, until close() or the end of a with block."""

    def __init__(self, source: Object, events: tuple[str, ...], handler: Callable[[Any], object],
                 kept_in: "set[Subscription]"):
        known = _events_of(source)
        for event in events:
            if event not in known:
                raise ValueError(f"{type(source).__name__} has no event {event}{similar(event, known)}")
        if not callable(handler):
            raise TypeError(f"a handler is called, which {handler!r} cannot be")
        self._events, self._handler, self._kept_in = events, handler, kept_in
        self._values = getattr(results, events[0])._make
        self._connection = connect_functions(source, self, dict.fromkeys(events, Subscription._take))
        kept_in.add(self)

    def close(self) -> None:
        """Hears no more events. May be called from a handler, and twice."""
        self._connection.close()
        self._kept_in.discard(self)

    def _take(self, *values: Any) -> None:
        self._handler(self._values(values))

    def __enter__(self) -> "Subscription":
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    def __repr__(self) -> str:
        state = "" if self in self._kept_in else " closed"
        return f"<kestrine.Subscription {' '.join(self._events)}{state}>"


def _with_close(handler: type, bases: tuple[type, ...]) -> type:
    def close(self) -> None:
        """Hears no more events. May be called from a handler, and twice."""
        self.__dict__["_connection"].close()

    return type(handler.__name__, bases, {"close": close, "_is_closed_": False, "__module__": handler.__module__})


def WithEvents(source: Object, handler: type) -> Any:
    """An instance of `handler` that hears the events of `source`, for as long as it is kept, until close().

    TypeError for a method On... that no object has an event for."""
    listener = _with_close(handler, (handler,))()
    listener._connection = connect(source, listener)
    return listener


def DispatchWithEvents(name: str | Object, handler: type) -> Any:
    """A new object of that name, or the one given, that is an instance of `handler` as well and hears its events."""
    com = name._com if isinstance(name, Object) else create(name)
    both = _with_close(handler, (handler, interface_class(com)))
    listener = both.__new__(both)
    Object.__init__(listener, com, name._link if isinstance(name, Object) else None)
    if handler.__init__ is not object.__init__:
        handler.__init__(listener)
    object.__setattr__(listener, "_connection", connect(listener, listener))
    return listener
