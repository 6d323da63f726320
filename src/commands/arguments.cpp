#include "commands/arguments.h"

#include "connection/byte_arrays.h"
#include "dispatch/variant_value.h"

namespace kestrine::commands {

using protocol::MemberRow, protocol::Value, protocol::ValueType;

namespace {

bool write_bytes(const Value& value, std::span<const std::uint8_t> packet, VARIANT& bytes) {
  const auto found = protocol::counted_bytes(packet, value.offset);
  return found && connection::put_byte_array(*found, bytes);
}

}  // namespace

protocol::Request build_request(const MemberRow& row, const Argument* arguments, const DriveSpeeds& stored) {
  protocol::Request request(row.command->code, row.command->request_size);
  if (row.speed != protocol::Speed::kNone) {
    const DriveSpeeds speeds = stored.to_send(row.speed, arguments);
    request.put_int32(row.command->parameters[0].offset, speeds.horizontal);
    request.put_int32(row.command->parameters[1].offset, speeds.vertical);
    return request;
  }
  for (std::size_t i = 0; i < row.values.size(); ++i) {
    const Value& value = row.values[i];
    if (value.out) continue;
    const void* host = value.type == ValueType::kRecord ? arguments[i].record : &arguments[i];
    protocol::encode(value, host, &request.bytes[value.offset]);
  }
  return request;
}

bool has_all_outputs(const MemberRow& row, const Argument* arguments) {
  for (std::size_t i = 0; i < row.values.size(); ++i) {
    if (row.values[i].out && arguments[i].out == nullptr) return false;
  }
  return true;
}

bool write_outputs(const MemberRow& row, std::span<const std::uint8_t> packet, const Argument* arguments) {
  for (std::size_t i = 0; i < row.values.size(); ++i) {
    const Value& value = row.values[i];
    if (!value.out) continue;
    dispatch::write_argument(value, packet.data() + value.offset, arguments[i].out);
    if (value.type != ValueType::kBytes) continue;
    if (!write_bytes(value, packet, *static_cast<VARIANT*>(arguments[i].out))) return false;
  }
  return true;
}

}  // namespace kestrine::commands
