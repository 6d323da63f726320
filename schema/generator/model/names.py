"""Names that must be unique and usable in C++."""

import re

from ..errors import Where, require

_IDENTIFIER = re.compile(r"[A-Za-z_][A-Za-z0-9_]*")
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
