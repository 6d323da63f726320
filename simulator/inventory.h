// What belongs to the simulated tracker: its versions, its reflectors and its compensations.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "kestrine/enums.h"

namespace kestrine::simulator {

inline constexpr std::int32_t kSerialNumber = 9001;
inline constexpr std::int32_t kSoftwareMajor = 3;
inline constexpr std::int32_t kSoftwareMinor = 8;
inline constexpr std::int32_t kSoftwareBuild = 680;
inline constexpr std::u16string_view kSoftwareVersion = u"3.8.680";

// Commands that the server reads ahead of their execution, for each client.
inline constexpr std::size_t kCommandQueueSize = 100;

struct Reflector {
  std::int32_t id;
  VL_TargetType type;
  double surface_offset;  // from the optical centre to the touching surface, metres
  std::u16string_view name;
};

struct Compensation {
  std::int32_t id;
  std::u16string_view tracker_name;
  std::u16string_view tracker_comment;
  std::u16string_view adm_name;
  std::u16string_view adm_comment;
};

std::span<const Reflector> reflectors();
std::span<const Compensation> compensations();
bool is_reflector(std::int32_t id);
bool is_compensation(std::int32_t id);

}  // namespace kestrine::simulator
