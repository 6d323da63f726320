// The catalogue at run time: every type, value, command, operation and event as a row, generated from schema/. What
// is encoded, decoded, sent, waited for, fired and described is read from these rows instead of written per command.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

struct GUID;

namespace kestrine::protocol {

enum class ValueType : std::uint8_t {
  kInt32,   // a 32-bit signed integer; also every enumeration, which is then named
  kFlag,    // a 32-bit integer: sent as 0 or 1; received as the server has it
  kDouble,  // a 64-bit floating-point number
  kText,    // in a record `count` UTF-16 units, up to the first zero
  kBytes,   // in a record the first of as many bytes as the number before them says; handed out as an array
  kRecord,  // one that is named
  kObject,  // an object with interfaces; in no packet
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

struct TypeRow;

// A field of a record, a parameter of a request, an argument of an event, a parameter or an output of an operation.
struct Value {
  const char* name;
  const TypeRow* named;  // its enumeration or record, else null
  ValueType type;
  Quantity quantity;
  bool out;              // of a parameter: the caller says where the value is to go
  std::uint16_t offset;  // in its record, or in the packet that carries it
  std::uint16_t count;   // elements: units of a text, 1 for what is only the first of many; 0 for a single value
};

// No member has more parameters and no event more arguments: the room that a call keeps for them.
inline constexpr std::size_t kMostValues = 64;

// Where an argument of an event has no place in any packet.
inline constexpr std::uint16_t kInNoPacket = 0xFFFF;

struct CommandRow;

enum class MemberKind : std::uint8_t { kMethod, kGet, kPut };

// How long an operation waits for its answer.
struct WaitRow {
  const char16_t* key;     // in the settings, section SyncCommandTimeouts
  std::int32_t ordinary;   // milliseconds
  std::int32_t increased;  // when timeouts are increased; 0: never read again
};

// The measurement that an operation starts, which the measurement mode must fit.
enum class ModeCheck : std::uint8_t {
  kNone,
  kContinuousPoint,
  kContinuousProbe,
  kStationaryPoint,
  kStationaryProbe,
};

// The packet that brings an operation's outputs.
enum class Source : std::uint8_t { kAnswer, kMeasurement, kTiltra };

// What the connection remembers of the server, once an operation has set it there.
enum class Mirror : std::uint8_t { kNone, kMeasurementMode, kStationaryTime };

// How an operation drives the head by speed: at the speeds given, or at a step from those stored.
enum class Speed : std::uint8_t { kNone, kGiven, kLeft, kRight, kUp, kDown, kStop };

// A member of an interface or an event. The columns from `command` on are those of the command sets' operations, and
// how they depart from sending, waiting for the answer and handing out its values.
struct MemberRow {
  std::int32_t dispid;
  const char* name;
  MemberKind kind = MemberKind::kMethod;
  std::span<const Value> values = {};  // parameters in order, or arguments; of a property its value alone

  const CommandRow* command = nullptr;
  const WaitRow* wait = nullptr;
  bool adds_measure_time = false;  // to the time that the class waits
  bool sends_only = false;         // the items of the answer arrive as events
  ModeCheck mode_check = ModeCheck::kNone;
  Source source = Source::kAnswer;
  bool waits_for_result = false;   // the answer only acknowledges; the call is over with the measurement
  bool outputs_when_good = false;  // nothing is handed out under a bad status
  std::int32_t result_type = -1;   // the data type that the measurement must have, or -1 for any
  Mirror mirror = Mirror::kNone;   // of the first parameter
  Speed speed = Speed::kNone;
};

struct CommandRow {
  std::int32_t code;
  const char* name;
  const char16_t* text;                    // the display name
  std::uint16_t request_size = 0;          // 0: never sent
  std::span<const Value> parameters = {};  // single values; the first is at 12
  const TypeRow* answer = nullptr;         // null: none (codes that are no command)
  bool series = false;                     // one answer packet an item, each with the total

  // What the answer fires.
  const MemberRow* async_event = nullptr;   // null for an answer without data: CommandCompletedData or ErrorEvent
  const MemberRow* async_event2 = nullptr;  // a second event with the same arguments
  const MemberRow* sync_event = nullptr;    // of a series
  bool status_tested = true;
  bool status_tested_twice = false;  // once for either of two events
};

struct EnumValue {
  const char* name;
  std::int32_t value;
};

enum class TypeKind : std::uint8_t {
  kEnumeration,
  kRecord,
  kInterface,  // derived from IUnknown
  kDual,       // derived from IDispatch, its members can be called by number as well
  kEvents,
  kClass,
};

struct TypeRow {
  const char* name;
  TypeKind kind;
  const GUID* id = nullptr;                 // null for enumerations and records, which have none
  std::span<const EnumValue> values = {};   // in declared order; a value can have two names
  std::span<const Value> fields = {};       // in wire order; a record that follows as elements is the last
  std::span<const MemberRow> members = {};  // in the order of their identifiers, which begin with 1
  std::uint16_t size = 0;                   // of a record, with one element where elements follow
  const TypeRow* implements = nullptr;      // of a class: its interface
  const TypeRow* fires = nullptr;           // and its events, else null
};

// What lies in received packets of a data type.
struct PacketRow {
  std::int32_t type;
  const char* name;
  const TypeRow* record;  // the answer to a command is found by its code instead
};

struct TextRow {
  std::int32_t number;
  const char16_t* text;
};

// A status that accepts a parameter out of its range, and the row of the string table that says so.
struct WarningRow {
  std::int32_t status;
  std::int32_t text_row;
};

struct ConstantRow {
  std::int32_t constant;
  double value;
};

std::span<const TypeRow> types();        // enumerations, records, interfaces, events, classes
std::span<const CommandRow> commands();  // in code order, 50 included as no command
std::span<const PacketRow> packets();
std::span<const WaitRow> wait_classes();  // in the order of reading; those that are read again first
std::span<const TextRow> status_texts();  // these three in ascending order of their numbers
std::span<const TextRow> string_table();
std::span<const WarningRow> warnings();
std::span<const ConstantRow> constants();
// Members in the order of their identifiers, which begin with 1.
std::span<const MemberRow> sync_methods();
std::span<const MemberRow> async_methods();
std::span<const MemberRow> sync_events();
std::span<const MemberRow> async_events();

// Null for what has no row.
const TypeRow* find_type(std::string_view name);
const CommandRow* find_command(std::int32_t code);
const PacketRow* find_packet(std::int32_t type);
std::optional<double> find_constant(std::int32_t constant);

// Whether the records of this field follow the packet's own fields, as many as the packet says.
constexpr bool is_element(const Value& field) {
  return field.type == ValueType::kRecord && field.count != 0;
}

// A single value of a record, however deep in it.
struct Leaf : Value {  // the offset is that in the whole record
  std::string path;    // "packetInfo.status"
};

// All of a record in wire order, but for the elements that follow it.
std::vector<Leaf> leaves_of(const TypeRow& record);

}  // namespace kestrine::protocol
