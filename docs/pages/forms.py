"""How members and events are declared for users: read from what the generator writes, so that the pages show what is
shipped."""

import ast
import re
from textwrap import fill

from generator.model.schema import Schema
from generator.writers import WRITERS

_WIDTH = 96


class Forms:
    def __init__(self, schema: Schema):
        interfaces = _blocks(WRITERS["include/kestrine/interfaces.h"](schema), "struct")
        events = _blocks(WRITERS["include/kestrine/events.h"](schema), "class")
        self.members = {name: _declarations(body, r"virtual (HRESULT (\w+)\([^;]*?\)) = 0;")
                        for name, body in interfaces.items()}
        self.handlers = {name: _declarations(body, r"virtual (void (\w+)\([^{]*?\)) \{\}")
                         for name, body in events.items()}
        self.tracker = _declarations(WRITERS["include/kestrine/tracker_calls.h"](schema),
                                     r"^  ((?:\[\[nodiscard\]\] )?[\w:<>]+ (\w+)\([^{]*?\)) \{")
        self.python = {node.name: {row.name: _python(row) for row in node.body
                                   if isinstance(row, ast.FunctionDef | ast.AsyncFunctionDef)}
                       for file in ("_interfaces.pyi", "_tracker_calls.py")
                       for node in ast.parse(WRITERS[f"python/kestrine/{file}"](schema)).body
                       if isinstance(node, ast.ClassDef)}


def _blocks(text: str, kind: str) -> dict[str, str]:
    return {found[1]: found[2] for found in re.finditer(rf"^{kind} (\w+) : [^{{]*{{\n(.*?)^}};", text, re.S | re.M)}


def _declarations(text: str, pattern: str) -> dict[str, str]:
    found = {}
    for declaration in re.finditer(pattern, text, re.M):
        line = re.sub(r"\s+", " ", re.sub(r"/\*(\w+)\*/", r"\1", declaration[1]))
        found[declaration[2]] = fill(line, _WIDTH, subsequent_indent="    ", break_long_words=False) + ";"
    return found


def _python(function: ast.FunctionDef | ast.AsyncFunctionDef) -> str:
    given = ", ".join(ast.unparse(each) for each in function.args.args if each.arg != "self")
    line = f"{function.name}({given}) -> {ast.unparse(function.returns) if function.returns else 'None'}"
    return fill(line, _WIDTH, subsequent_indent="    ", break_long_words=False)
