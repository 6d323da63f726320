"""The library inside an asyncio program.

    async with kestrine.aio.Tracker(connection) as tracker:
        await tracker.Initialize()
        units = await tracker.GetUnits()
        async for event in tracker.events():
            ...

Nothing here waits on the connection: the asynchronous command object sends, and the answer's event ends the call.
"""

import asyncio
import weakref
from typing import TYPE_CHECKING, Any, NamedTuple

from . import _kestrine
from ._constants import constants
from ._errors import com_error
from ._events import connect
from ._object import Object
from ._tables import CALLS, PROGRAMS
from ._types import CONVERTERS

if TYPE_CHECKING:
    from ._interfaces import AwaitableCommands, ILTConnect2
else:
    AwaitableCommands = object

_DISP_E_EXCEPTION, _E_FAIL = -2147352567, -2147467259
_ENDS_OF_LINK = (constants.VL_SSC_ServerClosing, constants.VL_SSC_TPConnectionClosing)
_SOURCE = PROGRAMS["LTCommandAsync2"]


class Event(NamedTuple):
    """An event and its values, such as Event("StatusChangeEvent", (VL_SSC_..., ))."""

    name: str
    values: tuple


class _Attachment:
    """The thread's messages are delivered by the running loop, for as long as anybody is attached."""

    _users: weakref.WeakKeyDictionary[asyncio.AbstractEventLoop, int] = weakref.WeakKeyDictionary()

    def __init__(self) -> None:
        self._loop = asyncio.get_running_loop()
        users = self._users.get(self._loop, 0)
        if users == 0:
            self._loop.add_reader(_kestrine.fileno(), _kestrine.pump_waiting)
        self._users[self._loop] = users + 1

    def close(self) -> None:
        self._users[self._loop] -= 1
        if self._users[self._loop] == 0:
            self._loop.remove_reader(_kestrine.fileno())


class _Call:
    """A call that waits for its events."""

    def __init__(self, name: str):
        self.command, self.ends, self.total, self.failures = CALLS[name]
        self.future: asyncio.Future = asyncio.get_running_loop().create_future()
        self._items: list[tuple] = []

    def is_ended_by(self, event: Event) -> bool:
        """Takes an event of the call; True when it was the last one."""
        if event.name == "CommandCompletedData":
            self._end(None)
        elif self.total is None:
            self._end(event.values if len(event.values) > 1 else event.values[0])
        else:
            total = event.values[self.total]
            if total > 0:
                self._items.append(event.values)
            if len(self._items) < total:
                return False
            self._end(self._items)
        return True

    def _end(self, result: Any) -> None:
        if not self.future.done():
            self.future.set_result(result)

    def fail(self, failure: com_error) -> bool:
        if not self.future.done():
            self.future.set_exception(failure)
        return True


def _failure(status: int) -> com_error:
    """What the library has just said of the answer, as a call that waits would raise it."""
    said = _kestrine.thread_report()
    return _com_error(*said) if said and said[2] == status else _com_error(repr(status), _SOURCE, int(status))


def _com_error(text: str, source: str, number: int) -> com_error:
    return com_error.from_status(_DISP_E_EXCEPTION, (0, source, text, None, 0, _E_FAIL), None, number)


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


class Tracker(AwaitableCommands):
    """The commands of a connection as awaitables: each returns what its event brings, without a tuple where that is one
    value, a list of tuples where there is an event for each item, None where there is nothing but the completion. A
    failure raises com_error. Several calls may be under way; a call that is cancelled still takes its answer.
    """

    def __init__(self, connection: "ILTConnect2"):
        self._connection = connection
        self._commands: Object = connection.ILTCommandAsync
        self._calls: list[_Call] = []
        self._streams: weakref.WeakSet[EventStream] = weakref.WeakSet()
        self._listener = _listener(self._commands, self)

    async def __aenter__(self) -> "Tracker":
        self._attachment = _Attachment()
        self._events = connect(self._commands, self._listener)
        return self

    async def __aexit__(self, *_: object) -> None:
        self._events.close()
        self._attachment.close()
        for call in self._calls:
            call.future.cancel()
        for stream in self._streams:
            stream.put(None)

    def __getattr__(self, name: str) -> Any:
        known = self._commands._members_.get(name.lower()) if not name.startswith("_") else None
        if known is None:
            raise AttributeError(f"the tracker has no command {name}")
        return lambda *arguments, **named: self._perform(known, arguments, named)

    async def _perform(self, name: str, arguments: tuple, named: dict) -> Any:
        call = _Call(name)
        getattr(self._commands, name)(*arguments, **named)
        self._calls.append(call)
        return await call.future

    def events(self) -> "EventStream":
        """All events from now on, those that end a call among them, until the tracker is left."""
        return EventStream(self._streams)

    def GetData(self) -> bytes:
        """The packet received last, as bytes."""
        return self._connection.GetData()

    def _take_event(self, event: Event) -> None:
        for stream in self._streams:
            stream.put(event)
        if event.name == "ErrorEvent":
            command, status = event.values
            failure = _failure(status)
            self._end_first(lambda call: command in call.failures, lambda call: call.fail(failure))
        elif event.name == "StatusChangeEvent" and event.values[0] in _ENDS_OF_LINK:
            failure = _com_error("the server has closed the connection", _SOURCE, 0)
            while self._calls:
                self._calls.pop().fail(failure)
        elif event.name == "CommandCompletedData":
            self._end_first(lambda call: event.name in call.ends and call.command == event.values[0],
                            lambda call: call.is_ended_by(event))
        else:
            self._end_first(lambda call: event.name in call.ends, lambda call: call.is_ended_by(event))

    def _end_first(self, belongs: Any, take: Any) -> None:
        """Answers to one command come in the order in which it was sent."""
        call = next(filter(belongs, self._calls), None)
        if call is not None and take(call):
            self._calls.remove(call)


def _listener(commands: Object, tracker: Tracker) -> object:
    """An object with a handler for every event, which knows the tracker only for as long as it lives."""
    known = weakref.ref(tracker)

    def handler(name: str) -> Any:
        def take(_self: object, *values: Any) -> None:
            target = known()
            if target is not None:
                target._take_event(Event(name, values))
        return take

    methods = {"On" + event.name: handler(event.name) for event in commands._com.events(CONVERTERS)}
    return type("Listener", (), methods)()
