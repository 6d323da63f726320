"""The calls of an asyncio program that the server has not dealt with yet, so that an event can be given to the one that
it belongs to: an answer names its command and nothing else, a result not even that. Answers to one command come in the
order in which the requests were sent, also to those that nobody awaits any more."""

import asyncio
from collections.abc import Callable
from typing import Any

from ._constants import constants
from ._errors import failure
from ._tables import CALLS

_TIMED_OUT = 36  # as a call that waits has it


class Call:
    """A call that waits for its events."""

    def __init__(self, name: str, stationary_seconds: float):
        self.name = name
        self.command, self.ends, self.total, self.result, self.seconds, adds, self.timed_out = CALLS[name]
        self.seconds += stationary_seconds if adds else 0
        self.loop = asyncio.get_running_loop()
        self.future: asyncio.Future = self.loop.create_future()
        self.awaited = True
        self.acknowledged = False  # what it awaits is its result
        # What a server never answers must not take the answers of later requests for ever.
        self.forgotten_at = self.loop.time() + 2 * self.seconds
        self._items: list[tuple] = []

    def is_ended_by(self, values: tuple) -> bool:
        """Takes the values of an event of the call; True when it was the last one."""
        if self.total is None:
            self.end(values if len(values) > 1 else values[0])
            return True
        total = values[self.total]
        if total > 0:
            self._items.append(values)
        if len(self._items) < total:
            return False
        self.end(self._items)
        return True

    def end(self, result: Any) -> None:
        if not self.future.done():
            self.future.set_result(result)

    def fail(self, error: Exception) -> None:
        if not self.future.done():
            self.future.set_exception(error)

    def time_out(self) -> None:
        self.fail(failure(self.timed_out, _TIMED_OUT))


class Calls:
    """Of a connection, the oldest first. One that nobody awaits keeps its place until its answer has come or is not to
    be expected, also when the tracker is left that made it."""

    def __init__(self) -> None:
        self._calls: list[Call] = []
        self.has_tracker = False  # one that takes events

    def add(self, call: Call) -> None:
        now = call.loop.time()
        self._calls = [each for each in self._calls if each.awaited or each.forgotten_at > now]
        self._calls.append(call)

    def take_completion(self, command: int) -> None:
        call = self._oldest(lambda each: each.command == command and not each.acknowledged)
        if call is not None and call.result:
            call.acknowledged = True
        elif call is not None:
            self._calls.remove(call)
            call.end(None)
        if command == constants.VL_C_StopMeasurement:  # those that were acknowledged bring no result any more
            self._calls = [each for each in self._calls
                           if each.awaited or not each.acknowledged or each.result != "measurement"]

    def find(self, event: str) -> Call | None:
        """Whose answer or result comes as that event."""
        return self._oldest(lambda each: event in each.ends)

    def take_values(self, call: Call, values: tuple) -> None:
        if call.is_ended_by(values):
            self._calls.remove(call)

    def refuse(self, command: int, error: Exception) -> None:
        """What was acknowledged can still be refused."""
        self._fail(self._oldest(lambda each: each.command == command and not each.acknowledged)
                   or self._oldest(lambda each: each.command == command), error)

    def fail_command(self, command: int, error: Exception) -> None:
        if command == constants.VL_C_Unknown:
            self._fail(self._oldest(lambda each: each.awaited), error)
        else:
            self._fail(self._oldest(lambda each: each.command == command), error)

    def fail_result(self, kind: str, error: Exception) -> None:
        self._fail(self._oldest(lambda each: each.result == kind), error)

    def end_link(self, text: str) -> None:
        calls, self._calls = self._calls, []
        for call in calls:
            call.fail(failure(text))

    def cancel_all(self) -> None:
        for call in self._calls:
            call.awaited = False
            call.future.cancel()

    def _oldest(self, belongs: Callable[[Call], bool]) -> Call | None:
        return next(filter(belongs, self._calls), None)

    def _fail(self, call: Call | None, error: Exception) -> None:
        if call is not None:
            self._calls.remove(call)
            call.fail(error)
