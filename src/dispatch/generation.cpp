#include "dispatch/generation.h"

#include <algorithm>

namespace kestrine::dispatch {

using connection::Channel, connection::Connection;

Generation::Generation(const Identity& identity, ProcessState& process, CommandObjectFactory& factory)
    : identity_(identity),
      process_(process),
      errors_(*this),
      dispatcher_(*this),
      objects_(identity.generation, process, factory) {}

void Generation::attach(Connection& connection) {
  Channel* const channel = channels_.emplace_back(Channel::make(connection)).get();
  connection_ = &connection;
  if (!process_.rules().connections_stand_for_themselves) process_.claim_generation(identity_.generation);
  channel_ = channel;
  drop_channels();
  objects_.release_internal();  // those of an earlier connection
  try {
    objects_.create_internal(*this);
  } catch (...) {
    detach(connection);
    throw;
  }
}

void Generation::detach(Connection& connection) {
  objects_.release_unused(connection, true);
  for (const auto& channel : channels_) channel->forget(connection);
  drop_channels();
  if (connection_ != &connection) return;  // a later connection has taken its place
  connection_ = nullptr;
  objects_.release_internal();  // what an application still holds of these lives on by its own references
}

void Generation::drop_channels() {
  const bool has_connections =
      std::ranges::any_of(channels_, [](const auto& channel) { return channel->has_connection(); });
  if (!has_connections) channel_ = nullptr;
  std::erase_if(channels_, [this](const auto& channel) {
    if (channel->has_connection() || channel.get() == channel_) return false;
    // Only its own thread can destroy a window. One that is left behind keeps the library loaded.
    if (!channel->is_of_this_thread()) process_.lock();
    return true;
  });
}

}  // namespace kestrine::dispatch
