"""What all writers of C++ share."""

WIDTH = 120


def literal(text: str, prefix: str = "") -> str:
    """A C++ string literal."""
    escapes = {"\\": "\\\\", '"': '\\"', "\n": "\\n", "\t": "\\t"}
    cells = [escapes.get(unit) or (unit if unit.isascii() else f"\\u{ord(unit):04X}") for unit in text]
    return f'{prefix}"{"".join(cells)}"'


def header(comment: str, includes: list[str], body: str, namespace: str = "") -> str:
    """A header file with its guard, includes and namespace."""
    return source(f"{comment}\n#pragma once\n", includes, body, namespace)


def source(comment: str, includes: list[str], body: str, namespace: str) -> str:
    lines = [f"#include {name}" if name else "" for name in includes]
    body = body.strip("\n")
    if namespace:
        body = f"namespace {namespace} {{\n\n{body}\n\n}}  // namespace {namespace}"
    return "\n".join([f"// {comment}", *lines, "", body]) + "\n"


def array(kind: str, name: str, rows: list[str]) -> str:
    """A constant array, one row a line."""
    return f"constexpr {kind} {name}[] = {{\n" + "".join(f"    {row},\n" for row in rows) + "};\n"


def wrapped(start: str, items: list[str], end: str, indent: int = 6) -> str:
    """Items between commas, in as many lines as they need."""
    lines = [start]
    for index, item in enumerate(items):
        last = index + 1 == len(items)
        cell = item + ("" if last else ",")
        fits = len(lines[-1]) + len(cell) + 1 + (len(end) if last else 0) <= WIDTH
        if index == 0 and fits:
            lines[-1] += cell
        elif fits:
            lines[-1] += " " + cell
        else:
            lines.append(" " * indent + cell)
    return "\n".join(lines) + end


def flag(value: bool) -> str:
    return "true" if value else "false"


def constant(words: str) -> str:
    """kTwoWords of "two words" or "two-words"."""
    return "k" + "".join(word.capitalize() for word in words.replace("-", " ").split())
