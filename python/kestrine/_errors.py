"""Failures, warnings and notices of the library."""

from difflib import get_close_matches

from ._tables import PROGRAMS
from .enumerations import VL_Command, VL_ResultStatus

_DISP_E_EXCEPTION, _E_FAIL = -2147352567, -2147467259
_FIRST_OWN_NUMBER = 40001

_TEXTS = {
    0x80020003: "Member not found.",
    0x80020004: "Parameter not found.",
    0x80020005: "Type mismatch.",
    0x80020006: "Unknown name.",
    0x80020008: "Bad variable type.",
    0x80020009: "Exception occurred.",
    0x8002000A: "Out of present range.",
    0x8002000E: "Invalid number of parameters.",
    0x8002000F: "Parameter not optional.",
    0x80004001: "Not implemented.",
    0x80004002: "No such interface supported.",
    0x80004005: "Unspecified error.",
    0x8000FFFF: "Catastrophic failure.",
    0x80010106: "Cannot change thread mode after it is set.",
    0x8001010E: "The object belongs to another thread.",
    0x80040110: "Class does not support aggregation.",
    0x80040111: "Class not available.",
    0x80040154: "Class not registered.",
    0x800401F3: "Invalid class string.",
    0x800401F8: "The library of the class was not found.",
    0x800401F9: "The library of the class cannot be used.",
}


class com_error(Exception):
    """A call failed: hresult, strerror, excepinfo and argerror.

    excepinfo is None, or (wcode, source, description, helpfile, helpcontext, scode); argerror the place of the
    argument to blame, from 1, or None. `number` is the server's status or the library's own error number
    (kestrine.errors), 0 when there is none; `status` is that as a VL_ResultStatus, None where it is none. A Tracker
    tells which `command` (VL_Command) has failed and of which `host`; otherwise they are None.
    """

    command: VL_Command | None
    host: str | None

    def __init__(self, hresult, strerror=None, excepinfo=None, argerror=None):
        super().__init__(hresult, strerror, excepinfo, argerror)
        self.hresult = hresult
        self.strerror = strerror
        self.excepinfo = excepinfo
        self.argerror = argerror
        self.number = 0
        self.command = None
        self.host = None

    @property
    def text(self) -> str:
        """What the library says of it, else what the status is called."""
        return self.excepinfo[2] if self.excepinfo else self.strerror

    @property
    def source(self) -> str:
        """The class that it comes from, such as Kestrine.LTConnect2.1."""
        return self.excepinfo[1] if self.excepinfo else ""

    @property
    def status(self) -> VL_ResultStatus | None:
        own = self.number <= 0 or self.number >= _FIRST_OWN_NUMBER
        return None if own else VL_ResultStatus._value2member_map_.get(self.number)  # type: ignore[return-value]

    @classmethod
    def from_status(cls, hresult, excepinfo, argerror, number, detail=""):
        text = _TEXTS.get(hresult & 0xFFFFFFFF, f"Status 0x{hresult & 0xFFFFFFFF:08X}.")
        error = cls(hresult, f"{text} {detail}".strip(), excepinfo, argerror)
        error.number = number
        return error

    def __str__(self):
        if self.excepinfo:
            return f"{self.excepinfo[2]} ({self.excepinfo[1]}, {self.number})"
        at = f" Argument {self.argerror}." if self.argerror else ""
        return f"{self.strerror}{at} (0x{self.hresult & 0xFFFFFFFF:08X})"


def failure(text, number=0, source=PROGRAMS["LTCommandAsync2"]):
    """As the library reports its own."""
    return com_error.from_status(_DISP_E_EXCEPTION, (0, source, text, None, 0, _E_FAIL), None, number)


def similar(name, known):
    """", did you mean ...?" for a name that is misspelt; nothing where none is like it."""
    found = get_close_matches(name, known, 2)
    return f", did you mean {' or '.join(found)}?" if found else ""


class ServerWarning(UserWarning):
    """The call succeeded, and the server or the library had something to say; `status` is its number."""

    def __init__(self, text, status=0, source=""):
        super().__init__(text)
        self.status = status
        self.source = source


class NoticeWarning(RuntimeWarning):
    """What the library shows a user in a message box."""
