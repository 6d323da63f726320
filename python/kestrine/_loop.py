"""The thread's message loop."""

import asyncio

from . import _kestrine

fileno = _kestrine.fileno


def PumpWaitingMessages() -> int:
    """Delivers everything that is due now and returns how many messages that were. Never waits."""
    return _kestrine.pump_waiting()


def PumpMessages() -> None:
    """Delivers messages until PostQuitMessage() is called."""
    _kestrine.pump()


def PumpEvents(seconds: float) -> bool:
    """Delivers messages for that long; False when PostQuitMessage() ended it early."""
    return _kestrine.pump_for(seconds)


def PostQuitMessage() -> None:
    """Ends the innermost PumpMessages() or PumpEvents(), or the next one."""
    _kestrine.quit()


def raise_cancellation() -> None:
    """Raises in a task that has been cancelled since it was last resumed, as Ctrl-C does it: while a call waits, the
    task does not come to where asyncio would tell it."""
    try:
        task = asyncio.current_task()
    except RuntimeError:  # no loop runs
        return
    if getattr(task, "_must_cancel", False):
        raise asyncio.CancelledError
