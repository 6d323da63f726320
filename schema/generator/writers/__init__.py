"""One entry for each generated file."""

from . import constants, enums, events, interfaces, proxies, records, requests, sync, tables, texts

WRITERS = {
    "include/kestrine/enums.h": enums.write,
    "include/kestrine/events.h": events.write_sinks,
    "include/kestrine/interfaces.h": interfaces.write,
    "include/kestrine/records.h": records.write,
    "src/data/constant_rows.h": constants.write,
    "src/events/event_rows.cpp": events.write_rows,
    "src/events/event_rows.h": events.write_header,
    "src/events/proxies.h": proxies.write,
    "src/protocol/errors.h": texts.write_errors,
    "src/protocol/requests.h": requests.write,
    "src/protocol/tables.cpp": tables.write,
    "src/protocol/text_rows.cpp": texts.write_rows,
    "src/sync/method_rows.cpp": sync.write_rows,
    "src/sync/method_rows.h": sync.write_header,
    "src/sync/typed_methods.h": sync.write_typed,
}
