"""What is handed out of a record: in which order, under which names and as which types."""

from dataclasses import dataclass

from ..errors import Where, require, require_known
from ..source import Table
from .enums import Enum
from .names import Scope
from .records import Leaf, Record

_TYPES = {"int32": "long", "double": "double", "bool32": "bool", "text32": "text", "text128": "text",
          "byte": "variant"}


@dataclass(frozen=True)
class Value:
    name: str
    type: str
    leaf: Leaf | None  # None where the value comes from no packet

    @property
    def quantity(self) -> str:
        return self.leaf.quantity if self.leaf else ""


def value_type(leaf: Leaf) -> str:
    return _TYPES.get(leaf.type, leaf.type)


def listed_values(table: Table, records: list[Record], total_last: bool = False) -> list[Value]:
    """What the table lists, or everything behind what packets have in common; in a series the total, which stands
    first, comes last then."""
    content = records[0].content
    everything = [f"{content[0].public}..{content[-1].public}"] if content else []
    words = table.words("values")
    values = chosen_values(records, words or everything, table.at("values"))
    return values[1:] + values[:1] if total_last and not words else values


def chosen_values(records: list[Record], words: list[str], where: Where) -> list[Value]:
    """The values that the words name: "val1", "val1..val3" (as they follow one another in the record), or
    "name = field" for one that goes by another name here. All records must have them in common."""
    values, names = [], Scope("the value")
    for word in words:
        name, _, field = word.partition(" = ")
        first, _, last = (field or name).partition("..")
        for leaf in _slice(records[0], first, last or first, where):
            for record in records[1:]:
                require(leaf in record.leaves, where,
                        f"{leaf.name} differs between {records[0].name} and {record.name}")
            values.append(Value(name if field else leaf.public, value_type(leaf), leaf))
            names.claim_name(values[-1].name, where)
    return values


def _slice(record: Record, first: str, last: str, where: Where) -> list[Leaf]:
    publics = [leaf.public for leaf in record.content]
    if first not in publics and (leaf := record.leaf(first)):
        return [leaf]
    for word in (first, last):
        require(word in publics, where, f"{record.name} has no value {word}; there are: {', '.join(publics)}")
    start, end = publics.index(first), publics.index(last)
    require(start <= end, where, f"{last} stands before {first}")
    return record.content[start:end + 1]


def check_type(kind: str, enums: dict[str, Enum], where: Where, others: tuple[str, ...] = ()) -> None:
    if kind not in enums:
        require_known(kind, [*dict.fromkeys(_TYPES.values()), *others], where, "type of a parameter or enumeration")
