// Every event with the packet that fires it: a second telling, written down apart from the tables that the library
// itself is made of.
#pragma once

#include <cstdint>
#include <span>

namespace kestrine::test {

// Whether a bad status of the packet keeps an event back and is told as an ErrorEvent instead.
enum class Tested {
  kNever,
  kOnce,      // for each interface, for all the events of the packet together
  kEachTime,  // for each interface and each event
  kAsyncOnly,
};

struct EventWalkRow {
  const char* name;
  std::int32_t async_id;
  std::int32_t sync_id;  // 0: not an event of that interface
  std::int32_t type;     // of the packet
  std::int32_t command;  // of an answer or an error packet; else what a bad status is told of
  std::int32_t mode;     // that the measurement is made in, or -1
  const char* types;     // of the arguments: long, double, bool, text
  const char* fields;    // of the packet, in the order of the arguments; "a..b" for all between, ".." for all
  Tested tested;
};

// Two events of one packet stand together, in the order in which they are fired.
std::span<const EventWalkRow> event_walk_rows();

}  // namespace kestrine::test
