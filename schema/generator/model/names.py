"""Names and identifiers that must be unique, and the rules that make one name of another."""

import re

from ..errors import Where, require

_IDENTIFIER = re.compile(r"[A-Za-z_][A-Za-z0-9_]*")
_WORDS = re.compile(r"(?<=[a-z0-9])(?=[A-Z])|(?<=[A-Z])(?=[A-Z][a-z])")
_PREFIX = re.compile(r"^[bcdil](?=[A-Z])")
_KEYWORDS = frozenset(
    """alignas alignof and and_eq asm auto bitand bitor bool break case catch char char8_t char16_t char32_t class compl
    concept const consteval constexpr constinit const_cast continue co_await co_return co_yield decltype default delete
    do double dynamic_cast else enum explicit export extern false float for friend goto if inline int long mutable
    namespace new noexcept not not_eq nullptr operator or or_eq private protected public register reinterpret_cast
    requires return short signed sizeof static static_assert static_cast struct switch template this thread_local throw
    true try typedef typeid typename union unsigned using virtual void volatile wchar_t while xor xor_eq""".split()
)


def check_identifier(name: str, where: Where) -> None:
    require(bool(_IDENTIFIER.fullmatch(name)), where, f"{name!r} is no identifier")
    require(name not in _KEYWORDS and "__" not in name, where, f"{name!r} is reserved in C++")


def public_name(field: str) -> str:
    """The name under which a field is handed out: without the letter of its type, and small where it is no acronym."""
    bare = _PREFIX.sub("", field)
    return bare if bare[:2].isupper() else bare[:1].lower() + bare[1:]


def display_text(name: str) -> str:
    """ "Get Tracker Status" of GetTrackerStatus."""
    return _WORDS.sub(" ", name)


class Scope:
    """Names (or numbers) that may stand only once, with the place where each was first seen."""

    def __init__(self, what: str):
        self._what = what
        self._seen: dict[object, Where] = {}

    def claim(self, key: object, where: Where) -> None:
        require(key not in self._seen, where, f"{self._what} {key} stands already at {self._seen.get(key)}")
        self._seen[key] = where

    def claim_name(self, name: str, where: Where) -> None:
        check_identifier(name, where)
        self.claim(name, where)


class Numbers:
    """The dispatch identifiers of an interface: each once, counted from 1 without a gap."""

    def __init__(self, what: str):
        self._what = what
        self._names, self._numbers = Scope(what), Scope(f"the identifier of {what}")
        self._rows: dict[int, tuple[str, Where]] = {}

    def claim(self, number: int, name: str, where: Where) -> None:
        self._names.claim_name(name, where)
        self._numbers.claim(number, where)
        self._rows[number] = (name, where)

    def check_complete(self) -> None:
        for expected, (number, (name, where)) in enumerate(sorted(self._rows.items()), 1):
            require(number == expected, where,
                    f"{self._what} {name} has the identifier {number}, but none has {expected}")
