"""What the operations of kestrine.Tracker share: the connection, failures, lists and events."""

from __future__ import annotations

import struct
from collections.abc import Callable
from contextlib import closing
from time import monotonic
from typing import TYPE_CHECKING, Any, Self

from . import _kestrine, results
from ._constants import constants
from ._errors import com_error, failure
from ._events import Subscription, connect_functions
from ._object import Dispatch, Object, warn_of
from ._points import points
from ._tables import CALLS, COMMANDS, PROGRAMS
from ._types import CONVERTERS
from .enumerations import VL_Command

if TYPE_CHECKING:
    import numpy

    from ._interfaces import ILTConnect2
    from ._kestrine import ComObject
    from .enumerations import VL_SystemStatusChange

PORT = 700  # that a tracker's own server listens on
_ANSWER = struct.Struct("<4i")  # size, type, command, status
_SLICE = 0.001  # seconds
_TIMED_OUT = 36  # as a call that waits has it
_NO_NAMES: dict[str, Any] = {}
_SOURCE = PROGRAMS["LTCommandSync2"]


def _failure(text: str, number: int = 0) -> com_error:
    return failure(text, number, _SOURCE)


class TrackerCore:
    """A connection that is open from the start."""

    __slots__ = ("host", "port", "connection", "_commands", "_com", "_subscriptions", "__weakref__")

    def __init__(self, host: str, port: int = PORT):
        """Connects; com_error where it cannot: host not found, refused, no answer in time (ConnectionTimeout, 2 s)."""
        self.host, self.port = host, port
        self._com: ComObject | None = None
        self._subscriptions: set[Subscription] = set()
        self.connection: ILTConnect2 = Dispatch("Kestrine.LTConnect2")
        try:
            self.connection.ConnectEmbeddedSystem(host, port)
        except com_error as error:
            raise self._named(error)
        self._commands: Object = self.connection.ILTCommandSync
        self._com = self._commands._com

    def close(self) -> None:
        """Ends the connection, and what on() and its kin began. Operations raise com_error from now on. A handler may
        do it, and it may be done twice."""
        if self._com is not None:
            self._com = None
            for subscription in list(self._subscriptions):
                subscription.close()
            self.connection.DisconnectEmbeddedSystem()

    def __enter__(self) -> Self:
        return self

    def __exit__(self, *_: object) -> None:
        self.close()

    @property
    def is_connected(self) -> bool:
        """False once it is closed here; the server's own going is told by on_status() (VL_SSC_ServerClosing)."""
        return self._com is not None and self.connection.IsConnected

    def __repr__(self) -> str:
        return f"<kestrine.Tracker {self.connection._link}>"

    def on_status(self, handler: Callable[[VL_SystemStatusChange], object]) -> Subscription:
        """Calls the handler with every change of status. Otherwise like on()."""
        return self._subscribe(lambda event: handler(event.statusChange), "StatusChangeEvent")

    def on_points(self, handler: Callable[[numpy.ndarray[Any, Any]], object]) -> Subscription:
        """Calls the handler with every block of a continuous measurement, as kestrine.points() gives it. Otherwise like
        on()."""
        def take(_: results.ContinuousPointMeasDataReady) -> None:
            handler(points(self.connection.GetData()))
        return self._subscribe(take, "ContinuousPointMeasDataReady", "ContinuousProbeMeasDataReady")

    def _subscribe(self, handler: Callable[[Any], object], *events: str) -> Subscription:
        self._opened()
        return Subscription(self._commands, events, handler, self._subscriptions)

    def _opened(self) -> ComObject:
        if self._com is None:
            raise self._named(_failure("The connection to the tracker has been closed"))
        return self._com

    def _named(self, error: com_error, command: int | None = None) -> com_error:
        error.command, error.host = None if command is None else VL_Command(command), self.host
        return error

    def _call(self, name: str, *arguments: Any) -> Any:
        try:
            com = self._opened()
            result = com.invoke(self._commands._calls_[name], arguments, _NO_NAMES)
        except com_error as error:
            raise self._named(error, COMMANDS.get(name))
        if com.last_status:
            warn_of(com)
        return result

    def _list(self, name: str, *arguments: Any) -> list[Any]:
        """All items of a series. The asynchronous object asks for them: a synchronous one is not told of a refusal."""
        try:
            self._opened()
            return _Series(name, self.connection).items(arguments)
        except com_error as error:
            raise self._named(error, COMMANDS[name])


class _Series:
    """The items of an answer that comes in pieces, of which each tells how many there are."""

    def __init__(self, name: str, connection: ILTConnect2):
        self._name, self._connection = name, connection
        self._command, (self._event, *_), self._total, _, self._seconds, _, self._timed_out = CALLS[name]
        self._items: list[Any] = []
        self._failure: com_error | None = None
        self._is_complete = False

    def items(self, arguments: tuple[Any, ...]) -> list[Any]:
        commands = self._connection.ILTCommandAsync
        handlers = {self._event: _Series._take, "ErrorEvent": _Series._fail, "StatusChangeEvent": _Series._end}
        with closing(connect_functions(commands, self, handlers)):
            getattr(commands, self._name)(*arguments)
            last = monotonic() + self._seconds
            while not self._is_complete and self._failure is None:
                if monotonic() > last:
                    self._failure = _failure(self._timed_out, _TIMED_OUT)
                elif not _kestrine.pump_for(_SLICE):
                    self._failure = _failure(f"{self._name} was given up: the loop has been told to quit")
        if self._failure is not None:
            raise self._failure
        return self._items

    def _take(self, *values: Any) -> None:
        if self._is_complete:
            return
        # The items of some series come as events whatever the status of their answer.
        _, _, command, status = _ANSWER.unpack_from(self._connection.GetData())
        if command == self._command and status != constants.VL_RS_AllOK:
            told = CONVERTERS["VL_ResultStatus"].get(status, status)
            self._failure = _failure(f"{self._name} failed: {told!r}", status)
            return
        if values[self._total] > 0:
            self._items.append(getattr(results, self._event)._make(values))
        self._is_complete = len(self._items) >= values[self._total]

    def _fail(self, command: int, status: int) -> None:
        if command in (self._command, constants.VL_C_Unknown):
            text, source, number = _kestrine.thread_report() or (f"{self._name} failed", _SOURCE, status)
            self._failure = failure(text, number, source)

    def _end(self, change: int) -> None:
        if change in (constants.VL_SSC_ServerClosing, constants.VL_SSC_TPConnectionClosing):
            self._failure = _failure("The server has closed the connection")
