"""Everything that the schema says, checked."""

from pathlib import Path

from ..source import Source
from .commands import answer_layouts, command_enum, load_commands, load_packets, resolve_commands
from .constants import load_constants
from .enums import check_values, load_enums
from .events import Events
from .interfaces import load_members
from .library import load_library
from .methods import Methods
from .names import Scope
from .records import Records, load_layouts
from .texts import load_advice, load_errors, load_texts, load_warnings
from .waits import load_settings, load_waits


class Schema:
    def __init__(self, folder: Path):
        source = Source(folder)
        names = Scope("the name")
        self.enums = load_enums(source, names)
        self.commands = load_commands(source)
        self.enums["VL_Command"] = command_enum(self.commands, names)
        check_values(self.enums, names)
        layouts = answer_layouts(self.commands) + load_layouts(source, self.enums["VL_DataType"])
        self.records = Records(layouts, self.enums, names)
        resolve_commands(self.commands, self.records)
        self.packets = load_packets(self.records)
        self.texts = load_texts(source)
        self.advice = load_advice(source, self.enums["VL_ResultStatus"])
        self.warnings = load_warnings(self.enums["VL_ResultStatus"], self.texts)
        self.constants = load_constants(source, self.enums.get("KR_Constant"))
        events = Events(source, self.commands, self.records, self.enums)
        self.async_events, self.sync_events, self.answers = events.asynchronous, events.synchronous, events.answers
        self.connect_members = load_members(source, self.enums, self.records)
        self.errors = load_errors(source, self.texts, [member.name for member in self.connect_members])
        self.waits = load_waits(source)
        self.settings = load_settings(source)
        methods = Methods(source, self.commands, self.records, self.enums, events, self.waits)
        self.sync_methods, self.async_methods = methods.synchronous, methods.asynchronous
        self.library = load_library(source)
        self.identifiers = self.library.identifiers
        source.check_all_read()
