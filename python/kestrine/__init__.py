"""Client of the Vorelan laser-tracker measurement server, in the manner of late-bound components.

    import kestrine
    connection = kestrine.Dispatch("Kestrine.LTConnect2")
    connection.ConnectEmbeddedSystem("192.168.0.1", 700)
    tracker = connection.ILTCommandSync
    tracker.Initialize()
    x, y, z, *rest = tracker.MeasureStationaryPoint()

Methods take their inputs, by place or by name, and return their outputs: None, the one, or all in a tuple. Names
are the same in any case of letters. A failure raises com_error, a warning of the server is a ServerWarning, and the
status of the latest call is the object's `_hresult_`. `help(tracker)` describes all members.

Objects live on the thread that creates them. It must deliver messages: in a waiting call, with PumpEvents() and its
kin, or from a loop of its own that watches fileno(); asyncio programs use kestrine.aio.
"""

from . import aio, enumerations, records
from ._constants import constants
from ._errors import NoticeWarning, ServerWarning, com_error
from ._events import DispatchWithEvents, WithEvents
from ._kestrine import behaviour, set_behaviour
from ._loop import PostQuitMessage, PumpEvents, PumpMessages, PumpWaitingMessages, fileno
from ._object import Dispatch, Object
from ._points import points
from ._simulator import Simulator
from .enumerations import *

set_behaviour("modern")
