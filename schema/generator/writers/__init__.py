"""One entry for each generated file."""

from . import (accessors, catalogue, enums, events, interfaces, library, methods, python, python_results, python_tracker,
               records, requests, test_members, texts, tracker)

WRITERS = {
    "python/kestrine/_constants.pyi": python.write_constants,
    "python/kestrine/_interfaces.pyi": python.write_stubs,
    "python/kestrine/_tables.py": python.write_tables,
    "python/kestrine/_tracker_calls.py": python_tracker.write,
    "python/kestrine/enumerations.py": python.write_enumerations,
    "python/kestrine/errors.py": texts.write_python_numbers,
    "python/kestrine/records.py": python.write_records,
    "python/kestrine/results.pyi": python_results.write,
    "include/kestrine/enums.h": enums.write,
    "include/kestrine/error_numbers.h": texts.write_numbers,
    "include/kestrine/events.h": events.write,
    "include/kestrine/interfaces.h": interfaces.write,
    "include/kestrine/records.h": records.write,
    "include/kestrine/tracker_calls.h": tracker.write_calls,
    "include/kestrine/tracker_events.h": tracker.write_events,
    "src/commands/typed_methods.h": methods.write,
    "src/connection/packet_accessors.h": accessors.write,
    "src/connection/setting_rows.h": library.write_settings,
    "src/objects/class_names.h": library.write_classes,
    "src/platform/library_version.h": library.write_version,
    "src/protocol/catalogue_rows.cpp": catalogue.write,
    "src/protocol/errors.h": texts.write,
    "src/protocol/event_numbers.h": events.write_numbers,
    "tests/commands/members.h": test_members.write,
    "tests/protocol/requests.h": requests.write,
}
