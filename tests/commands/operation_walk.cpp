#include "operation_walk.h"

#include <algorithm>

namespace kestrine::test {

const std::vector<SyncOperation>& sync_operations() {
  static const auto all = operations_of<ILTCommandSync>(SyncMembers(), protocol::sync_methods());
  return all;
}

const std::vector<AsyncOperation>& async_operations() {
  static const auto all = operations_of<ILTCommandAsync>(AsyncMembers(), protocol::async_methods());
  return all;
}

std::string number(std::int32_t value) {
  return std::to_string(value);
}

std::string join(std::initializer_list<std::string_view> pieces) {
  std::string whole;
  for (const std::string_view piece : pieces) whole.append(piece);
  return whole;
}

// The parameters of a drive by speed are not the operation's own: the steps begin at rest after MoveHV.
Bytes expected_request(const protocol::MemberRow& row, const TypedCall& call) {
  const std::int32_t code = row.command->code;
  if (code != VL_C_MoveHV) return request(code, call.parameters);
  const std::string_view name = row.name;
  Bytes speeds(8);
  if (name == "MoveHV") {
    put_i32(speeds, 0, std::clamp(call.longs[0], -100, 100));
    put_i32(speeds, 4, std::clamp(call.longs[1], -100, 100));
  }
  if (name == "MoveLeft") put_i32(speeds, 0, -10);  // MoveRight comes back to rest
  if (name == "MoveUp") put_i32(speeds, 4, -10);
  return request(code, speeds);
}

// The values of an answer are the last fields of its record; a result's try mode comes first there and last here.
std::vector<std::string> expected_outputs(const SyncOperation& row, const TypedCall& call, const Bytes& bytes) {
  std::vector<std::string> all;
  std::size_t count = call.outputs.size();
  if (count == 0) return all;
  const auto fields = protocol::leaves_of(row.record());
  if (row.code() == VL_C_GetStillImage) return {tell(40), tell_bytes(std::span(bytes).subspan(24))};
  if (std::string_view(row.name).ends_with("Ex")) {
    return {tell_bytes(std::span(bytes).subspan(row.packet_type() == VL_DT_Command ? 16 : 0))};
  }
  std::string try_mode;
  for (const protocol::Leaf& field : fields) {
    if (field.path == "bIsTryMode") try_mode = tell_field(field, bytes);
  }
  if (!try_mode.empty()) --count;
  for (const protocol::Leaf& field : std::span(fields).last(count)) all.push_back(tell_field(field, bytes));
  if (!try_mode.empty()) all.push_back(try_mode);
  return all;
}

TypedCall Operations::call(const SyncOperation& row, std::int32_t measure_time) {
  const bool starts_continuous = std::string_view(row.name).starts_with("StartContinuous");
  connection->measurement().set_mode(starts_continuous ? VL_MM_ContinuousTime : VL_MM_Standard);
  connection->measurement().set_legacy_stationary(false);
  connection->measurement().acknowledge_start();
  connection->measurement().set_stationary_time(measure_time);
  SetErrorInfo(0, nullptr);
  heard();
  return row.call(*commands, random);
}

Bytes Operations::reply(const SyncOperation& row, std::int32_t status) {
  Bytes bytes = random_packet(row.record(), row.packet_type(), random);
  if (row.packet_type() == VL_DT_Command) put_i32(bytes, 8, row.code());
  put_i32(bytes, row.packet_type() == VL_DT_Command ? 12 : 8, status);
  if (row.code() != VL_C_GetStillImage) return bytes;
  bytes.resize(24 + 40);
  for (std::size_t i = 24; i < bytes.size(); ++i) bytes[i] = static_cast<std::uint8_t>(random());
  put_i32(bytes, 0, static_cast<std::int32_t>(bytes.size()));
  put_i32(bytes, 20, 40);
  return bytes;
}

Lines Operations::exceptions() {
  Lines lines;
  for (std::string& line : heard()) {
    if (line.find("ExceptionEvent") != std::string::npos) lines.push_back(std::move(line));
  }
  return lines;
}

std::vector<SyncOperation> Operations::chosen(bool (*is_meant)(const protocol::MemberRow&)) {
  std::vector<SyncOperation> some;
  std::ranges::copy_if(sync_operations(), std::back_inserter(some), is_meant);
  return some;
}

void Operations::expect_failure(const SyncOperation& row, HRESULT result, std::int32_t status,
                                const std::string& text) {
  EXPECT_EQ(told(result), join({"80004005 ", number(status), " Kestrine.LTConnect.1: ", text})) << row.name;
  EXPECT_EQ(exceptions(), Lines{join({"sync ExceptionEvent ", number(status), " '", text, "'"})}) << row.name;
}

}  // namespace kestrine::test
