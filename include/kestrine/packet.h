// The packet received last, for native code that reads it through its records.
#pragma once

#include <cstdint>
#include <span>

#include "kestrine/component.h"
#include "kestrine/error.h"
#include "kestrine/interfaces.h"

namespace kestrine {

// A copy of the bytes, header first; empty before anything has been received. Throws Error when there is no memory.
class Packet {
 public:
  explicit Packet(ILTConnect& connection) { check(connection.GetData(&data_)); }
  Packet(const Packet&) = delete;
  Packet& operator=(const Packet&) = delete;
  ~Packet() { VariantClear(&data_); }

  std::span<const std::uint8_t> bytes() const {
    return {static_cast<const std::uint8_t*>(data_.parray->pvData), data_.parray->rgsabound[0].cElements};
  }

 private:
  VARIANT data_{};
};

}  // namespace kestrine
