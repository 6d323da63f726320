// The tables of the protocol.
#include "protocol/tables.h"

namespace kestrine::protocol {

namespace {

constexpr Field kFields_HeaderT[] = {
    {"lPacketSize", "int32", FieldType::kInt32, 0, 0},
    {"type", "VL_DataType", FieldType::kInt32, 4, 0},
};

constexpr Field kFields_ElementT[] = {
    {"lTime", "int32", FieldType::kInt32, 0, 0},
    {"dVal", "double", FieldType::kDouble, 4, 0},
    {"bGood", "bool32", FieldType::kBool32, 12, 0},
};

constexpr Field kFields_BlockT[] = {
    {"packetInfo.lPacketSize", "int32", FieldType::kInt32, 0, 0},
    {"packetInfo.type", "VL_DataType", FieldType::kInt32, 4, 0},
    {"lNumber", "int32", FieldType::kInt32, 8, 0},
};

constexpr Field kFields_BasicCommandRT[] = {
    {"packetHeader.lPacketSize", "int32", FieldType::kInt32, 0, 0},
    {"packetHeader.type", "VL_DataType", FieldType::kInt32, 4, 0},
    {"command", "VL_Command", FieldType::kInt32, 8, 0},
    {"status", "VL_ResultStatus", FieldType::kInt32, 12, 0},
};

constexpr Field kFields_SpeedT[] = {
    {"dSpeed", "double", FieldType::kDouble, 0, 0},
    {"bFast", "bool32", FieldType::kBool32, 8, 0},
};

constexpr Field kFields_GetSpeedRT[] = {
    {"packetInfo.packetHeader.lPacketSize", "int32", FieldType::kInt32, 0, 0},
    {"packetInfo.packetHeader.type", "VL_DataType", FieldType::kInt32, 4, 0},
    {"packetInfo.command", "VL_Command", FieldType::kInt32, 8, 0},
    {"packetInfo.status", "VL_ResultStatus", FieldType::kInt32, 12, 0},
    {"speed.dSpeed", "double", FieldType::kDouble, 16, 0},
    {"speed.bFast", "bool32", FieldType::kBool32, 24, 0},
};

constexpr Field kFields_GetNamesRT[] = {
    {"packetInfo.packetHeader.lPacketSize", "int32", FieldType::kInt32, 0, 0},
    {"packetInfo.packetHeader.type", "VL_DataType", FieldType::kInt32, 4, 0},
    {"packetInfo.command", "VL_Command", FieldType::kInt32, 8, 0},
    {"packetInfo.status", "VL_ResultStatus", FieldType::kInt32, 12, 0},
    {"iTotal", "int32", FieldType::kInt32, 16, 0},
    {"cName", "text32", FieldType::kText, 20, 32},
    {"cFirst", "byte", FieldType::kByte, 84, 0},
};

constexpr RecordRow kRecord_HeaderT{"HeaderT", 8, kFields_HeaderT, 8, nullptr};

constexpr RecordRow kRecord_ElementT{"ElementT", 16, kFields_ElementT, 16, nullptr};

constexpr RecordRow kRecord_BlockT{"BlockT", 28, kFields_BlockT, 12, &kRecord_ElementT};

constexpr RecordRow kRecord_BasicCommandRT{"BasicCommandRT", 16, kFields_BasicCommandRT, 16, nullptr};

constexpr RecordRow kRecord_SpeedT{"SpeedT", 12, kFields_SpeedT, 12, nullptr};

constexpr RecordRow kRecord_GetSpeedRT{"GetSpeedRT", 28, kFields_GetSpeedRT, 28, nullptr};

constexpr RecordRow kRecord_GetNamesRT{"GetNamesRT", 88, kFields_GetNamesRT, 88, nullptr};

constexpr RecordRow kRecord_GetOldNamesRT{"GetOldNamesRT", 88, kFields_GetNamesRT, 88, nullptr};

constexpr Field kParameters_VL_C_SetSpeed[] = {
    {"speed", "double", FieldType::kDouble, 12, 0},
    {"fast", "bool32", FieldType::kBool32, 20, 0},
};

constexpr const RecordRow* kRecords[] = {
    &kRecord_HeaderT,
    &kRecord_ElementT,
    &kRecord_BlockT,
    &kRecord_BasicCommandRT,
    &kRecord_SpeedT,
    &kRecord_GetSpeedRT,
    &kRecord_GetNamesRT,
    &kRecord_GetOldNamesRT,
};

constexpr CommandRow kCommands[] = {
    {1, "VL_C_SetSpeed", u"Set Speed", 24, kParameters_VL_C_SetSpeed, &kRecord_BasicCommandRT, false},
    {2, "VL_C_GetSpeed", u"Get Speed", 12, {}, &kRecord_GetSpeedRT, false},
    {3, "", u"Nothing", 0, {}, nullptr, false},
    {4, "VL_C_GetNames", u"Get Names", 12, {}, &kRecord_GetNamesRT, true},
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

constexpr EnumRow kEnumerations[] = {
    {"VL_DataType", kValues_VL_DataType},
    {"VL_ResultStatus", kValues_VL_ResultStatus},
    {"VL_Command", kValues_VL_Command},
};

constexpr PacketRow kPackets[] = {
    {0, "VL_DT_Command", &kRecord_BasicCommandRT},
    {3, "VL_DT_Block", &kRecord_BlockT},
};

}  // namespace

std::span<const RecordRow* const> records() { return kRecords; }

std::span<const CommandRow> commands() { return kCommands; }

std::span<const EnumRow> enumerations() { return kEnumerations; }

std::span<const PacketRow> packets() { return kPackets; }

}  // namespace kestrine::protocol
