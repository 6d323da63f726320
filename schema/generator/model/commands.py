"""Commands with their requests, and what lies in packets of each data type."""

from dataclasses import dataclass, field

from ..errors import Where, require
from ..source import Source, Table
from .enums import Enum, EnumValue
from .names import Scope
from .records import Leaf, Record, Records

REQUEST_PREFIX = 12  # packet size, data type, command


@dataclass
class Command:
    code: int
    name: str  # empty: the code is no command
    text: str
    request_size: int  # 0: never sent
    answer: Record | None
    series: bool
    where: Where
    aliases: list[str] = field(default_factory=list)
    record: Record | None = None
    parameters: list[Leaf] = field(default_factory=list)

    @property
    def method_name(self) -> str:
        return self.name.removeprefix("VL_C_")


@dataclass(frozen=True)
class Packet:
    value: EnumValue
    record: Record


_SHAPES = ((int, str, str, int, str), (int, str, str, int, str, str))


def load_command_names(source: Source, global_names: Scope) -> Enum:
    """The enumeration of the commands, which records and parameters refer to before the commands are complete."""
    rows = source.rows("commands", *_SHAPES)
    aliases = source.rows("aliases", (str, str))
    values = []
    for row in rows:
        if not row[1]:
            continue
        values.append(EnumValue(row[0], row[1], None, row.where))
        values += [EnumValue(row[0], alias[0], None, alias.where) for alias in aliases if alias[1] == row[1]]
    names = {value.name for value in values}
    for alias in aliases:
        require(alias[1] in names, alias.where, f"{alias[1]} is no command")
    where = rows[0].where if rows else Where("commands.toml", 1)
    global_names.claim_name("VL_Command", where)
    return Enum("VL_Command", "The commands of the server.", values)


def load_commands(source: Source, records: Records) -> dict[str, Command]:
    commands = {}
    codes = Scope("the command code")
    for row in source.rows("commands", *_SHAPES):
        codes.claim(row[0], row.where)
        require(row[5:] in ([], ["series"]), row.where, f"{row[-1]} is not known here")
        answer = records.get(row[4], row.where) if row[4] else None
        require((answer is None) == (row[3] == 0), row.where, "what is sent has an answer, and nothing else")
        command = Command(row[0], row[1], row[2], row[3], answer, len(row) > 5, row.where)
        commands[command.name or str(command.code)] = command
    for row in source.rows("aliases", (str, str)):
        commands[row[1]].aliases.append(row[0])
    asked = Scope("the request of")
    for table in source.tables("request"):
        name = table.take("command", str)
        require(name in commands, table.where, f"{name} is no command")
        asked.claim(name, table.where)
        _add_request(commands[name], table, records)
    for command in commands.values():
        end = command.parameters[-1].offset + command.parameters[-1].size if command.parameters else REQUEST_PREFIX
        if command.request_size:
            require(command.request_size == end, command.where,
                    f"{command.name} is said to have {command.request_size} bytes, but its parameters end at {end}")
        else:
            require(not command.parameters, command.where, f"{command.name} is never sent and has parameters")
    return commands


def _add_request(command: Command, table: Table, records: Records) -> None:
    table.allow("command", "record", "parameters")
    names = Scope(f"in {command.name} the parameter")
    end = REQUEST_PREFIX
    for row in table.rows("parameters", (int, str, str)):
        leaf = Leaf(row[1], row[2], row[0])
        names.claim_name(leaf.name, row.where)
        require(not records.is_record(leaf.type), row.where, f"{leaf.type} must be told value by value")
        records.size_of(leaf.type, row.where)
        require(leaf.kind in ("kInt32", "kBool32", "kDouble"), row.where, f"{leaf.type} cannot be sent")
        require(leaf.offset == end, row.where, f"{leaf.name} is at {leaf.offset}, but what is before it ends at {end}")
        end += leaf.size
        command.parameters.append(leaf)
    if "record" in table:
        command.record = records.get(table.take("record", str), table.where)
        told = [(leaf.type, leaf.offset) for leaf in command.parameters]
        held = [(leaf.type, leaf.offset + REQUEST_PREFIX) for leaf in command.record.leaves]
        require(told == held, table.where, f"the parameters of {command.name} are not those of {command.record.name}")


def load_packets(source: Source, enums: dict[str, Enum], records: Records) -> list[Packet]:
    packets = []
    seen = Scope("the data type")
    for row in source.rows("packets", (str, str)):
        seen.claim(row[0], row.where)
        value = next((value for value in enums["VL_DataType"].values if value.name == row[0]), None)
        require(value is not None, row.where, f"{row[0]} is no data type")
        packets.append(Packet(value, records.get(row[1], row.where)))
    return packets
