#include "simulator/messages/messages.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace kestrine::simulator {

void begin_data_packet(Bytes& packet, VL_DataType type, std::int32_t status) {
  wire::store_i32(packet.data(), static_cast<std::int32_t>(packet.size()));
  wire::store_i32(packet.data() + 4, type);
  wire::store_i32(packet.data() + 8, status);
}

Bytes answer_packet(VL_DataType type, std::int32_t command, VL_ResultStatus status, std::size_t size) {
  Bytes packet(size);
  begin_data_packet(packet, type, command);
  wire::store_i32(packet.data() + 12, status);
  return packet;
}

Bytes error_packet(std::int32_t command, VL_ResultStatus status) {
  return answer_packet(VL_DT_Error, command, status, RecordTraits<ErrorResponseT>::size);
}

Request::Request(const protocol::CommandRow& row, Bytes packet, const Frame& frame)
    : row_(row), packet_(std::move(packet)), frame_(frame) {}

const std::uint8_t* Request::at(std::string_view name) const {
  const auto found = std::find_if(row_.parameters.begin(), row_.parameters.end(),
                                  [&](const protocol::Value& f) { return f.name == name; });
  if (found == row_.parameters.end()) throw std::logic_error(row_.name + std::string(" has no ") + std::string(name));
  return packet_.data() + found->offset;
}

std::int32_t Request::integer(std::string_view name) const {
  return wire::load_i32(at(name));
}

double Request::number(std::string_view name) const {
  return wire::load_f64(at(name));
}

double Request::angle(std::string_view name) const {
  return from_units(Quantity::kAngle, number(name), frame_.units());
}

double Request::distance(std::string_view name) const {
  return from_units(Quantity::kLength, number(name), frame_.units());
}

Vector Request::triple(std::string_view first) const {
  const std::uint8_t* values = at(first);
  return {wire::load_f64(values), wire::load_f64(values + 8), wire::load_f64(values + 16)};
}

Vector Request::position(std::string_view first) const {
  return frame_.to_place(triple(first));
}

void Reply::status(VL_ResultStatus status) const {
  const auto client = client_.lock();
  if (!client) return;
  client->send(answer_packet(VL_DT_Command, row_->code, status == VL_RS_AllOK ? success_ : status, row_->answer->size));
  client->answered();
}

void Reply::values(const Bytes& values) const {
  Bytes packet(RecordTraits<BasicCommandRT>::size);
  packet.insert(packet.end(), values.begin(), values.end());
  send({std::move(packet)});
}

Bytes Reply::in_frame(Bytes packet) const {
  convert(*row_->answer, packet.data(), Frame{}, frame_);
  return packet;
}

void Reply::send_series(std::vector<Bytes> packets) const {
  for (Bytes& packet : packets)
    wire::store_i32(packet.data() + RecordTraits<BasicCommandRT>::size, static_cast<std::int32_t>(packets.size()));
  send(std::move(packets));
}

void Reply::send(std::vector<Bytes> packets) const {
  const auto client = client_.lock();
  if (!client) return;
  for (Bytes& packet : packets) {
    const Bytes head = answer_packet(VL_DT_Command, row_->code, success_, RecordTraits<BasicCommandRT>::size);
    std::copy(head.begin() + 4, head.end(), packet.begin() + 4);
    wire::store_i32(packet.data(), static_cast<std::int32_t>(packet.size()));
    client->send(std::move(packet));
  }
  client->answered();
}

}  // namespace kestrine::simulator
