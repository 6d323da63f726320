"""The string table and the library's own error numbers."""

from dataclasses import dataclass

from ..errors import Where, require, require_known
from ..source import Source
from .enums import Enum
from .names import Scope


@dataclass(frozen=True)
class TextRow:
    row: int
    text: str
    name: str  # empty: reached through an error only


@dataclass(frozen=True)
class Error:
    number: int
    name: str
    row: int  # 0: the text is put together at run time
    advice: str  # what to do
    members: tuple[str, ...]  # of the connection, that give it


def load_texts(source: Source) -> list[TextRow]:
    numbers, names, texts = Scope("the text row"), Scope("the text name"), []
    for row in source.rows("texts", (int, str), (int, str, str)):
        numbers.claim(row[0], row.where)
        if len(row) > 2:
            names.claim_name(row[2], row.where)
        texts.append(TextRow(row[0], row[1], row[2] if len(row) > 2 else ""))
    return texts


def load_errors(source: Source, texts: list[TextRow], members: list[str]) -> list[Error]:
    names, errors = Scope("the error"), []
    for row in source.rows("errors", (int, str, int, str), (int, str, int, str, list)):
        names.claim_name(row[1], row.where)
        _require_row(row[2] or None, texts, row.where)
        given_by = row[4] if len(row) > 4 else []
        for name in given_by:
            require_known(name, members, row.where, "member of the connection")
        errors.append(Error(*row[:4], tuple(given_by)))
    return errors


def load_advice(source: Source, statuses: Enum) -> dict[int, str]:
    """What to do about a status; those that speak of an input are told by their names."""
    numbers, advice = Scope("the advice for status"), {}
    for row in source.rows("advice", (int, str)):
        numbers.claim(row[0], row.where)
        require(row[0] in {value.value for value in statuses.values}, row.where, f"there is no status {row[0]}")
        advice[row[0]] = row[1]
    return advice


def load_warnings(statuses: Enum, texts: list[TextRow]) -> dict[int, int]:
    """The statuses that are warnings, and the text row of each."""
    for value in statuses.values:
        _require_row(value.warning, texts, value.where)
    return {value.value: value.warning for value in statuses.values if value.warning is not None}


def _require_row(number: int | None, texts: list[TextRow], where: Where) -> None:
    require(number in (None, *(text.row for text in texts)), where, f"there is no text row {number}")
