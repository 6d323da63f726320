"""One mistake of each kind: the file, what is replaced in it and by what, a piece of the message, and a piece of the
line that must be named where that is not the line of the replacement."""

ENUMS, RECORDS, COMMON, POINTS = "enums_packets.toml", "records.toml", "packets_common.toml", "packets_points.toml"
TEXTS, WAITS, LIBRARY, CONNECTION = "texts.toml", "waits.toml", "library.toml", "connection.toml"
TARGETS, MEASURING, SYSTEM = "commands/targets.toml", "commands/measuring.toml", "commands/system.toml"
MOVING, PROBES, DEVICES = "commands/moving.toml", "commands/probes.toml", "commands/devices.toml"

BAD_ROWS = [
    # Shape
    (ENUMS, '"VL_DT_TiltraResult"]', '"VL_DT_TiltraResult]', "Illegal character"),
    (ENUMS, '[6, "VL_DT', '["6", "VL_DT', "a row of values is [int"),
    (ENUMS, '[6, "VL_DT', '[12, "VL_DT_More"], [6, "VL_DT', "every row must be one line", "values = ["),
    (RECORDS, 'T"\nsize = 12', 'T"', "size is missing", '[[record]]\nname = "SearchParamsDataT"'),
    (TARGETS, "code = 42", 'code = "42"', "code must be of type int"),
    (RECORDS, "size = 12\n", "sizes = 12\n", "sizes is no key here; there are: name, doc,"),
    (RECORDS, '[[record]]\nname = "AdmParamsDataT"', '[[rekord]]\n[[record]]\nname = "AdmParamsDataT"',
     "rekord is no table here; there are: command"),
    # Names and numbers
    (ENUMS, "VL_RS_ServerBusy", "VL_DT_Error", "the name VL_DT_Error stands already at schema/enums_packets.toml:11"),
    (ENUMS, '[2, "VL_RS_N', '[1, "VL_RS_N', "the text of VL_ResultStatus value 1 stands already"),
    (RECORDS, '"lTimeOut"', '"dSearchRadius"', "in SearchParamsDataT the field dSearchRadius stands already"),
    (TARGETS, "event = 2, sync", "event = 16, sync", "the identifier of the asynchronous event 16 stands already"),
    (ENUMS, '[6, "VL_DT', '[2147483648, "VL_DT', "does not fit 32 bits"),
    (ENUMS, 'Range OK", 517]', 'Range OK", 516]', "there is no text row 516"),
    (TEXTS, '[1, "Wait', '[34, "Wait', "there is no status 34"),
    (TEXTS, '["GetConstant"]', '["GetConst"]', "GetConst is no member of the connection"),
    (TARGETS, '"approxDist"', '"double"', "is reserved in C++"),
    (WAITS, "10000, 30000", "0, 30000", "a time is a positive number"),
    # Layout
    (RECORDS, '[8, "lTimeOut"', '[12, "lTimeOut"', "lTimeOut is at 12, but what is before it ends at 8"),
    (RECORDS, "size = 12", "size = 16", "SearchParamsDataT is said to have 16 bytes, but its fields take 12"),
    (RECORDS, '"dSearchRadius", "length"', '"dSearchRadius", "SearchParamsDataT"',
     "SearchParamsDataT is no record, or one that contains itself"),
    (POINTS, '"MeasValueT[]"],', '"MeasValueT[]"],\n  [84, "lEnd", "int32"],', "lEnd follows the elements",
     '[84, "lEnd"'),
    (POINTS, '"VL_DT_SingleMeasResult"', '"VL_DT_Blok"', "VL_DT_Blok is no data type; there are: VL_DT_Command, "),
    (POINTS, '"VL_DT_SingleMeasResult"', '"VL_DT_Command"', "the data type VL_DT_Command stands already at"),
    # Commands
    (TARGETS, "request_size = 44", "request_size = 48", "said to have 48 bytes, but its parameters end at 44"),
    (TARGETS, "request_size = 44\n", "", "request_size is missing", "[[command]]\ncode = 65"),
    (SYSTEM, "sent = false", "sent = false\nids = { async = 4 }", "is never sent and has ids", "ids = { async = 4 }"),
    (TARGETS, '"approxDist", "length"', '"approxDist", "text32"', "text32 cannot be sent; there are: int32,"),
    # Values and events
    (DEVICES, "event = 96", "event = 97", "the asynchronous event KorvInfoData has the identifier 97, but none has 96"),
    (SYSTEM, ", second_event = 76 }", " }", "a second event has a name and an identifier", "second_event ="),
    (TARGETS, ", event = 13", "", "nothing says what the answer to GetSearchParams fires"),
    (TARGETS, ", sync_event = 2", "", "a series has a sync_event"),
    (COMMON, "errorNumber: long", "errorNumber: short", "short is no type of a parameter or enumeration; there are: "),
    # Members
    (TARGETS, "sync = 36, async", "sync = 36, asinc", "asinc is no kind of identifier; there are: sync, ex, async"),
    (MEASURING, "measure time + standard", "measure time + late", "late is no wait class; there are: none, standard, "),
    (MEASURING, '= "StationaryPoint2MeasData"', '= "PointData"', "PointData is no event; there are: "),
    (MEASURING, 'result = "StationaryPointMeasData"\n', "", "waits_for_result, but there is no", "waits_for_result"),
    (TARGETS, "{ sync = 36, async", "{ ex = 36, async", "neither request nor answer of GetReflector is a record"),
    (TARGETS, 'text = "Get ADM Params"', 'wait = "none"', "GetAdmParams waits for nothing and has outputs"),
    (CONNECTION, '"get", "", "value: long"', '"get", "", ""', "a property has one value"),
]
