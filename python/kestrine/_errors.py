"""Failures, warnings and notices of the library."""

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

    excepinfo is None, or (wcode, source, description, helpfile, helpcontext, scode); argerror the place of the argument
    to blame, from 1, or None. `number` is the server's status or the library's own error number, 0 when there is none.
    """

    def __init__(self, hresult, strerror=None, excepinfo=None, argerror=None):
        super().__init__(hresult, strerror, excepinfo, argerror)
        self.hresult = hresult
        self.strerror = strerror
        self.excepinfo = excepinfo
        self.argerror = argerror
        self.number = 0

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


class ServerWarning(UserWarning):
    """The call succeeded, and the server or the library had something to say; `status` is its number."""

    def __init__(self, text, status=0, source=""):
        super().__init__(text)
        self.status = status
        self.source = source


class NoticeWarning(RuntimeWarning):
    """What the library shows a user in a message box."""
