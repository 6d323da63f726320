"""The fixed identifiers of classes, interfaces, the type library and the application."""

from dataclasses import dataclass
from uuid import UUID

from ..errors import require
from ..source import Source
from .names import Scope

# The list in the schema and the prefix of the constants made from it.
PREFIXES = {"applications": "APPID_", "libraries": "LIBID_", "classes": "CLSID_",
            "interfaces": "IID_", "event_interfaces": "DIID_"}


@dataclass(frozen=True)
class Identifier:
    constant: str
    value: UUID


def load_identifiers(source: Source) -> list[Identifier]:
    names, values, identifiers = Scope("the identifier of"), Scope("the identifier"), []
    for key, prefix in PREFIXES.items():
        for row in source.rows(key, (str, str)):
            names.claim_name(row[0], row.where)
            try:
                value = UUID(row[1])
            except ValueError:
                value = None
            require(value is not None and str(value) == row[1], row.where, f"{row[1]} is no identifier")
            values.claim(value, row.where)
            identifiers.append(Identifier(prefix + row[0], value))
    return identifiers
