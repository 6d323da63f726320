#include "dispatch/command_roster.h"

#include <algorithm>
#include <utility>

#include "platform/clock.h"
#include "platform/notices.h"

namespace kestrine::dispatch {
namespace {

// A command object that lives shorter than this, once an application has fetched one from a connection, is taken for a
// sign of mixed generations.
constexpr std::uint32_t kShortestLife = 100;  // milliseconds

void show_mixed_generations() {
  platform::show_message_box(u"Illegal combination of old/legacy and new interfaces", u"Fatal",
                             platform::kIconExclamation);
}

}  // namespace

void CommandObject::start_age() {
  creation_tick_ = platform::tick_count();
}

// The shorter way around the counter, which wraps.
std::uint32_t CommandObject::age() const {
  const std::uint32_t now = platform::tick_count();
  return std::min(now - creation_tick_, creation_tick_ - now);
}

void CommandRoster::enter(CommandObject& object, connection::Connection* connection) {
  Place& own = place(object.command_set);
  if (!creating_internally_) own.current = &object;
  if (stands_alone()) {
    if (own.current != nullptr && connection != nullptr) connection->mark_used_by(object.command_set);
    return;
  }
  if (!process_.has_fetched_objects()) {
    // An application that makes command objects itself does not use the connection's. While the connection makes
    // these, there is nothing to release yet.
    if (own.current != nullptr && connection != nullptr) connection->mark_used_by(object.command_set);
    release_internal(object.command_set);
  }
  if (!process_.claim_generation(generation_)) show_mixed_generations();
  object.start_age();
}

void CommandRoster::leave(CommandObject& object) {
  Place& own = place(object.command_set);
  if (own.current == &object) own.current = nullptr;
  if (stands_alone()) return;
  // Also of the connection's own objects, which housekeeping may release soon after they were made: kept.
  if (process_.has_fetched_objects() && object.age() < kShortestLife) show_mixed_generations();
}

void CommandRoster::create_internal(Generation& generation) {
  creating_internally_ = true;
  try {
    for (const CommandSet set : {CommandSet::kSync, CommandSet::kAsync}) {
      place(set).internal = factory_.create(set, generation);
    }
  } catch (...) {
    creating_internally_ = false;
    release_internal();
    throw;
  }
  creating_internally_ = false;
}

void CommandRoster::release_internal(CommandSet set) {
  // The place is empty before the release, which may run code that comes back here.
  if (CommandObject* const object = std::exchange(place(set).internal, nullptr)) {
    object->unknown()->Release();
  }
}

void CommandRoster::release_internal() {
  release_internal(CommandSet::kSync);
  release_internal(CommandSet::kAsync);
}

CommandObject* CommandRoster::fetch(CommandSet set) {
  if (!stands_alone()) process_.mark_objects_fetched();
  return place(set).current = place(set).internal;
}

void CommandRoster::use(CommandObject& object, connection::Connection& connection) {
  if (!stands_alone()) return;
  place(object.command_set).current = &object;
  connection.mark_used_by(object.command_set);
}

void CommandRoster::release_unused(const connection::Connection& owner, bool at_its_end) {
  if (stands_alone()) {
    if (at_its_end) release_internal();
    return;
  }
  if (!process_.has_fetched_objects()) return release_internal();
  const bool sync = owner.is_used_by(CommandSet::kSync);
  if (!at_its_end && sync != owner.is_used_by(CommandSet::kAsync)) {
    release_internal(sync ? CommandSet::kAsync : CommandSet::kSync);
  }
}

}  // namespace kestrine::dispatch
