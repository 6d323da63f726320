"""tests/protocol/requests.h"""

from ..model.commands import Command
from ..model.records import Leaf
from ..model.schema import Schema
from .text import header

_CPP = {"int32": "std::int32_t", "bool32": "std::int32_t", "double": "double"}
_PUT = {"kInt32": "put_int32", "kBool32": "put_bool", "kDouble": "put_double"}


def write(schema: Schema) -> str:
    body = "\n".join(_builder(command) for command in schema.commands.values() if command.request_size)
    return header("One builder for each command that is sent. Flags are sent as 0 or 1, whatever they are given as.",
                  ["<cstdint>", "", '"kestrine/enums.h"', '"protocol/codec.h"'], body, "kestrine::protocol")


def _builder(command: Command) -> str:
    parameters = ", ".join(f"{_CPP.get(leaf.type, leaf.type)} {leaf.name}" for leaf in command.parameters)
    signature = f"inline Request build_{command.method_name}({parameters}) {{"
    if not command.parameters:
        return f"{signature}\n  return Request({command.name}, {command.request_size});\n}}\n"
    puts = "".join(f"  {_put(leaf)}\n" for leaf in command.parameters)
    return f"{signature}\n  Request request({command.name}, {command.request_size});\n{puts}  return request;\n}}\n"


def _put(leaf: Leaf) -> str:
    return f"request.{_PUT[leaf.kind]}({leaf.offset}, {leaf.name});"
