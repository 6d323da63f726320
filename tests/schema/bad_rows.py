"""One mistake of each kind: the file, what is replaced in the tiny schema and by what, a piece of the message, and a
piece of the line that must be named where that is not the line of the replacement."""

ENUMS, RECORDS, COMMANDS, REST = "enums.toml", "records.toml", "commands/tiny.toml", "interfaces.toml"

BAD_ROWS = [
    # Shape
    (ENUMS, '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt],', "Illegal character"),
    (ENUMS, '[6, "VL_DT_Tilt"],', '["6", "VL_DT_Tilt"],', "a row of values is [int"),
    (ENUMS, '[6, "VL_DT_Tilt"],', '[6, "VL_DT_Tilt"], [7, "VL_DT_More"],', "every row must be one line", "values = ["),
    (RECORDS, 'T"\nsize = 12', 'T"', "size is missing", '[[record]]\nname = "SpeedT"'),
    (COMMANDS, "code = 2", 'code = "2"', "code must be of type int"),
    (RECORDS, "size = 12\n", "sizes = 12\n", "sizes is no key here; there are: name, doc,"),
    (RECORDS, '[[record]]\nname = "SpeedT"', '[[rekord]]\n[[record]]\nname = "SpeedT"',
     "rekord is no table here; there are: command"),
    (COMMANDS, "[[command.member]]", "[[command.membre]]", "membre is no table here; there are: member"),
    (REST, "texts = [", "textes = []\ntexts = [", "textes is no key here; there are: "),
    # Names and numbers
    (ENUMS, "VL_RS_AlsoBusy", "VL_DT_Tilt", "the name VL_DT_Tilt stands already at tiny/enums.toml:6"),
    (ENUMS, '"VL_RS_AlsoBusy"]', '"VL_RS_AlsoBusy", "Busy"]', "the text of VL_ResultStatus value 5 stands already"),
    (RECORDS, '"dVal"', '"lTime"', "in ElementT the field lTime stands already"),
    (COMMANDS, "code = 4", "code = 2", "the command code 2 stands already at tiny/commands/tiny.toml:16"),
    (REST, "5d0192ee-9da4-4fa7-be51-a1c7cf432f4c", "beb42795-3c2d-4bc4-8ee8-f45a6095db21", "stands already"),
    (COMMANDS, "event = 5, sync", "event = 3, sync", "the identifier of the asynchronous event 3 stands already"),
    (ENUMS, '[6, "VL_DT_Tilt"]', '[2147483648, "VL_DT_Tilt"]', "does not fit 32 bits"),
    (ENUMS, '"Odd", 515]', '"Odd", 516]', "there is no text row 516"),
    (REST, '"One", 514]', '"One", 516]', "there is no text row 516"),
    (RECORDS, '"lTime"', '"l Time"', "'l Time' is no identifier"),
    (COMMANDS, '"from"', '"double"', "is reserved in C++"),
    (REST, "5d0192ee-", "5d0192e-", "is no identifier"),
    (REST, "[1, 2, 3, 4]", "[1, 2, 3]", "file has 4 numbers"),
    (REST, "10000, 30000", "0, 30000", "a time is a positive number"),
    # Layout
    (RECORDS, '[12, "bGood"', '[16, "bGood"', "bGood is at 16, but what is before it ends at 12"),
    (RECORDS, "size = 12", "size = 16", "SpeedT is said to have 16 bytes, but its fields take 12"),
    (RECORDS, '"lTime", "milliseconds"', '"lTime", "int16"', "int16 is no type; there are: int32, bool32, double,"),
    (RECORDS, '"double", "pace"]', '"SpeedT"]', "SpeedT is no record, or one that contains itself"),
    (RECORDS, '"ElementT[]"],', '"ElementT[]"],\n  [28, "lEnd", "int32"],', "lEnd follows the elements", '[28, "lEnd"'),
    (RECORDS, '"VL_DT_SingleMeasResult"', '"VL_DT_Blok"', "VL_DT_Blok is no data type; there are: VL_DT_Command, "),
    (RECORDS, '"VL_DT_SingleMeasResult"', '"VL_DT_Command"', "the data type VL_DT_Command stands already at"),
    # Commands
    (COMMANDS, "request_size = 24", "request_size = 28", "said to have 28 bytes, but its parameters end at 24"),
    (COMMANDS, "request_size = 24\n", "", "request_size is missing", "[[command]]\ncode = 5"),
    (COMMANDS, "answer_size = 84\n", "", "the size of GetNamesRT must be stated", "answer = [\n"),
    (COMMANDS, "sent = false", "sent = false\nids = { async = 4 }", "is never sent and has ids", "ids = { async = 4 }"),
    (COMMANDS, 'mirror = "stationary time"', "series = true", "a series has an answer"),
    (COMMANDS, '"often", "count"', '"often", "text32"', "text32 cannot be sent; there are: int32,"),
    # Values and events
    (RECORDS, '"number", "bytesTotal', '"nummer", "bytesTotal', "BlockT has no value nummer; there are: number"),
    (COMMANDS, "{ total = ", "{ totals = ", "totals is no value of NamesData; there are: name, total"),
    (REST, "async = 6", "async = 7", "the asynchronous event Failure has the identifier 7, but none has 6"),
    (COMMANDS, ", second_event = 4 }", " }", "a second event has a name and an identifier", "second_event ="),
    (COMMANDS, "ex = 4, event = 3,", "ex = 4,", "nothing says what the answer to GetSpeed fires"),
    (COMMANDS, ", sync_event = 2", "", "a series has a sync_event"),
    (REST, "number: long", "number: short", "short is no type of a parameter or enumeration; there are: long,"),
    # Members
    (COMMANDS, "{ async = 2 }", "{ asinc = 2 }", "asinc is no kind of identifier; there are: sync, ex, async"),
    (COMMANDS, "measure time + find", "measure time + fond", "fond is no wait class; there are: none, standard, find"),
    (COMMANDS, 'speed = "stop"', 'speed = "fast"', "fast is no speed; there are: given,"),
    (COMMANDS, 'result = "BlockData"', 'result = "BlokData"', "BlokData is no event; there are: CommandCompleted"),
    (COMMANDS, 'result = "BlockData"', 'result = "NamesData"', "NamesData is made from no result packet"),
    (COMMANDS, 'result = "BlockData"\n', "", "waits_for_result, but there is no result", "waits_for_result"),
    (COMMANDS, "{ sync = 5, async", "{ ex = 5, async", "neither request nor answer of GetNames is a record"),
    (COMMANDS, 'text = "Get the Speed"', 'wait = "none"', "GetSpeed waits for nothing and has outputs"),
    (REST, '"get", "", "value: long"', '"get", "", ""', "a property has one value"),
]
