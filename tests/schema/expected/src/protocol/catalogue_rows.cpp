// The catalogue as rows.
#include "protocol/catalogue.h"

#include <numbers>

#include "kestrine/interfaces.h"

namespace kestrine::protocol {

namespace {

extern const TypeRow kTypes[26];

constexpr Value kSyncEvent_NamesData[] = {
    {"name", nullptr, ValueType::kText, false, 20, 32},
    {"namesTotal", nullptr, ValueType::kInt32, false, 16, 0},
};

constexpr MemberRow kSyncEvents[] = {
    {.dispid = 1, .name = "NamesData", .values = kSyncEvent_NamesData},
};

constexpr Value kAsyncEvent_Completed[] = {
    {"command", &kTypes[2], ValueType::kInt32, false, 8, 0},
};

constexpr Value kAsyncEvent_SpeedData[] = {
    {"speed", nullptr, ValueType::kDouble, false, 16, 0},
    {"fast", nullptr, ValueType::kFlag, false, 24, 0},
};

constexpr Value kAsyncEvent_NamesData[] = {
    {"name", nullptr, ValueType::kText, false, 20, 32},
    {"total", nullptr, ValueType::kInt32, false, 16, 0},
};

constexpr Value kAsyncEvent_OldNamesData[] = {
    {"name", nullptr, ValueType::kText, false, 20, 32},
    {"total", nullptr, ValueType::kInt32, false, 16, 0},
};

constexpr Value kAsyncEvent_Failure[] = {
    {"number", nullptr, ValueType::kInt32, false, kInNoPacket, 0},
};

constexpr MemberRow kAsyncEvents[] = {
    {.dispid = 1, .name = "Completed", .values = kAsyncEvent_Completed},
    {.dispid = 2, .name = "SpeedData", .values = kAsyncEvent_SpeedData},
    {.dispid = 3, .name = "NamesData", .values = kAsyncEvent_NamesData},
    {.dispid = 4, .name = "OldNamesData", .values = kAsyncEvent_OldNamesData},
    {.dispid = 5, .name = "Failure", .values = kAsyncEvent_Failure},
};

constexpr Value kParameters_VL_C_SetSpeed[] = {
    {"speed", nullptr, ValueType::kDouble, false, 12, 0},
    {"fast", nullptr, ValueType::kFlag, false, 20, 0},
};

constexpr CommandRow kCommands[] = {
    {.code = 1, .name = "VL_C_SetSpeed", .text = u"Set Speed", .request_size = 24, .parameters = kParameters_VL_C_SetSpeed, .answer = &kTypes[6]},
    {.code = 2, .name = "VL_C_GetSpeed", .text = u"Get Speed", .request_size = 12, .answer = &kTypes[8], .async_event = &kAsyncEvents[1]},
    {.code = 3, .name = "", .text = u"Nothing"},
    {.code = 4, .name = "VL_C_GetNames", .text = u"Get Names", .request_size = 12, .answer = &kTypes[9], .series = true, .async_event = &kAsyncEvents[2], .async_event2 = &kAsyncEvents[3], .sync_event = &kSyncEvents[0], .status_tested_twice = true},
};

constexpr Value kSyncMethod_SetSpeed[] = {
    {"speed", nullptr, ValueType::kDouble, false, 12, 0},
    {"fast", nullptr, ValueType::kFlag, false, 20, 0},
};

constexpr Value kSyncMethod_SetSpeedEx[] = {
    {"data", &kTypes[7], ValueType::kRecord, false, 12, 0},
};

constexpr Value kSyncMethod_GetSpeed[] = {
    {"speed", nullptr, ValueType::kDouble, true, 16, 0},
    {"fast", nullptr, ValueType::kFlag, true, 24, 0},
};

constexpr Value kSyncMethod_GetSpeedEx[] = {
    {"data", &kTypes[7], ValueType::kRecord, true, 16, 0},
};

constexpr Value kSyncMethod_MeasureEx[] = {
    {"result", &kTypes[5], ValueType::kRecord, true, 0, 0},
};

constexpr Value kSyncMethod_put_UseSlowness[] = {
    {"on", nullptr, ValueType::kFlag, false, 0, 0},
};

constexpr MemberRow kSyncMethods[] = {
    {.dispid = 1, .name = "SetSpeed", .values = kSyncMethod_SetSpeed, .command = &kCommands[0], .wait = WaitClass::kStandard},
    {.dispid = 2, .name = "SetSpeedEx", .values = kSyncMethod_SetSpeedEx, .command = &kCommands[0], .wait = WaitClass::kFind, .adds_measure_time = true},
    {.dispid = 3, .name = "GetSpeed", .values = kSyncMethod_GetSpeed, .command = &kCommands[1], .wait = WaitClass::kStandard},
    {.dispid = 4, .name = "GetSpeedEx", .values = kSyncMethod_GetSpeedEx, .command = &kCommands[1], .wait = WaitClass::kAtrCompensation},
    {.dispid = 5, .name = "GetNames", .command = &kCommands[3], .sends_only = true},
    {.dispid = 6, .name = "MeasureEx", .values = kSyncMethod_MeasureEx, .command = &kCommands[1], .wait = WaitClass::kStandard, .mode_check = ModeCheck::kStationaryPoint, .source = Source::kMeasurement, .needs_result = true, .only_good_outputs = true, .result_type = 3},
    {.dispid = 7, .name = "UseSlowness", .kind = MemberKind::kPut, .values = kSyncMethod_put_UseSlowness},
};

constexpr Value kAsyncMethod_SetSpeed[] = {
    {"speed", nullptr, ValueType::kDouble, false, 12, 0},
    {"fast", nullptr, ValueType::kFlag, false, 20, 0},
};

constexpr MemberRow kAsyncMethods[] = {
    {.dispid = 1, .name = "SetSpeed", .values = kAsyncMethod_SetSpeed, .command = &kCommands[0]},
    {.dispid = 2, .name = "GoSlow", .command = &kCommands[0], .speeds = Speeds::kStop},
};

constexpr Value kConnectMember_get_Speed[] = {
    {"value", nullptr, ValueType::kInt32, true, 0, 0},
};

constexpr Value kConnectMember_Find[] = {
    {"file", nullptr, ValueType::kText, false, 0, 0},
    {"data", nullptr, ValueType::kBytes, false, 0, 0},
    {"name", nullptr, ValueType::kText, true, 20, 0},
    {"total", nullptr, ValueType::kInt32, true, 16, 0},
};

constexpr MemberRow kConnectMembers[] = {
    {.dispid = 1, .name = "Speed", .kind = MemberKind::kGet, .values = kConnectMember_get_Speed},
    {.dispid = 2, .name = "Find", .values = kConnectMember_Find},
};

constexpr PacketRow kPackets[] = {
    {0, "VL_DT_Command", &kTypes[6]},
    {3, "VL_DT_Block", &kTypes[5]},
};

constexpr TextRow kStatusTexts[] = {
    {0, u"All OK"},
    {5, u"Busy \"now\""},
};

constexpr TextRow kStringTable[] = {
    {514, u"One\n"},
    {515, u"Two"},
};

constexpr EnumValue kValues_VL_DataType[] = {
    {"VL_DT_Command", 0},
    {"VL_DT_Block", 3},
    {"VL_DT_Tilt", 6},
};

constexpr EnumValue kValues_VL_ResultStatus[] = {
    {"VL_RS_AllOK", 0},
    {"VL_RS_Busy", 5},
    {"VL_RS_AlsoBusy", 5},
};

constexpr EnumValue kValues_VL_Command[] = {
    {"VL_C_SetSpeed", 1},
    {"VL_C_GetSpeed", 2},
    {"VL_C_GetNames", 4},
    {"VL_C_ListNames", 4},
};

constexpr Value kFields_HeaderT[] = {
    {"lPacketSize", nullptr, ValueType::kInt32, false, 0, 0},
    {"type", &kTypes[0], ValueType::kInt32, false, 4, 0},
};

constexpr Value kFields_ElementT[] = {
    {"lTime", nullptr, ValueType::kInt32, false, 0, 0},
    {"dVal", nullptr, ValueType::kDouble, false, 4, 0},
    {"bGood", nullptr, ValueType::kFlag, false, 12, 0},
};

constexpr Value kFields_BlockT[] = {
    {"packetInfo", &kTypes[3], ValueType::kRecord, false, 0, 0},
    {"lNumber", nullptr, ValueType::kInt32, false, 8, 0},
    {"data", &kTypes[4], ValueType::kRecord, false, 12, 1},
};

constexpr Value kFields_BasicCommandRT[] = {
    {"packetHeader", &kTypes[3], ValueType::kRecord, false, 0, 0},
    {"command", &kTypes[2], ValueType::kInt32, false, 8, 0},
    {"status", &kTypes[1], ValueType::kInt32, false, 12, 0},
};

constexpr Value kFields_SpeedT[] = {
    {"dSpeed", nullptr, ValueType::kDouble, false, 0, 0},
    {"bFast", nullptr, ValueType::kFlag, false, 8, 0},
};

constexpr Value kFields_GetSpeedRT[] = {
    {"packetInfo", &kTypes[6], ValueType::kRecord, false, 0, 0},
    {"speed", &kTypes[7], ValueType::kRecord, false, 16, 0},
};

constexpr Value kFields_GetNamesRT[] = {
    {"packetInfo", &kTypes[6], ValueType::kRecord, false, 0, 0},
    {"iTotal", nullptr, ValueType::kInt32, false, 16, 0},
    {"cName", nullptr, ValueType::kText, false, 20, 32},
    {"cFirst", nullptr, ValueType::kBytes, false, 84, 1},
};

const TypeRow kTypes[] = {
    {.name = "VL_DataType", .kind = TypeKind::kEnumeration, .values = kValues_VL_DataType},
    {.name = "VL_ResultStatus", .kind = TypeKind::kEnumeration, .values = kValues_VL_ResultStatus},
    {.name = "VL_Command", .kind = TypeKind::kEnumeration, .values = kValues_VL_Command},
    {.name = "HeaderT", .kind = TypeKind::kRecord, .fields = kFields_HeaderT, .size = 8},
    {.name = "ElementT", .kind = TypeKind::kRecord, .fields = kFields_ElementT, .size = 16},
    {.name = "BlockT", .kind = TypeKind::kRecord, .fields = kFields_BlockT, .size = 28},
    {.name = "BasicCommandRT", .kind = TypeKind::kRecord, .fields = kFields_BasicCommandRT, .size = 16},
    {.name = "SpeedT", .kind = TypeKind::kRecord, .fields = kFields_SpeedT, .size = 12},
    {.name = "GetSpeedRT", .kind = TypeKind::kRecord, .fields = kFields_GetSpeedRT, .size = 28},
    {.name = "GetNamesRT", .kind = TypeKind::kRecord, .fields = kFields_GetNamesRT, .size = 88},
    {.name = "ILTConnect", .kind = TypeKind::kInterface, .id = &IID_ILTConnect, .members = kConnectMembers},
    {.name = "ILTConnect2", .kind = TypeKind::kDual, .id = &IID_ILTConnect2, .members = kConnectMembers},
    {.name = "ILTCommandSync", .kind = TypeKind::kInterface, .id = &IID_ILTCommandSync, .members = kSyncMethods},
    {.name = "ILTCommandSync2", .kind = TypeKind::kDual, .id = &IID_ILTCommandSync2, .members = kSyncMethods},
    {.name = "ILTCommandAsync", .kind = TypeKind::kInterface, .id = &IID_ILTCommandAsync, .members = kAsyncMethods},
    {.name = "ILTCommandAsync2", .kind = TypeKind::kDual, .id = &IID_ILTCommandAsync2, .members = kAsyncMethods},
    {.name = "_ILTCommandSyncEvents", .kind = TypeKind::kEvents, .id = &DIID__ILTCommandSyncEvents, .members = kSyncEvents},
    {.name = "_ILTCommandSync2Events", .kind = TypeKind::kEvents, .id = &DIID__ILTCommandSync2Events, .members = kSyncEvents},
    {.name = "_ILTCommandAsyncEvents", .kind = TypeKind::kEvents, .id = &DIID__ILTCommandAsyncEvents, .members = kAsyncEvents},
    {.name = "_ILTCommandAsync2Events", .kind = TypeKind::kEvents, .id = &DIID__ILTCommandAsync2Events, .members = kAsyncEvents},
    {.name = "LTConnect", .kind = TypeKind::kClass, .id = &CLSID_LTConnect, .implements = &kTypes[10]},
    {.name = "LTCommandSync", .kind = TypeKind::kClass, .id = &CLSID_LTCommandSync, .implements = &kTypes[12], .fires = &kTypes[16]},
    {.name = "LTCommandAsync", .kind = TypeKind::kClass, .id = &CLSID_LTCommandAsync, .implements = &kTypes[14], .fires = &kTypes[18]},
    {.name = "LTConnect2", .kind = TypeKind::kClass, .id = &CLSID_LTConnect2, .implements = &kTypes[11]},
    {.name = "LTCommandSync2", .kind = TypeKind::kClass, .id = &CLSID_LTCommandSync2, .implements = &kTypes[13], .fires = &kTypes[17]},
    {.name = "LTCommandAsync2", .kind = TypeKind::kClass, .id = &CLSID_LTCommandAsync2, .implements = &kTypes[15], .fires = &kTypes[19]},
};

}  // namespace

std::span<const TypeRow> types() { return kTypes; }
std::span<const CommandRow> commands() { return kCommands; }
std::span<const PacketRow> packets() { return kPackets; }
std::span<const TextRow> status_texts() { return kStatusTexts; }
std::span<const TextRow> string_table() { return kStringTable; }
std::span<const ConstantRow> constants() { return kConstants; }
std::span<const MemberRow> sync_methods() { return kSyncMethods; }
std::span<const MemberRow> async_methods() { return kAsyncMethods; }
std::span<const MemberRow> sync_events() { return kSyncEvents; }
std::span<const MemberRow> async_events() { return kAsyncEvents; }

}  // namespace kestrine::protocol
