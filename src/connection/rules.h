// The rules in which modern behaviour departs from classic, all of them (host.h tells what they mean to a program).
// They are handed down from the module, so that both can be had side by side.
#pragma once

#include "kestrine/host.h"

namespace kestrine::connection {

struct Rules {
  bool wakes_when_due = false;                    // else a waiting call looks at its messages every 10 ms
  bool waits_for_own_answer = false;              // else the answer to any command ends a wait
  bool timer_ends_with_call = false;              // else it may end a later call
  bool trouble_always_ends_waits = false;         // else only while the application is notified by events
  bool connections_stand_for_themselves = false;  // else one set of command objects a generation
  bool finds_every_host = false;                  // else by one IPv4 address, and without a look-up of names with dots
  bool ignores_senseless_times = false;           // else a waiting time of zero or less is taken as it stands
  bool takes_whole_packets = false;               // else the thread waits for the rest of one that has come in part
  bool waits_for_room = false;                    // else a request of which the system takes nothing fails at once
};

inline constexpr Rules kClassicRules{};
inline constexpr Rules kModernRules{true, true, true, true, true, true, true, true, true};

constexpr const Rules& rules_of(host::Behaviour behaviour) {
  return behaviour == host::Behaviour::kModern ? kModernRules : kClassicRules;
}

}  // namespace kestrine::connection
