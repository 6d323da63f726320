"""One entry for each generated file."""

from . import constants, enums, events, interfaces, methods, proxies, python, readers, records, requests, tables, texts
from . import library, types, waits

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
    "src/component/class_rows.h": library.write_classes,
    "src/component/type_tables.cpp": types.write,
    "src/data/constant_rows.h": constants.write,
    "src/data/packet_readers.h": readers.write,
    "src/events/event_rows.cpp": events.write_rows,
    "src/events/event_rows.h": events.write_header,
    "src/events/proxies.h": proxies.write,
    "src/platform/library_version.h": library.write_version,
    "src/protocol/errors.h": texts.write_errors,
    "src/protocol/requests.h": requests.write,
    "src/protocol/tables.cpp": tables.write,
    "src/protocol/text_rows.cpp": texts.write_rows,
    "src/sync/wait_rows.h": waits.write,
}
