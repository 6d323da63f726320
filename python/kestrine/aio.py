"""The library inside an asyncio program.

    async with kestrine.aio.connect("192.168.0.1") as tracker:
        await tracker.Initialize()
        units = await tracker.GetUnits()
        async for event in tracker.events():
            ...

Nothing here waits on the connection: the asynchronous command object sends, and the answer's event ends the call.
"""

import asyncio
import contextlib
import functools
import struct
import types
import weakref
from collections.abc import AsyncIterator
from typing import TYPE_CHECKING, Any, NamedTuple

from . import _events, _kestrine, results
from ._calls import Call, Calls
from ._constants import constants
from ._errors import com_error, failure
from ._object import Dispatch, Object
from ._tables import CALLS, DOCS
from ._tracker import PORT
from ._types import CONVERTERS
from .enumerations import VL_Command

if TYPE_CHECKING:
    from ._interfaces import AwaitableCommands, ILTConnect2
else:
    AwaitableCommands = object

_ENDS_OF_LINK = (constants.VL_SSC_ServerClosing, constants.VL_SSC_TPConnectionClosing)
_ANSWER = struct.Struct("<4i")  # size, type, command, status
_DEFAULT_STATIONARY_TIME = 1500  # milliseconds


class Event(NamedTuple):
    """An event and its values, a named tuple: such as Event("StatusChangeEvent", (VL_SSC_..., )), where that is
    event.values.statusChange."""

    name: str
    values: Any


class _Attachment:
    """The thread's messages are delivered by the running loop, for as long as anybody is attached."""

    _users: weakref.WeakKeyDictionary[asyncio.AbstractEventLoop, int] = weakref.WeakKeyDictionary()

    def __init__(self) -> None:
        self.loop = asyncio.get_running_loop()
        users = self._users.get(self.loop, 0)
        if users == 0:
            self.loop.add_reader(_kestrine.fileno(), _kestrine.pump_waiting)
        self._users[self.loop] = users + 1

    def close(self) -> None:
        self._users[self.loop] -= 1
        if self._users[self.loop] == 0:
            self.loop.remove_reader(_kestrine.fileno())


def _failure(status: int) -> com_error:
    """What the library has just said of the answer, as a call that waits would raise it."""
    text, source, number = _kestrine.thread_report() or ("", "", 0)
    return failure(text, number, source) if number == status else failure(f"status {status!r}", int(status))


class EventStream:
    """Events in the order in which they came. Those that nobody has asked for yet are kept."""

    def __init__(self, streams: "weakref.WeakSet[EventStream]"):
        self._waiting: asyncio.Queue[Event | None] = asyncio.Queue()
        self.put = self._waiting.put_nowait  # None ends the stream
        streams.add(self)

    def __aiter__(self) -> "EventStream":
        return self

    async def __anext__(self) -> Event:
        event = await self._waiting.get()
        if event is None:
            raise StopAsyncIteration
        return event


def _checked_timeout(seconds: float) -> float:
    if not seconds > 0:
        raise ValueError(f"a timeout is a number of seconds above 0, not {seconds}")
    return seconds


class Tracker(AwaitableCommands):
    """The commands of a connection as awaitables: each returns what its event brings, the value where that is one, a
    named tuple of several, a list of these where there is an event for each item, None where there is nothing but the
    completion. A failure raises com_error. Several calls may be under way, and each gets its own answer; the late
    answer to one that was given up goes to nobody. A connection has one tracker at a time.

    A call that is not answered in `timeout` seconds raises com_error. Without it each command has its own time, mostly
    10 seconds; that of a stationary measurement comes on top, as far as it was set or asked for through the tracker.
    """

    def __init__(self, connection: "ILTConnect2", timeout: float | None = None):
        self._connection = connection
        self._timeout = None if timeout is None else _checked_timeout(timeout)
        self._commands: Object = connection.ILTCommandAsync
        self._calls: Calls = vars(connection).setdefault("_calls", Calls())
        self._stationary_time = _DEFAULT_STATIONARY_TIME
        self._streams: weakref.WeakSet[EventStream] = weakref.WeakSet()
        self._attachment: _Attachment | None = None
        self._listener = _listener(self._commands._com.events(CONVERTERS), self)

    async def __aenter__(self) -> "Tracker":
        if self._calls.has_tracker:
            raise RuntimeError("the connection has a tracker already, and each event would be taken twice")
        self._events = _events.connect(self._commands, self._listener)
        self._attachment = _Attachment()
        self._calls.has_tracker = True
        return self

    async def __aexit__(self, *_: object) -> None:
        self._events.close()
        if self._attachment is not None:
            self._attachment.close()
        self._attachment = None
        self._calls.has_tracker = False
        self._calls.cancel_all()
        for stream in self._streams:
            stream.put(None)

    def with_timeout(self, seconds: float) -> AwaitableCommands:
        """The same commands, with that many seconds for each: await tracker.with_timeout(60).Initialize()."""
        return _Timed(self, _checked_timeout(seconds))

    def events(self) -> "EventStream":
        """All events from now on, those that end a call among them, until the tracker is left."""
        self._require_entered()
        return EventStream(self._streams)

    def GetData(self) -> bytes:
        """The packet received last, as bytes."""
        return self._connection.GetData()

    def __getattr__(self, name: str) -> Any:
        return self._command(name, self) if not name.startswith("_") else object.__getattribute__(self, name)

    def __repr__(self) -> str:
        return f"<kestrine.aio.Tracker {self._connection._link}>"

    def __dir__(self) -> list[str]:
        return sorted({*super().__dir__(), *CALLS})

    def _command(self, name: str, target: "Tracker | _Timed") -> Any:
        known = self._commands._members_.get(name.lower())
        if known is None:
            raise AttributeError(f"the tracker has no command {name}")
        if known not in _commands:
            _commands[known] = _make_command(getattr(type(self._commands), known))
        return types.MethodType(_commands[known], target)

    def _require_entered(self) -> None:
        if self._attachment is None or self._attachment.loop is not asyncio.get_running_loop():
            raise RuntimeError("answers and events arrive inside `async with tracker:` only")

    def _start(self, method: Any, arguments: tuple, named: dict) -> Any:
        return self._perform_in(self._timeout, method, arguments, named)

    def _perform_in(self, timeout: float | None, method: Any, arguments: tuple, named: dict) -> Any:
        self._require_entered()
        return self._perform(method, timeout, arguments, named)

    async def _perform(self, method: Any, timeout: float | None, arguments: tuple, named: dict) -> Any:
        self._require_entered()  # it may have been left since the call was made
        call = Call(method.__name__, self._stationary_time / 1000)
        try:
            return await self._answered(call, method, timeout, arguments, named)
        except com_error as error:
            link = self._connection._link
            error.command, error.host = VL_Command(call.command), link.host if link else None
            raise

    async def _answered(self, call: Call, method: Any, timeout: float | None, arguments: tuple, named: dict) -> Any:
        method(self._commands, *arguments, **named)
        if method.__name__ == "SetStationaryModeParams":
            inputs = {"time": next(iter(arguments), None)} | {name.lower(): value for name, value in named.items()}
            self._stationary_time = int(inputs["time"])
        self._calls.add(call)
        timer = call.loop.call_later(call.seconds if timeout is None else timeout, call.time_out)
        try:
            return await call.future
        finally:
            timer.cancel()
            call.awaited = False

    def _take_event(self, event: Event) -> None:
        if len(self._streams):  # to go through a set of weak references takes its time
            for stream in self._streams:
                stream.put(event)
        if event.name == "ErrorEvent":
            self._take_error(*event.values)
        elif event.name == "StatusChangeEvent":
            if event.values[0] in _ENDS_OF_LINK:
                self._calls.end_link("the server has closed the connection")
        elif event.name == "CommandCompletedData":
            self._calls.take_completion(event.values[0])
        else:
            self._take_values(event)

    def _take_error(self, command: int, status: int) -> None:
        """What the event does not tell, its packet does: a refusal, an error, or a bad result."""
        error = _failure(status)
        _, kind, *_ = _ANSWER.unpack_from(self._connection.GetData())
        if kind == constants.VL_DT_Command:
            self._calls.refuse(command, error)
        elif kind == constants.VL_DT_Error:
            self._calls.fail_command(command, error)
        else:
            self._calls.fail_result("tiltra" if kind == constants.VL_DT_TiltraResult else "measurement", error)

    def _take_values(self, event: Event) -> None:
        if event.name == "StationaryModeParamsData":
            self._stationary_time = event.values[0]
        call = self._calls.find(event.name)
        if call is None:
            return
        # The items of some series come as events whatever the status of their answer.
        if call.total is not None:
            _, _, command, status = _ANSWER.unpack_from(self._connection.GetData())
            if command == call.command and status != constants.VL_RS_AllOK:
                text = f"{call.name} failed: {CONVERTERS['VL_ResultStatus'].get(status, status)!r}"
                return self._calls.refuse(command, failure(text, status))
        self._calls.take_values(call, event.values)


@contextlib.asynccontextmanager
async def connect(host: str, port: int = PORT, timeout: float | None = None) -> AsyncIterator[Tracker]:
    """A tracker with a connection of its own: async with kestrine.aio.connect("192.168.0.1") as tracker.

    To connect takes ConnectionTimeout (2 s) at most, for which the loop waits; com_error where it cannot."""
    connection = Dispatch("Kestrine.LTConnect2")
    try:
        connection.ConnectEmbeddedSystem(host, port)
    except com_error as error:
        error.host = host
        raise
    try:
        async with Tracker(connection, timeout) as tracker:
            yield tracker
    finally:
        connection.DisconnectEmbeddedSystem()


_commands: dict[str, Any] = {}  # the functions of all trackers, made when they are first asked for


def _make_command(method: Any) -> Any:
    """Of a method of the command object; to be bound to a tracker, or to the commands with another timeout."""
    @functools.wraps(method)
    def command(self: Any, /, *arguments: Any, **named: Any) -> Any:
        return self._start(method, arguments, named)

    command.__qualname__ = f"Tracker.{method.__name__}"
    command.__doc__ = DOCS["AwaitableCommands"][method.__name__]
    return command


class _Timed(AwaitableCommands):
    """The commands of a tracker with a timeout of their own."""

    def __init__(self, tracker: Tracker, seconds: float):
        self._tracker, self._seconds = tracker, seconds

    def __getattr__(self, name: str) -> Any:
        return self._tracker._command(name, self)

    def _start(self, method: Any, arguments: tuple, named: dict) -> Any:
        return self._tracker._perform_in(self._seconds, method, arguments, named)

    def __dir__(self) -> list[str]:
        return sorted(CALLS)


def _listener(events: list, tracker: Tracker) -> object:
    """An object with a handler for every event, which knows the tracker only for as long as it lives."""
    known = weakref.ref(tracker)

    def handler(name: str) -> Any:
        def take(_self: object, *values: Any) -> None:
            target = known()
            if target is not None:
                target._take_event(Event(name, getattr(results, name)._make(values)))
        return take

    methods = {"On" + event.name: handler(event.name) for event in events}
    return type("Listener", (), methods)()
