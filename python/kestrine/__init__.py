"""Client of the Vorelan laser-tracker measurement server.

    import kestrine
    with kestrine.Tracker("192.168.0.1") as tracker:
        tracker.Initialize()
        point = tracker.MeasureStationaryPoint()
        print(point.val1, point.val2, point.val3)

Methods take their inputs, by place or by name, and return their outputs: None, the one, or all in a named tuple
(kestrine.results). A failure raises com_error, a warning of the server is a ServerWarning. `help(kestrine.Tracker)`
describes all members.

The same in the manner of late-bound components:

    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("192.168.0.1", 700)
    tracker = connection.ILTCommandSync
    x, y, z, *rest = tracker.MeasureStationaryPoint()

Names are the same there in any case of letters, and the status of the latest call is the object's `_hresult_`.

Objects live on the thread that creates them. It must deliver messages: in a waiting call, with PumpEvents() and its
kin, or from a loop of its own that watches fileno(); asyncio programs use kestrine.aio.
"""

from typing import TYPE_CHECKING

from . import aio, enumerations, errors, records, results
from ._constants import constants
from ._errors import NoticeWarning, ServerWarning, com_error
from ._events import DispatchWithEvents, Subscription, WithEvents
from ._kestrine import behaviour, set_behaviour
from ._loop import PostQuitMessage, PumpEvents, PumpMessages, PumpWaitingMessages, fileno
from ._object import Dispatch, Object
from ._points import points
from ._simulator import Simulator
from ._tables import VERSION
from ._tracker_calls import Tracker
from .enumerations import *

if TYPE_CHECKING:  # of the objects; at run time their classes are made from what the objects tell of themselves
    from ._interfaces import AsyncEvents as AsyncEvents
    from ._interfaces import ILTCommandAsync2 as ILTCommandAsync2
    from ._interfaces import ILTCommandSync2 as ILTCommandSync2
    from ._interfaces import ILTConnect2 as ILTConnect2
    from ._interfaces import SyncEvents as SyncEvents

__all__ = [
    "Dispatch", "DispatchWithEvents", "NoticeWarning", "Object", "PostQuitMessage", "PumpEvents", "PumpMessages",
    "PumpWaitingMessages", "ServerWarning", "Simulator", "Subscription", "Tracker", "WithEvents", "aio",
    "behaviour", "com_error", "constants", "enumerations", "errors", "fileno", "points", "records", "results",
    "set_behaviour",
]
__all__ += enumerations.__all__

__version__ = VERSION

set_behaviour("modern")
