"""One mistake each: the file, what is replaced in the tiny schema and by what, a piece of the message, and a piece of
the line that must be named where that is not the line of the replacement."""

from typing import NamedTuple


class BadRow(NamedTuple):
    mistake: str
    file: str
    old: str
    new: str
    message: str
    at: str = ""


BAD_ROWS = [
    # Shape
    BadRow("broken TOML", "enums.toml", '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt],', "Illegal character"),
    BadRow("a cell of a wrong type", "enums.toml", '[6, "VL_DT_Tilt"],', '["6", "VL_DT_Tilt"],',
           "a row of values is [int"),
    BadRow("two rows in a line", "enums.toml", '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt"], [7, "VL_DT_More"],',
           "every row must be one line", "[[enum]]"),
    BadRow("a missing key", "records.toml", 'size = 12\n', '', "size is missing", '[[record]]\nname = "SpeedT"'),
    BadRow("an unknown key", "records.toml", "size = 12\n", "size = 12\nsizes = 12\n", "sizes is not known",
           '[[record]]\nname = "SpeedT"'),
    BadRow("an unknown table", "records.toml", "[[alias]]", "[[alas]]\n[[alias]]", "[[alas]] is not known"),
    BadRow("an unknown list", "commands.toml", "packets = [", "pockets = []\npackets = [", "pockets is not known",
           "commands = ["),
    # Names and numbers
    BadRow("an enumeration twice", "enums.toml", 'name = "VL_ResultStatus"', 'name = "VL_DataType"',
           "the name VL_DataType stands already at enums.toml:1", "[[enum]]\nname = \"VL_DataType\"\ndoc"),
    BadRow("a value's name in two enumerations", "enums.toml", "VL_RS_AlsoBusy", "VL_DT_Tilt",
           "the name VL_DT_Tilt stands already at enums.toml:6"),
    BadRow("a value beyond 32 bits", "enums.toml", '[6, "VL_DT_Tilt"]', '[2147483648, "VL_DT_Tilt"]',
           "does not fit 32 bits"),
    BadRow("two texts of one status", "enums.toml", '"VL_RS_AlsoBusy"]', '"VL_RS_AlsoBusy", "Busy"]',
           "the text of VL_ResultStatus value 5 stands already"),
    BadRow("a name that is none", "records.toml", '"lTime"', '"l Time"', "'l Time' is no identifier"),
    BadRow("a C++ keyword", "commands.toml", '[12, "speed", "double"]', '[12, "double", "double"]',
           "is reserved in C++"),
    BadRow("a field twice", "records.toml", '"dVal"', '"lTime"', "in ElementT the field lTime stands already"),
    BadRow("a command code twice", "commands.toml", "[4, ", "[2, ", "the command code 2 stands already"),
    BadRow("an alias of nothing", "commands.toml", '"VL_C_ListNames", "VL_C_GetNames"', '"VL_C_ListNames", "VL_C_None"',
           "VL_C_None is no command"),
    BadRow("an identifier twice", "interfaces.toml", '  ["ILTConnect", ',
           '  ["IOther", "5d0192ee-9da4-4fa7-be51-a1c7cf432f4c"],\n  ["ILTConnect", ', "stands already",
           '["ILTConnect", '),
    BadRow("an identifier that is none", "interfaces.toml", "5d0192ee-", "5d0192e-", "is no identifier"),
    # Layout
    BadRow("a hole between fields", "records.toml", '[12, "bGood"', '[16, "bGood"',
           "bGood is at 16, but what is before it ends at 12"),
    BadRow("a wrong size", "records.toml", "size = 12\n", "size = 16\n",
           "SpeedT is said to have 16 bytes, but its fields take 12",
           '[[record]]\nname = "SpeedT"'),
    BadRow("an unknown type", "records.toml", '"lTime", "int32"', '"lTime", "int16"', "int16 is no type"),
    BadRow("a record that contains itself", "records.toml", '[0, "dSpeed", "double"]', '[0, "dSpeed", "SpeedT"]',
           "SpeedT is no record, or one that contains itself"),
    BadRow("a field behind the elements", "records.toml", '  [12, "data", "ElementT[]"],\n',
           '  [12, "data", "ElementT[]"],\n  [28, "lEnd", "int32"],\n', "lEnd follows the elements", '[28, "lEnd"'),
    # Commands
    BadRow("a wrong request size", "commands.toml", '"Set Speed", 24,', '"Set Speed", 28,',
           "VL_C_SetSpeed is said to have 28 bytes, but its parameters end at 24"),
    BadRow("an answer that is no record", "commands.toml", '12, "GetSpeedRT"', '12, "GetSpedRT"',
           "GetSpedRT is no record"),
    BadRow("a command without an answer", "commands.toml", '"Get Speed", 12, "GetSpeedRT"', '"Get Speed", 12, ""',
           "what is sent has an answer"),
    BadRow("parameters that are not the record's", "commands.toml", '[20, "fast", "bool32"]', '[20, "fast", "int32"]',
           "the parameters of VL_C_SetSpeed are not those of SpeedT", "[[request]]"),
    BadRow("a packet of no data type", "commands.toml", '["VL_DT_Block"', '["VL_DT_Blok"',
           "VL_DT_Blok is no data type"),
    BadRow("a parameter that cannot be sent", "commands.toml", '[20, "fast", "bool32"]', '[20, "fast", "text32"]',
           "text32 cannot be sent"),
    # Values and events
    BadRow("a value from no field", "interfaces.toml", '"speed.dSpeed"', '"speed.lSpeed"',
           "GetSpeedRT has no field speed.lSpeed"),
    BadRow("a value of a type that does not fit", "interfaces.toml", '["speed", "double", "speed.dSpeed"]',
           '["speed", "long", "speed.dSpeed"]', "speed.dSpeed is of type double and cannot be handed out as long"),
    BadRow("a list that nothing refers to", "interfaces.toml", '  [5, "Failure"],\n', "",
           "nothing refers to the list Failure",
           '[[values]]\nname = "Failure"'),
    BadRow("an event identifier out of order", "interfaces.toml", '[5, "Failure"]', '[6, "Failure"]',
           "the identifier of Failure must be 5"),
    BadRow("an event without values", "interfaces.toml", '[1, "Completed"]', '[1, "Complete"]',
           "there is no list of values Complete"),
    BadRow("a rename of nothing", "interfaces.toml", '"NamesData", "total", ', '"NamesData", "totals", ',
           "NamesData has no parameter totals"),
    BadRow("an answer that fires nothing", "interfaces.toml", '  ["VL_C_GetSpeed", "SpeedData", "", "tested"],\n', "",
           "nothing says what the answer to VL_C_GetSpeed fires", '"VL_C_GetSpeed", "Get Speed"'),
    BadRow("an event made from another answer", "interfaces.toml", '"VL_C_GetSpeed", "SpeedData", ',
           '"VL_C_GetSpeed", "NamesData", ',
           "NamesData is not made from the answer to VL_C_GetSpeed"),
    # Interfaces
    BadRow("a method identifier out of order", "interfaces.toml", '[3, "GetSpeed"', '[2, "GetSpeed"',
           "the identifier of GetSpeed must be 3"),
    BadRow("a property that sends", "interfaces.toml", '"UseSlowness", ""', '"UseSlowness", "VL_C_GetSpeed"',
           "'VL_C_GetSpeed' is no command that property can send"),
    BadRow("a measurement without outputs", "interfaces.toml", '"", "result: BlockT"', '"", ""',
           "stationary-point has outputs"),
    BadRow("an unknown wait class", "interfaces.toml", '"measure time + find"', '"measure time + fond"',
           "fond is no wait class"),
    BadRow("an unknown family", "interfaces.toml", '"", "", "send-only"', '"", "", "send"', "send is no family"),
    BadRow("a sender of no command", "interfaces.toml", '[1, "SetSpeed"],', '[1, "PutSpeed"],',
           "there is no command VL_C_PutSpeed"),
    BadRow("a sending operation that waits", "interfaces.toml", '"none", "", "", "send-only"', '"find", "", "", "send-only"',
           "send-only cannot wait for find"),
    BadRow("parameters that come from nowhere", "interfaces.toml", '"standard", "request", ""', '"standard", "", ""',
           "nothing says where the parameters of VL_C_SetSpeed come from"),
    BadRow("another record than the request's", "interfaces.toml", '"data: SpeedT", ""', '"data: ElementT", ""',
           "ElementT is not the record of the request"),
    BadRow("outputs of another answer", "interfaces.toml", '"standard", "", "SpeedData"', '"standard", "", "NamesData"',
           "the outputs are not read from GetSpeedRT"),
    BadRow("a note on no method", "interfaces.toml", '["SetSpeed", "Faster', '["SetSped", "Faster',
           "there is no method SetSped"),
    BadRow("a property without a value", "interfaces.toml", '"get", "", "value: long"', '"get", "", ""',
           "a property has one value"),
    BadRow("an error without its text", "interfaces.toml", '"One", 514]', '"One", 516]', "there is no text row 516"),
]
