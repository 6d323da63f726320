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


ENUMS, RECORDS, COMMANDS, REST = "enums.toml", "records.toml", "commands/tiny.toml", "interfaces.toml"

BAD_ROWS = [
    # Shape
    BadRow("broken TOML", ENUMS, '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt],', "Illegal character"),
    BadRow("a cell of a wrong type", ENUMS, '[6, "VL_DT_Tilt"],', '["6", "VL_DT_Tilt"],', "a row of values is [int"),
    BadRow("two rows in a line", ENUMS, '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt"], [7, "VL_DT_More"],',
           "every row must be one line", "values = ["),
    BadRow("a missing key", RECORDS, 'name = "SpeedT"\nsize = 12', 'name = "SpeedT"', "size is missing",
           '[[record]]\nname = "SpeedT"'),
    BadRow("a value of a wrong type", COMMANDS, "code = 2", 'code = "2"', "code must be of type int"),
    BadRow("an unknown key", RECORDS, "size = 12\n", "sizes = 12\n", "sizes is no key here; there are: name, doc,"),
    BadRow("an unknown table", RECORDS, '[[record]]\nname = "SpeedT"', '[[rekord]]\n[[record]]\nname = "SpeedT"',
           "rekord is no table; there are: command"),
    BadRow("an unknown table inside", COMMANDS, "[[command.member]]", "[[command.membre]]",
           "membre is no table here; there are: member"),
    BadRow("an unknown list", REST, "texts = [", "textes = []\ntexts = [", "textes is no key here; there are: "),
    # Names and numbers
    BadRow("an enumeration twice", ENUMS, 'name = "VL_ResultStatus"', 'name = "VL_DataType"',
           "the name VL_DataType stands already at tiny/enums.toml:1", '[[enum]]\nname = "VL_DataType"\ndoc'),
    BadRow("a value's name in two enumerations", ENUMS, "VL_RS_AlsoBusy", "VL_DT_Tilt",
           "the name VL_DT_Tilt stands already at tiny/enums.toml:6"),
    BadRow("a value beyond 32 bits", ENUMS, '[6, "VL_DT_Tilt"]', '[2147483648, "VL_DT_Tilt"]', "does not fit 32 bits"),
    BadRow("two texts of one status", ENUMS, '"VL_RS_AlsoBusy"]', '"VL_RS_AlsoBusy", "Busy"]',
           "the text of VL_ResultStatus value 5 stands already"),
    BadRow("a warning without its text", ENUMS, '"Odd", 515]', '"Odd", 516]', "there is no text row 516"),
    BadRow("a name that is none", RECORDS, '"lTime"', '"l Time"', "'l Time' is no identifier"),
    BadRow("a C++ keyword", COMMANDS, '"from"', '"double"', "is reserved in C++"),
    BadRow("a field twice", RECORDS, '"dVal"', '"lTime"', "in ElementT the field lTime stands already"),
    BadRow("a record twice", COMMANDS, 'name = "GetNames"', 'name = "GetSpeed"',
           "the command GetSpeed stands already at tiny/commands/tiny.toml:17"),
    BadRow("a command code twice", COMMANDS, "code = 4", "code = 2",
           "the command code 2 stands already at tiny/commands/tiny.toml:16"),
    BadRow("an identifier twice", REST, '  ["ILTConnect", ',
           '  ["IOther", "5d0192ee-9da4-4fa7-be51-a1c7cf432f4c"],\n  ["ILTConnect", ', "stands already",
           '["ILTConnect", '),
    BadRow("an identifier that is none", REST, "5d0192ee-", "5d0192e-", "is no identifier"),
    BadRow("a version of three numbers", REST, "[1, 2, 3, 4]", "[1, 2, 3]", "file has 4 numbers"),
    # Layout
    BadRow("a hole between fields", RECORDS, '[12, "bGood"', '[16, "bGood"',
           "bGood is at 16, but what is before it ends at 12"),
    BadRow("a wrong size", RECORDS, 'name = "SpeedT"\nsize = 12', 'name = "SpeedT"\nsize = 16',
           "SpeedT is said to have 16 bytes, but its fields take 12", "size = 16\nfields = [\n  [0, \"dSpeed\""),
    BadRow("an unknown type", RECORDS, '"lTime", "milliseconds"', '"lTime", "int16"',
           "int16 is no type; there are: int32, bool32, double,"),
    BadRow("a record that contains itself", RECORDS, '[0, "dSpeed", "double", "pace"]', '[0, "dSpeed", "SpeedT"]',
           "SpeedT is no record, or one that contains itself"),
    BadRow("a field behind the elements", RECORDS, '  [12, "data", "ElementT[]"],\n',
           '  [12, "data", "ElementT[]"],\n  [28, "lEnd", "int32"],\n', "lEnd follows the elements", '[28, "lEnd"'),
    BadRow("a packet of no data type", RECORDS, 'packet = "VL_DT_SingleMeasResult"', 'packet = "VL_DT_Blok"',
           "VL_DT_Blok is no data type; there are: VL_DT_Command, "),
    BadRow("two records of one packet", RECORDS, 'packet = "VL_DT_SingleMeasResult"', 'packet = "VL_DT_Command"',
           "the data type VL_DT_Command stands already at tiny/records.toml:12"),
    # Commands
    BadRow("a wrong request size", COMMANDS, "request_size = 24", "request_size = 28",
           "the request of Measure is said to have 28 bytes, but its parameters end at 24"),
    BadRow("a request without its size", COMMANDS, "request_size = 24\n", "", "request_size is missing",
           '[[command]]\ncode = 5'),
    BadRow("an answer without its size", COMMANDS, "answer_size = 84\n", "",
           "the size of GetNamesRT must be stated", "answer = [\n"),
    BadRow("a request that is no record", COMMANDS, 'request = "SpeedT"', 'request = "SpedT"', "SpedT is no record"),
    BadRow("an answer that is no record", COMMANDS, '"speed", "SpeedT"', '"speed", "SpedT"', "SpedT is no record"),
    BadRow("an answer to what is never sent", COMMANDS, "sent = false", 'sent = false\nids = { async = 4 }',
           "is never sent and has ids", "ids = { async = 4 }"),
    BadRow("a series without an answer", COMMANDS, 'mirror = "stationary time"', "series = true",
           "a series has an answer"),
    BadRow("a parameter that cannot be sent", COMMANDS, '"often", "count"', '"often", "text32"',
           "text32 cannot be sent; there are: int32,"),
    # Values and events
    BadRow("a value from no field", RECORDS, '"number", "bytesTotal', '"nummer", "bytesTotal',
           "BlockT has no value nummer; there are: number"),
    BadRow("another name for nothing", COMMANDS, "{ total = ", "{ totals = ",
           "totals is no value of NamesData; there are: name, total"),
    BadRow("an event identifier left out", REST, "async = 6", "async = 7",
           "the asynchronous event Failure has the identifier 7, but none has 6"),
    BadRow("an event identifier twice", COMMANDS, "event = 5, sync", "event = 3, sync",
           "the identifier of the asynchronous event 3 stands already at tiny/commands/tiny.toml:20"),
    BadRow("an event of two names", COMMANDS, ", second_event = 4 }", " }",
           "a second event has a name and an identifier",
           'second_event = "PaceData"'),
    BadRow("an answer that fires nothing", COMMANDS, "ex = 4, event = 3,", "ex = 4,",
           "nothing says what the answer to GetSpeed fires"),
    BadRow("a series that is no synchronous event", COMMANDS, ", sync_event = 2", "", "a series has a sync_event"),
    BadRow("an unknown test of the status", COMMANDS, '"each"', '"twice"',
           "twice is no test of the status; there are: once, none, each"),
    BadRow("an argument of no type", REST, "number: long", "number: short",
           "short is no type of a parameter or enumeration; there are: long,"),
    # Members
    BadRow("a member identifier twice", COMMANDS, "{ async = 2 }", "{ async = 3 }",
           "the identifier of the asynchronous member 3 stands already", "ids = { sync = 5"),
    BadRow("an identifier of an unknown kind", COMMANDS, "{ async = 2 }", "{ asinc = 2 }",
           "asinc is no kind of identifier; there are: sync, ex, async"),
    BadRow("an unknown wait class", COMMANDS, "measure time + find", "measure time + fond",
           "fond is no wait class; there are: none, standard, find"),
    BadRow("a time of nothing", REST, "10000, 30000", "0, 30000", "a time is a positive number"),
    BadRow("an unknown mode", COMMANDS, 'mode = "stationary point"', 'mode = "stationary"',
           "stationary is no mode; there are: continuous point, "),
    BadRow("an unknown speed", COMMANDS, 'speed = "stop"', 'speed = "fast"', "fast is no speed; there are: given,"),
    BadRow("a result from nowhere", COMMANDS, 'result = "BlockData"', 'result = "BlokData"',
           "BlokData is no event; there are: CommandCompletedData, "),
    BadRow("a result in no packet", COMMANDS, 'result = "BlockData"', 'result = "NamesData"',
           "NamesData is made from no result packet"),
    BadRow("a wait for no result", COMMANDS, 'result = "BlockData"\n', "", "waits_for_result, but there is no result",
           "waits_for_result"),
    BadRow("a record where there is none", COMMANDS, "{ sync = 5, async", "{ ex = 5, async",
           "neither request nor answer of GetNames is a record"),
    BadRow("outputs without a wait", COMMANDS, 'text = "Get the Speed"', 'wait = "none"',
           "GetSpeed waits for nothing and has outputs"),
    BadRow("a property without a value", REST, '"get", "", "value: long"', '"get", "", ""',
           "a property has one value"),
    BadRow("an error without its text", REST, '"One", 514]', '"One", 516]', "there is no text row 516"),
]
