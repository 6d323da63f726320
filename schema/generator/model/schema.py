"""Everything that the schema says, checked."""

from pathlib import Path

from ..source import Source
from .commands import load_command_names, load_commands, load_packets
from .enums import check_values, load_enums
from .events import load_answers, load_events
from .identifiers import load_identifiers
from .interfaces import Interfaces
from .names import Scope
from .records import Records
from .texts import load_errors, load_texts
from .values import load_values


class Schema:
    def __init__(self, folder: Path):
        source = Source(folder)
        names = Scope("the name")
        self.files = source.files
        self.enums = load_enums(source, names)
        self.enums["VL_Command"] = load_command_names(source, names)
        check_values(self.enums, names)
        self.records = Records(source, self.enums, names)
        self.commands = load_commands(source, self.records)
        self.packets = load_packets(source, self.enums, self.records)
        self.texts = load_texts(source)
        self.errors = load_errors(source, self.texts)
        self.values = load_values(source, self.records, self.enums)
        self.async_events = load_events(source, "async", self.values)
        self.sync_events = load_events(source, "sync", self.values)
        self.answers = load_answers(source, self.commands, self.values, self.async_events, self.sync_events)
        interfaces = Interfaces(self.records, self.enums, self.commands, self.packets, self.values)
        self.connect_members = interfaces.load_members(source)
        self.sync_methods = interfaces.load_methods(source)
        self.identifiers = load_identifiers(source)
