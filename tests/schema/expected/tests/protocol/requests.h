// One builder for each command that is sent. Flags are sent as 0 or 1, whatever they are given as.
#pragma once

#include <cstdint>

#include "kestrine/enums.h"
#include "protocol/codec.h"

namespace kestrine::protocol {

inline Request build_SetSpeed(double speed, std::int32_t fast) {
  Request request(VL_C_SetSpeed, 24);
  request.put_double(12, speed);
  request.put_bool(20, fast);
  return request;
}

inline Request build_GetSpeed() {
  return Request(VL_C_GetSpeed, 12);
}

inline Request build_GetNames() {
  return Request(VL_C_GetNames, 12);
}

}  // namespace kestrine::protocol
