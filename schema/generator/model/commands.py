"""Commands: code, names, and the layouts of request and answer. Their members and events are read elsewhere."""

from dataclasses import dataclass, field

from ..errors import Where, require
from ..source import Source, Table
from .enums import Enum, EnumValue
from .names import Scope, display_text
from .quantities import QUANTITIES
from .records import FIELD_SHAPES, Field, Layout, Leaf, Record, Records, check_place

REQUEST_PREFIX = 12  # packet size, data type, command
BASIC_ANSWER = "BasicCommandRT"
_PREFIX = "VL_C_"
_MEMBER_KEYS = ("name", "ids", "wait", "result", "waits_for_result", "outputs_when_good", "outputs", "mode", "speed",
                "mirror", "ended_by", "ex_parameter", "doc", "ex_doc")
_KEYS = ("code", "text", "sent", "aliases", "request", "request_size", "answer", "answer_size", "series", "event",
         "values", "sync_names", "second_event", "status_test")


@dataclass
class Command:
    code: int
    name: str  # empty: the code is no command
    text: str
    where: Where
    table: Table
    aliases: list[str]
    request_size: int = 0  # 0: never sent
    answer: Record | None = None
    series: bool = False  # one answer packet an item, each with the total
    record: Record | None = None  # what the request's parameters are laid out as
    parameters: list[Leaf] = field(default_factory=list)

    @property
    def method_name(self) -> str:
        return self.name.removeprefix(_PREFIX)


@dataclass(frozen=True)
class Packet:
    value: EnumValue
    record: Record


def load_commands(source: Source) -> dict[str, Command]:
    """All commands in the order of their codes, still without their layouts."""
    commands = []
    codes, names = Scope("the command code"), Scope("the command")
    for table in source.tables("command"):
        table.allow(_KEYS + _MEMBER_KEYS, ("member",))
        for member in table.parts("member"):
            member.allow(_MEMBER_KEYS)
        code, name = table.take("code", int), table.take("name", str)
        codes.claim(code, table.at("code"))
        names.claim(name, table.at("name"))
        text = table.take("text", str, display_text(name))
        aliases = [_PREFIX + alias for alias in table.words("aliases") or []]
        commands.append(Command(code, name and _PREFIX + name, text, table.where, table, aliases,
                                series=table.take("series", bool, False)))
    return {command.name or str(command.code): command for command in sorted(commands, key=lambda each: each.code)}


def command_enum(commands: dict[str, Command], global_names: Scope) -> Enum:
    values = [EnumValue(command.code, name, None, command.table.at("name")) for command in commands.values()
              for name in [command.name, *command.aliases] if name]
    global_names.claim_name("VL_Command", values[0].where if values else Where("schema", 1))
    return Enum("VL_Command", "The commands of the server.", values)


def answer_layouts(commands: dict[str, Command]) -> list[Layout]:
    """The record of an answer is named like its command and begins like all answers."""
    layouts = []
    for command in commands.values():
        if rows := command.table.rows("answer", *FIELD_SHAPES):
            head = type(rows[0])([0, "packetInfo", BASIC_ANSWER], command.table.at("answer"))
            size = command.table.take("answer_size", int) if "answer_size" in command.table else None
            layouts.append(Layout(command.method_name + "RT", command.table.at("answer"), [head, *rows], size,
                                  command.table.at("answer_size")))
    return layouts


def resolve_commands(commands: dict[str, Command], records: Records) -> None:
    for command in commands.values():
        table = command.table
        if not table.take("sent", bool, True):
            for key in ("request", "answer", "series", "ids"):
                require(key not in table, table.at(key), f"{command.name} is never sent and has {key}")
            continue
        own = command.method_name + "RT" if "answer" in table else BASIC_ANSWER
        command.answer = records.get(own, table.at("answer"))
        require("answer" in table or not command.series, table.at("series"), "a series has an answer")
        for alias in command.aliases:
            if own in records.all and own != BASIC_ANSWER:
                records.add_alias(alias.removeprefix(_PREFIX) + "RT", own, table.at("aliases"))
        _add_request(command, records)


def _add_request(command: Command, records: Records) -> None:
    table = command.table
    if isinstance(table.get("request"), str):
        command.record = records.get(table.take("request", str), table.at("request"))
        command.parameters = [Leaf(leaf.public, leaf.type, leaf.offset + REQUEST_PREFIX, leaf.quantity, leaf.public)
                              for leaf in command.record.leaves]
    names = Scope(f"in the request of {command.method_name} the parameter")
    end = REQUEST_PREFIX
    for row in [] if command.record else table.rows("request", (int, str, str)):
        entry = Field.of(row)
        names.claim_name(entry.name, row.where)
        require(not records.is_record(entry.type), row.where, f"{entry.type} must be laid out value by value")
        records.size_of(entry.type, row.where)
        leaf = Leaf(entry.name, entry.type, entry.offset, entry.quantity, entry.name)
        require(leaf.kind in ("kInt32", "kBool32", "kDouble"), row.where,
                f"{entry.type} cannot be sent; there are: int32, bool32, double, {', '.join(QUANTITIES)}, enumerations")
        check_place(entry, end)
        end += leaf.size
        command.parameters.append(leaf)
    for leaf in command.parameters[-1:]:
        end = leaf.offset + leaf.size
    sized = "request_size" in table or (command.parameters and not command.record)
    stated = table.take("request_size", int) if sized else end
    require(stated == end, table.at("request_size"),
            f"the request of {command.method_name} is said to have {stated} bytes, but its parameters end at {end}")
    command.request_size = end


def load_packets(records: Records) -> list[Packet]:
    packets = [Packet(record.packet, record) for record in records.all.values() if record.packet]
    return sorted(packets, key=lambda packet: packet.value.value)
