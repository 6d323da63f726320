// The shape of the generated tables: what the encoder, the decoder, the engine and the simulator walk instead
// of code written per command. The rows come from schema/.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace kestrine::protocol {

enum class FieldType : std::uint8_t {
  kInt32,   // a 32-bit signed integer; also every enumeration
  kDouble,  // a 64-bit floating-point number
  kBool32,  // a 32-bit integer that the sender writes as 0 or 1
  kText,    // `units` UTF-16 units
  kByte,    // one byte, the first of many
};

// What a number measures. Lengths, angles, temperatures and pressures travel in the units that are set.
enum class Quantity : std::uint8_t {
  kNone,  // a pure number, or none
  kLength,
  kSquaredLength,
  kAngle,
  kSquaredAngle,
  kPosition,    // one of three neighbours that together are a point in the coordinate system set
  kDeviation,   // of a coordinate, in its unit
  kCovariance,  // of two coordinates, in the product of their units
  kTemperature,
  kPressure,
  kHumidity,  // relative, in percent
  kCount,
  kHours,
  kMinutes,
  kSeconds,
  kMilliseconds,
  kMicroseconds,
};

// One leaf of a record or one parameter of a request. Nested records are laid out flat: "packetInfo.status".
struct Field {
  const char* name;       // the whole path, dots between
  const char* type_name;  // as the schema has it: "int32", "double", "VL_MeasMode" …
  FieldType type;
  std::uint16_t offset;  // from the start of the record, or of the packet for request parameters
  std::uint16_t units;   // texts only, else 0
  Quantity quantity;
};

struct RecordRow {
  const char* name;
  std::uint16_t size;             // with one element, where elements follow
  std::span<const Field> fields;  // in wire order; for records with elements: the header part only
  std::uint16_t header_size;      // where the elements begin; `size` for a record without elements
  const RecordRow* element;       // null for a record without elements
};

struct CommandRow {
  std::int32_t code;
  const char* name;
  const char16_t* text;               // the display name
  std::uint16_t request_size;         // 0: never sent
  std::span<const Field> parameters;  // offsets from the start of the packet; the first is at 12
  const RecordRow* answer;            // null: none (codes that are no command)
  bool series;                        // one answer packet an item, each with the total
};

struct EnumValue {
  const char* name;
  std::int32_t value;
};

struct EnumRow {
  const char* name;
  std::span<const EnumValue> values;  // in declared order; a value can have two names
};

// Where a received packet of a data type lies, and how it is laid out.
struct PacketRow {
  std::int32_t type;
  const char* name;
  const RecordRow* record;  // the answer to a command is told by its code instead
};

std::span<const CommandRow> commands();             // in code order, 50 included as no command
const CommandRow* find_command(std::int32_t code);  // null for a code without a row
std::span<const RecordRow* const> records();
const RecordRow* find_record(std::string_view name);
std::span<const EnumRow> enumerations();
const EnumRow* find_enumeration(std::string_view name);
std::span<const PacketRow> packets();
const PacketRow* find_packet(std::int32_t type);

}  // namespace kestrine::protocol
