#include "simulator/request.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

#include "kestrine/wire.h"

namespace kestrine::simulator {

Request::Request(const protocol::CommandRow& row, Bytes packet, const Frame& frame)
    : row_(row), packet_(std::move(packet)), frame_(frame) {}

const protocol::Value& Request::field(std::string_view name) const {
  const auto found = std::find_if(row_.parameters.begin(), row_.parameters.end(),
                                  [&](const protocol::Value& f) { return f.name == name; });
  if (found == row_.parameters.end()) throw std::logic_error(row_.name + std::string(" has no ") + std::string(name));
  return *found;
}

std::int32_t Request::integer(std::string_view name) const {
  return wire::load_i32(packet_.data() + field(name).offset);
}

double Request::number(std::string_view name) const {
  return wire::load_f64(packet_.data() + field(name).offset);
}

double Request::angle(std::string_view name) const {
  return from_units(Quantity::kAngle, number(name), frame_.units());
}

double Request::distance(std::string_view name) const {
  return from_units(Quantity::kLength, number(name), frame_.units());
}

Vector Request::triple(std::string_view first) const {
  const std::uint8_t* at = packet_.data() + field(first).offset;
  return {wire::load_f64(at), wire::load_f64(at + 8), wire::load_f64(at + 16)};
}

Vector Request::position(std::string_view first) const {
  return frame_.to_inside(triple(first));
}

}  // namespace kestrine::simulator
