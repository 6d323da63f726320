// The arguments of an operation: into the bytes of its request, and out of the packet that brings its outputs.
#pragma once

#include <cstdint>
#include <span>

#include "commands/drive_speeds.h"
#include "kestrine/component.h"
#include "protocol/catalogue.h"
#include "protocol/codec.h"

namespace kestrine::commands {

// On its way between the typed method and the bytes.
union Argument {
  std::int32_t i32;  // long, enumeration, flag
  double f64;
  BSTR text;
  VARIANT* variant;
  const void* record;  // an input record, in the host's memory
  void* out;           // where an output goes
};

// A drive by speed sends what `stored` makes of its arguments.
protocol::Request build_request(const protocol::MemberRow& row, const Argument* arguments, const DriveSpeeds& stored);

// True when every output has somewhere to go.
bool has_all_outputs(const protocol::MemberRow& row, const Argument* arguments);

// Writes every output from the buffer that holds the packet. False when an array of bytes cannot be made. Throws
// std::bad_alloc when a text cannot be copied.
bool write_outputs(const protocol::MemberRow& row, std::span<const std::uint8_t> packet, const Argument* arguments);

}  // namespace kestrine::commands
