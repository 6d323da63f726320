// A request as the handlers read it: parameters by the names that the tables give them, in base units.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "protocol/catalogue.h"
#include "simulator/frame.h"
#include "simulator/outside.h"

namespace kestrine::simulator {

class Request {
 public:
  // The packet has the row's size; the frame is the one in force.
  Request(const protocol::CommandRow& row, Bytes packet, const Frame& frame);

  const protocol::CommandRow& row() const { return row_; }
  VL_Command command() const { return static_cast<VL_Command>(row_.code); }
  const Frame& frame() const { return frame_; }
  std::span<const std::uint8_t> parameters() const { return std::span(packet_).subspan(12); }

  std::int32_t integer(std::string_view name) const;
  double number(std::string_view name) const;
  double angle(std::string_view name) const;
  double distance(std::string_view name) const;
  // The point of which the named parameter is the first of three values.
  Vector position(std::string_view first) const;
  // The three values as they stand.
  Vector triple(std::string_view first) const;

 private:
  const protocol::Value& field(std::string_view name) const;

  const protocol::CommandRow& row_;
  Bytes packet_;
  Frame frame_;
};

}  // namespace kestrine::simulator
