"""tests/commands/members.h"""

from ..model.methods import Method
from ..model.schema import Schema
from .text import header, wrapped


def write(schema: Schema) -> str:
    body = "\n".join(["template <auto... Members>", "struct MemberList {};", "",
                      _list("Sync", schema.sync_methods), _list("Async", schema.async_methods)])
    return header("Every typed operation, in the order of the identifiers.", ['"kestrine/interfaces.h"'], body,
                  "kestrine::test")


def _list(side: str, methods: list[Method]) -> str:
    return wrapped(f"using {side}Members = MemberList<",
                   [f"&ILTCommand{side}::{method.slot_name}" for method in methods], ">;", 4)
