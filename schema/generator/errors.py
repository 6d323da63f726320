"""The one way in which a schema is refused: at a line, with a reason."""

from collections.abc import Iterable
from typing import NamedTuple


class Where(NamedTuple):
    """A line of a schema file, for people to go to."""

    path: str
    line: int

    def __str__(self) -> str:
        return f"{self.path}:{self.line}"


class SchemaError(Exception):
    def __init__(self, where: Where, message: str):
        super().__init__(f"{where}: {message}")


def require(condition: bool, where: Where, message: str) -> None:
    if not condition:
        raise SchemaError(where, message)


def require_known(word: object, known: Iterable[str], where: Where, what: str) -> None:
    """Refuses a word that is none of those known, and names them."""
    known = list(known)
    require(word in known, where, f"{word} is no {what}; there are: {', '.join(known)}")
