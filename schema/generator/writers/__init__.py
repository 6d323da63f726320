"""One entry for each generated file."""

from . import accessors, constants, enums, events, interfaces, methods, proxies, python, records, requests, tables, texts
from . import types

WRITERS = {
    "python/kestrine/_interfaces.pyi": python.write_stubs,
    "python/kestrine/_tables.py": python.write_tables,
    "python/kestrine/enumerations.py": python.write_enumerations,
    "python/kestrine/records.py": python.write_records,
    "include/kestrine/enums.h": enums.write,
    "include/kestrine/events.h": events.write_sinks,
    "include/kestrine/interfaces.h": interfaces.write,
    "include/kestrine/records.h": records.write,
    "src/commands/method_rows.cpp": methods.write_rows,
    "src/commands/method_rows.h": methods.write_header,
    "src/commands/typed_methods.h": methods.write_typed,
    "src/component/type_tables.cpp": types.write,
    "src/data/constant_rows.h": constants.write,
    "src/connection/packet_accessors.h": accessors.write,
    "src/events/event_rows.cpp": events.write_rows,
    "src/events/event_rows.h": events.write_header,
    "src/dispatch/event_proxies.h": proxies.write,
    "src/protocol/errors.h": texts.write_errors,
    "src/protocol/requests.h": requests.write,
    "src/protocol/tables.cpp": tables.write,
    "src/protocol/text_rows.cpp": texts.write_rows,
}
