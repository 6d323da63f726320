#!/usr/bin/env python3
"""Writes everything that is generated from the schema. A bad row ends it with the row's file and line."""

import argparse
import sys
from pathlib import Path

from generator.errors import SchemaError
from generator.model.schema import Schema
from generator.writers import WRITERS


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--schema", type=Path, default=Path(__file__).parent, help="folder of the .toml files")
    parser.add_argument("--out", type=Path, help="folder to write into; a file that would not change is left alone")
    parser.add_argument("--list-outputs", action="store_true", help="print the names of the files instead")
    arguments = parser.parse_args()
    if arguments.list_outputs:
        print("\n".join(WRITERS))
        return 0
    if arguments.out is None:
        parser.error("--out is needed")
    try:
        schema = Schema(arguments.schema)
    except SchemaError as error:
        print(error, file=sys.stderr)
        return 1
    for name, writer in WRITERS.items():
        write_if_changed(arguments.out / name, writer(schema))
    return 0


def write_if_changed(path: Path, text: str) -> None:
    if path.exists() and path.read_text(encoding="utf-8") == text:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


if __name__ == "__main__":
    sys.exit(main())
