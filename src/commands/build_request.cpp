#include "commands/build_request.h"

#include "kestrine/wire.h"
#include "protocol/encode.h"
#include "protocol/tables.h"

namespace kestrine::commands {
namespace {

constexpr std::uint16_t kFirstParameter = 12;

void encode_argument(const Param& param, const Argument& argument, std::uint8_t* packet) {
  switch (param.type) {
    case ParamType::kLong:
      wire::store_i32(packet + param.offset, argument.i32);
      return;
    case ParamType::kDouble:
      wire::store_f64(packet + param.offset, argument.f64);
      return;
    case ParamType::kBool:
      wire::store_i32(packet + param.offset, argument.boolean != 0 ? 1 : 0);
      return;
    case ParamType::kRecord:
      protocol::encode_record(*protocol::find_record(param.type_name), argument.record, packet + param.offset);
      return;
    case ParamType::kText:
    case ParamType::kVariant:
      return;  // no request carries one
  }
}

}  // namespace

protocol::Request build_request(const MethodRow& row, const Argument* arguments, const DriveSpeeds& stored) {
  protocol::Request request(row.command, protocol::find_command(row.command)->request_size);
  if (row.family == Family::kMove) {
    const DriveSpeeds speeds = stored.to_send(row, arguments);
    request.put_int32(kFirstParameter, speeds.horizontal);
    request.put_int32(kFirstParameter + 4, speeds.vertical);
    return request;
  }
  for (std::size_t i = 0; i < row.params.size(); ++i) {
    if (!row.params[i].out) encode_argument(row.params[i], arguments[i], request.bytes.data());
  }
  return request;
}

}  // namespace kestrine::commands
