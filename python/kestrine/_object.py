"""Objects that are called by name. Their classes are made from their type information."""

import inspect
import warnings
import weakref
from copy import copy
from typing import TYPE_CHECKING, Any, Literal, overload

from . import results
from ._errors import ServerWarning, com_error
from ._kestrine import ComObject
from ._tables import DOCS, RESULTS
from ._types import CONVERTERS

if TYPE_CHECKING:
    from ._interfaces import ILTCommandAsync2, ILTCommandSync2, ILTConnect2

_METHOD, _GET, _PUT = 1, 2, 4
_CONNECT = "ConnectEmbeddedSystem"
_E_NOINTERFACE = -2147467262


class Link:
    """Where a connection leads, for whoever looks at its objects."""

    host: str | None = None
    port = 0

    def __init__(self, connection: "Object"):
        self._connection = weakref.ref(connection)

    def lead_to(self, address: str, port: int) -> None:
        self.host, self.port = address, port

    def __str__(self) -> str:
        where = f"{self.host}:{self.port} " if self.host is not None else ""
        return where + self._state()

    def _state(self) -> str:
        connection = self._connection()
        if connection is None:
            return "not connected"
        try:  # with a latest status of its own, which the one of the program must not be lost for
            is_connected = copy(connection._com).invoke(connection._calls_["IsConnected"], (), {})
        except com_error:
            return "of another thread"
        return "connected" if is_connected else "not connected"


class Object:
    """An object of the library. It may outlive its connection; calls then fail with com_error."""

    _members_: dict[str, str] = {}  # lower case to the spelling of the interface
    _calls_: dict[str, Any] = {}  # what is called, by that spelling
    _com: ComObject
    _link: Link | None

    def __init__(self, com: ComObject, link: Link | None = None):
        object.__setattr__(self, "_com", com)
        object.__setattr__(self, "_link", link or (Link(self) if _CONNECT in self._calls_ else None))

    @property
    def _hresult_(self) -> int:
        """The status of the latest call: 0, 1 for a warning, or the failure."""
        return self._com.last_status

    def __getattr__(self, name: str) -> Any:
        known = self._members_.get(name.lower())
        if known is None:
            raise AttributeError(f"{type(self).__name__} has no member {name}")
        if known == name:
            raise AttributeError(f"{name} can only be set")
        return getattr(self, known)

    def __setattr__(self, name: str, value: Any) -> None:
        known = self._members_.get(name.lower())
        if known is None and self._is_closed_:
            raise AttributeError(f"{type(self).__name__} has no member {name}")
        if known is not None and not isinstance(getattr(type(self), known), property):
            raise AttributeError(f"{known} is a method")
        object.__setattr__(self, known or name, value)

    _is_closed_ = True  # no attributes but members

    def _end_calls(self) -> None:
        """Of kestrine.aio, when the program itself opens or closes the connection: no event tells that."""
        if (calls := vars(self).get("_calls")) is not None:
            calls.end_link("the connection has been closed")

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Object) and self._com.identity == other._com.identity

    def __hash__(self) -> int:
        return hash(self._com.identity)

    def __repr__(self) -> str:
        return f"<kestrine.{type(self).__name__} {self._link}>" if self._link else f"<kestrine.{type(self).__name__}>"


def wrap(value: Any, link: Link | None = None) -> Any:
    """An object of the library as Python sees it; anything else as it is."""
    return interface_class(value)(value, link) if isinstance(value, ComObject) else value


_classes: dict[str, type[Object]] = {}


def interface_class(com: ComObject) -> type[Object]:
    name = com.type_name
    if name not in _classes:
        _classes[name] = _make_class(name, com.members(CONVERTERS))
    return _classes[name]


def _make_class(name: str, members: list) -> type[Object]:
    namespace: dict[str, Any] = {"__doc__": f"The interface {name}.", "__module__": "kestrine"}
    for member in members:
        if f"{member.name}Result" in RESULTS:
            member.result = getattr(results, f"{member.name}Result")
        namespace[member.name] = _make_method(name, member) if member.kind == _METHOD else _make_property(member)
    namespace["_members_"] = {member.name.lower(): member.name for member in members}
    namespace["_calls_"] = {member.name: member for member in members}
    return type(name, (Object,), namespace)


def _call(target: Object, member: Any, arguments: tuple, named: dict) -> Any:
    com = target._com
    result = com.invoke(member, arguments, named)
    if com.last_status:
        warn_of(com)
    return wrap(result, target._link) if isinstance(result, ComObject) else result


def warn_of(com: ComObject) -> None:
    text, source, number = com.warning or (f"status {com.last_status}", "", 0)
    warnings.warn(ServerWarning(text, number, source), stacklevel=4)


def _make_method(interface: str, member: Any) -> Any:
    def method(self, /, *arguments, **named):
        result = _call(self, member, arguments, named)
        if changes_link:
            self._end_calls()
        if connects:
            self._link.lead_to(*arguments, **{name.lower(): value for name, value in named.items()})
        return result

    connects = member.name == _CONNECT
    changes_link = connects or member.name == "DisconnectEmbeddedSystem"
    inputs = [parameter for parameter in member.parameters if not parameter.out]
    method.__name__ = member.name
    method.__qualname__ = f"{interface}.{member.name}"
    method.__module__ = "kestrine"
    method.__doc__ = DOCS.get(interface, {}).get(member.name)
    method.__signature__ = _signature(inputs)
    return method


class _Named:
    """A type by its name, for the reader of a signature."""

    def __init__(self, name: str):
        self.__name__ = self.__qualname__ = name
        self.__module__ = "builtins"

    def __repr__(self) -> str:
        return self.__name__


def _signature(inputs: list) -> inspect.Signature:
    kind = inspect.Parameter.POSITIONAL_OR_KEYWORD
    given = [inspect.Parameter(each.name, kind, annotation=_Named(each.type)) for each in inputs]
    return inspect.Signature([inspect.Parameter("self", kind), *given])


def _make_property(member: Any) -> property:
    kind = f"({member.parameters[0].type})"
    if member.kind == _GET:
        return property(lambda self: _call(self, member, (), {}), doc=kind)
    return property(None, lambda self, value: _call(self, member, (value,), {}), doc=f"{kind}, can only be set")


@overload
def Dispatch(name: Literal["Kestrine.LTConnect2", "Kestrine.LTConnect2.1"]) -> "ILTConnect2": ...
@overload
def Dispatch(name: Literal["Kestrine.LTCommandSync2", "Kestrine.LTCommandSync2.1"]) -> "ILTCommandSync2": ...
@overload
def Dispatch(name: Literal["Kestrine.LTCommandAsync2", "Kestrine.LTCommandAsync2.1"]) -> "ILTCommandAsync2": ...
@overload
def Dispatch(name: str) -> Any: ...
def Dispatch(name: str) -> Any:
    """A new object of the class with that program identifier, or that class identifier in braces."""
    return wrap(create(name))


def create(name: str) -> ComObject:
    try:
        return ComObject(name)
    except com_error as error:
        if error.hresult != _E_NOINTERFACE:
            raise
        text = f"{name} is a class of the first generation, which cannot be called by name; take the one with a 2"
        raise com_error(error.hresult, text) from None
