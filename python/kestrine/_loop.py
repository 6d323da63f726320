"""The thread's message loop."""

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
