"""Everything that the schema says, checked."""

from pathlib import Path

from ..source import Source
from .commands import load_command_names, load_commands, load_packets
from .constants import load_constants
from .enums import check_values, load_enums
from .events import load_answers, load_events
from .identifiers import load_identifiers
from .interfaces import load_members
from .methods import Methods
from .names import Scope
from .records import Records
from .texts import load_errors, load_texts
from .values import ValueLists


class Schema:
    def __init__(self, folder: Path):
        source = Source(folder)
        names = Scope("the name")
        self.enums = load_enums(source, names)
        self.enums["VL_Command"] = load_command_names(source, names)
        check_values(self.enums, names)
        self.records = Records(source, self.enums, names)
        self.commands = load_commands(source, self.records)
        self.packets = load_packets(source, self.enums, self.records)
        self.texts = load_texts(source)
        self.errors = load_errors(source, self.texts)
        self.constants = load_constants(source, self.enums.get("KR_Constant"))
        lists = ValueLists(source, self.records, self.enums)
        self.async_events = load_events(source, "async", lists)
        self.sync_events = load_events(source, "sync", lists)
        self.answers = load_answers(source, self.commands, self.async_events, self.sync_events)
        self.connect_members = load_members(source, self.enums, lists)
        methods = Methods(self.records, self.enums, self.commands, self.packets, lists)
        self.sync_methods = methods.load(source)
        self.async_methods = methods.load_senders(source)
        lists.check_all_used()
        self.identifiers = load_identifiers(source)
        source.check_all_read()
