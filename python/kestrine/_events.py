"""Handlers of events: methods OnStatusChangeEvent(self, ...) and so on, in any case of letters."""

import weakref
from typing import Any

from ._kestrine import EventConnection
from ._object import Object, create, interface_class
from ._types import CONVERTERS


def connect(source: Object, handler: object) -> EventConnection:
    """Connects the methods of `handler`, which is not kept alive by it."""
    methods = {name.lower(): name for name in dir(handler) if name[:2].lower() == "on"}
    found = {}
    for event in source._com.events(CONVERTERS):
        name = methods.get("on" + event.name.lower())
        if name is not None:
            method = getattr(handler, name)
            found[event.name] = weakref.WeakMethod(method), weakref.ref(method.__func__)
    return EventConnection(source._com, found, CONVERTERS)


def _with_close(handler: type, bases: tuple[type, ...]) -> type:
    def close(self) -> None:
        """Hears no more events. May be called from a handler, and twice."""
        self.__dict__["_connection"].close()

    return type(handler.__name__, bases, {"close": close, "_is_closed_": False, "__module__": handler.__module__})


def WithEvents(source: Object, handler: type) -> Any:
    """An instance of `handler` that hears the events of `source`, for as long as it is kept, until close()."""
    listener = _with_close(handler, (handler,))()
    listener._connection = connect(source, listener)
    return listener


def DispatchWithEvents(name: str | Object, handler: type) -> Any:
    """A new object of that name, or the one given, that is an instance of `handler` as well and hears its events."""
    com = name._com if isinstance(name, Object) else create(name)
    both = _with_close(handler, (handler, interface_class(com)))
    listener = both.__new__(both)
    Object.__init__(listener, com)
    if handler.__init__ is not object.__init__:
        handler.__init__(listener)
    object.__setattr__(listener, "_connection", connect(listener, listener))
    return listener
